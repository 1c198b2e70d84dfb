"""The types of the description language, and what they are in C, in the adapters and in a capture."""

from dataclasses import dataclass


@dataclass(frozen=True)
class Scalar:
    """A type that is passed by value. `size` is its bytes in a capture, `code` its letter in a signature."""

    c: str
    adapter: str
    size: int
    code: str
    kind: str = ""  # object kind of GLResourceTable, such as "Texture"
    element_size: int = 0  # bytes of an array element where it differs from `size`


U32, I32, I64, U64 = "std::uint32_t", "std::int32_t", "std::int64_t", "std::uint64_t"

# Types that are names of GL objects, and the kinds of GLResourceTable.
OBJECTS = {
    "texture": "Texture", "buffer": "Buffer", "framebuffer": "Framebuffer", "renderbuffer": "Renderbuffer",
    "shader": "Shader", "program": "Program", "query": "Query", "vertex_array": "VertexArray", "sampler": "Sampler",
    "transform_feedback": "TransformFeedback", "pipeline": "Pipeline", "perf_monitor": "PerfMonitor",
    "perf_monitor_group": "PerfMonitorGroup", "perf_counter": "Counter", "memory_object": "MemoryObject",
    "semaphore": "Semaphore",
}  # fmt: skip


def _handle(c, kind):
    return Scalar(c, U32, 4, "h", kind, 8)


SCALARS = {
    "enum": Scalar("GLenum", U32, 4, "e"),
    "bits": Scalar("GLbitfield", U32, 4, "m"),
    "uint": Scalar("GLuint", U32, 4, "u"),
    "bool": Scalar("GLboolean", U32, 4, "b", element_size=1),
    "int": Scalar("GLint", I32, 4, "i"),
    "count": Scalar("GLsizei", I32, 4, "i"),
    "fixed": Scalar("GLfixed", I32, 4, "i"),
    "float": Scalar("GLfloat", "float", 4, "f"),
    "offset": Scalar("GLintptr", I64, 8, "l"),
    "bytes": Scalar("GLsizeiptr", I64, 8, "l"),
    "ubyte": Scalar("GLubyte", U32, 4, "u", element_size=1),
    "short": Scalar("GLshort", I32, 4, "i", element_size=2),
    "int64": Scalar("GLint64", I64, 8, "l"),
    "uint64": Scalar("GLuint64", I64, 8, "l"),
    **{name: Scalar("GLuint", U32, 4, "u", kind) for name, kind in OBJECTS.items()},
    "shared_buffer": Scalar("GLint", I32, 4, "i", "SharedBuffer"),
    "uniform": Scalar("GLint", I32, 4, "i", "UniformLocation"),
    "attrib": Scalar("GLuint", U32, 4, "u", "AttribLocation"),
    "block": Scalar("GLuint", U32, 4, "u", "UniformBlockIndex"),
    "frag_data": Scalar("GLint", I32, 4, "i", "FragDataLocation"),
    "frag_index": Scalar("GLint", I32, 4, "i", "FragDataIndex"),
    # An object whose kind another argument tells: a debug-label identifier, a copy's target.
    "labeled": Scalar("GLuint", U32, 4, "u", "Labeled"),
    "copied": Scalar("GLuint", U32, 4, "u", "Copied"),
    "sync": _handle("GLsync", "VoidPtr"),
    "sync_ptr": _handle("const void*", "VoidPtr"),
    "image": _handle("GLeglImageOES", "EGLImage"),
    "client_buffer": _handle("GLeglClientBufferEXT", "EGLVoidPtr"),
    "display": _handle("EGLDisplay", "EGLDisplay"),
    "config": _handle("EGLConfig", "EGLConfig"),
    "context": _handle("EGLContext", "EGLContext"),
    "surface": _handle("EGLSurface", "EGLSurface"),
    "egl_image": _handle("EGLImageKHR", "EGLImage"),
    "egl_sync": _handle("EGLSyncKHR", "EGLSync"),
    # Objects of the window system. handle_out is where the driver writes one; the adapter gets its number.
    "native_display": _handle("EGLNativeDisplayType", "EGLVoidPtr"),
    "native_window": _handle("EGLNativeWindowType", "EGLVoidPtr"),
    "native_pixmap": _handle("EGLNativePixmapType", "EGLVoidPtr"),
    "egl_buffer": _handle("EGLClientBuffer", "EGLVoidPtr"),
    "handle_out": _handle("void**", "EGLVoidPtr"),
    "egl_int": Scalar("EGLint", I32, 4, "i"),
    "egl_bool": Scalar("EGLBoolean", I32, 4, "i"),
    "egl_enum": Scalar("EGLenum", I32, 4, "e"),
    "time": Scalar("EGLTimeKHR", U64, 8, "l"),
    "attrib64": Scalar("EGLAttribKHR", I64, 8, "l"),
}

# Scalars whose type in the adapter is another one where they are the captured return value.
RETURNED = {"attrib": I32, "uniform": U32}

# Types that stand only as elements of an array: C type and bytes.
ELEMENTS = {"blob": ("void", 1), "char": ("GLchar", 1), "ubyte": ("GLubyte", 1), "pointer": ("void*", 8)}

POINTER_CODES = {
    "ptr": "p",
    "callback": "p",
    "array": "a",
    "cstring": "s",
    "string": "s",
    "strings": "S",
    "lists": "A",
    "attribs": "t",
    "attribs64": "T",
}

# C types that the language has no word for: (call, parameter or "return").
C_TYPES = {
    ("glDebugMessageCallback", "callback"): "GLDEBUGPROC",
    ("glDebugMessageCallbackKHR", "callback"): "GLDEBUGPROCKHR",
    ("glProgramBinaryOES", "length"): "GLint",
    ("glEGLImageTargetTexStorageEXT", "attrib_list"): "const GLint*",
    ("glEGLImageTargetTextureStorageEXT", "attrib_list"): "const GLint*",
    ("glTexStorageAttribs2DEXT", "attrib_list"): "const GLint*",
    ("glTexStorageAttribs3DEXT", "attrib_list"): "const GLint*",
    ("eglSetBlobCacheFuncsANDROID", "set"): "EGLSetBlobFuncANDROID",
    ("eglSetBlobCacheFuncsANDROID", "get"): "EGLGetBlobFuncANDROID",
    ("eglCreatePlatformWindowSurface", "win"): "void*",
    ("eglCreatePlatformPixmapSurface", "pixmap"): "void*",
    ("eglGetPlatformDisplay", "native"): "void*",
}
