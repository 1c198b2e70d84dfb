"""The values that the installed Khronos headers define.

KHRONOS_INCLUDE in the environment is the folder with the headers; /usr/include when it is not set.
"""

import os
import re
from functools import lru_cache
from pathlib import Path

# Names of a version stand in front of those of extensions.
GL_HEADERS = ("GLES3/gl32.h", "GLES/gl.h", "GLES2/gl2ext.h", "GLES/glext.h")
EGL_HEADERS = ("EGL/egl.h", "EGL/eglext.h")
DEFINITION = re.compile(r"^#define (E?GL_[A-Z0-9_]+)\s+(0x[0-9A-Fa-f]+|[01])$", re.M)


def read(header):
    return (Path(os.environ.get("KHRONOS_INCLUDE") or "/usr/include") / header).read_text()


@lru_cache
def gl_values():
    """{name: value} of OpenGL ES and its extensions."""
    return {name: int(number, 16) for header in GL_HEADERS for name, number in DEFINITION.findall(read(header))}
