"""Names of the enum values in the installed Khronos headers, for messages.

KHRONOS_INCLUDE in the environment is the folder with the headers; /usr/include when it is not set.
"""

import os
import re
from pathlib import Path

from text import BANNER

DEFINITION = re.compile(r"^#define (E?GL_[A-Z0-9_]+)\s+(0x[0-9A-Fa-f]+|[01])$", re.M)
NO_ENUM = re.compile(r"_VERSION_\d|_PROTOTYPES$|_TIMEOUT_")
BITS = re.compile(r"_BITS?\d*(_[A-Z]+)?$")
# One value has many names where it is small; the name that messages mean.
MEANT = ("GL_NO_ERROR", "GL_ONE", "EGL_FALSE", "EGL_TRUE")


def rank(name):
    """Lower is better. Names that are bits of a mask stand only where nothing else has their value."""
    return 0 if name in MEANT else 2 if BITS.search(name) else 1


def enum_names(texts):
    """{value: name} of the definitions in the headers' texts; the first one of the best rank wins."""
    names = {}
    for text in texts:
        for name, number in DEFINITION.findall(text):
            value = int(number, 16)
            if NO_ENUM.search(name) or value >= 2**32:
                continue
            if value not in names or rank(name) < rank(names[value]):
                names[value] = name
    return names


def emit(*headers):
    include = Path(os.environ.get("KHRONOS_INCLUDE") or "/usr/include")

    def lines(_api):
        names = enum_names((include / header).read_text() for header in headers)
        return BANNER + "".join(f'{{{value:#06x}, "{name}"}},\n' for value, name in sorted(names.items()))

    return lines


OUTPUTS = {
    "Interfaces/GLEnumNames.inc": emit("GLES3/gl32.h", "GLES2/gl2ext.h"),
    "Interfaces/EGLEnumNames.inc": emit("EGL/egl.h", "EGL/eglext.h"),
}
