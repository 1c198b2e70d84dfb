"""Names of the enum values in the installed Khronos headers, for messages."""

import re

from khronos import DEFINITION, EGL_HEADERS, GL_HEADERS, read
from text import BANNER

NO_ENUM = re.compile(r"_VERSION_\d|_PROTOTYPES$|_TIMEOUT_")
BITS = re.compile(r"_BITS?\d*(_[A-Z]+)?$")
# One value has many names where it is small, and clip distances had others in OpenGL ES 1.1; the name that messages mean.
MEANT = ("GL_NO_ERROR", "GL_ONE", "EGL_FALSE", "EGL_TRUE", "GL_MAX_CLIP_DISTANCES_EXT",
         *(f"GL_CLIP_DISTANCE{i}_EXT" for i in range(8)))  # fmt: skip


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
    def lines(_api):
        names = enum_names(read(header) for header in headers)
        return BANNER + "".join(f'{{{value:#06x}, "{name}"}},\n' for value, name in sorted(names.items()))

    return lines


OUTPUTS = {
    "Interfaces/GLEnumNames.inc": emit(*GL_HEADERS),
    "Interfaces/EGLEnumNames.inc": emit(*EGL_HEADERS),
}
