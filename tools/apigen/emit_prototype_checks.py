"""Holds the described prototypes against those of the platform's headers, at compile time."""

from text import BANNER

# Described from the desktop registry: the OpenGL ES headers lack them.
NOT_IN_HEADERS = {"glGetActiveAtomicCounterBufferiv", "glTextureBarrier", "glPatchParameterfv"}

# Of the core of OpenGL ES 1.1, though by its name an extension's.
CORE_OF_11 = {"glPointSizePointerOES"}


def emit(api):
    text = BANNER
    for table in ("EGL", "EGLExt", "GLES", "GLESExt"):
        for call in api.table(table):
            if call.where == "symbol" or "TAVO" in call.where or call.name in NOT_IN_HEADERS:
                continue
            if call.where == "1.1" or call.name in CORE_OF_11:
                # The header of OpenGL ES 1.1 has the functions, and no types of pointers to them.
                text += f"CHECK_PROTOTYPE({table}, {call.name}, decltype(&::{call.name}))\n"
                continue
            text += f"CHECK_PROTOTYPE({table}, {call.name}, PFN{call.name.upper()}PROC)\n"
    return text


OUTPUTS = {"tests/PrototypeChecks.inc": emit}
