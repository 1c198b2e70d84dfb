"""What playback-info counts of each call: draws, uploads, objects, state."""

import re

from text import BANNER, header, wrap

# Kinds of objects, by their types in a description: the name in the output, and whose they are.
OBJECTS = {
    "texture": ("textures", "Group"),
    "buffer": ("buffers", "Group"),
    "renderbuffer": ("renderbuffers", "Group"),
    "framebuffer": ("framebuffers", "Context"),
    "vertex_array": ("vertexArrays", "Context"),
    "shader": ("shaders", "Group"),
    "program": ("programs", "Group"),
    "pipeline": ("programPipelines", "Context"),
    "sampler": ("samplers", "Group"),
    "query": ("queries", "Context"),
    "transform_feedback": ("transformFeedbacks", "Context"),
    "sync": ("syncs", "Group"),
    "perf_monitor": ("performanceMonitors", "Context"),
    "memory_object": ("memoryObjects", "Group"),
    "semaphore": ("semaphores", "Group"),
    "shared_buffer": ("sharedBuffers", "Group"),
    "context": ("contexts", "Display"),
    "surface": ("surfaces", "Display"),
    "egl_image": ("eglImages", "Display"),
    "egl_sync": ("eglSyncs", "Display"),
}
CLEARS = re.compile(r"glClear(Buffer\w+)?$")
BLITS = re.compile(r"glBlit(Framebuffer|Overlap)")
BUFFER_UPLOADS = {"glBufferData", "glBufferSubData", "glBufferStorageEXT"}
CREATES = re.compile(r"glGen|glCreate|glFenceSync$|eglCreate")
UNIFORMS = re.compile(r"gl(Program)?Uniform(\d|Matrix)")
# Calls that wait for the driver, and when: a question that does not wait for its answer is no wait.
WAITS = {"glFinish": "", "eglWaitClient": "", "eglWaitGL": "", "glClientWaitSync": "timeout != 0",
         "eglClientWaitSyncKHR": "timeout != 0"}
QUERY_RESULTS = re.compile(r"glGetQueryObject")
COMPILES = {"glCompileShader": "shadersCompiled", "glLinkProgram": "programsLinked"}

INDEXES = {
    "unit": "m_state.Unit()", "vertex_array": "m_state.BoundVertexArray()", "texture_of": "m_state.TextureOf(target)",
    "draw_framebuffer": "m_state.Framebuffer(1)", "read_framebuffer": "m_state.Framebuffer(0)",
}
SETS = {"buffers": "Indexes{0, 8}", "faces": "Indexes{0, 2}", "face_of": "FacesOf(face)",
        "framebuffers_of": "FramebuffersOf(target)"}


def enumerator(name):
    """blend_func -> BlendFunc"""
    return "".join(part.capitalize() for part in name.split("_"))


def emit_kinds(api):
    states = api.states.states
    text = header("#include <cstdint>") + "namespace Tools {\n\n"
    text += "/// Kinds of objects that are counted.\nenum class ObjectKind : std::uint8_t {\n"
    text += "".join(f"    {enumerator(kind)},\n" for kind in OBJECTS) + "};\n"
    text += f"inline constexpr std::size_t objectKinds = {len(OBJECTS)};\n\n"
    text += "/// What calls set.\nenum class State : std::uint8_t {\n"
    text += "".join(f"    {enumerator(state.name)},\n" for state in states)
    return text + f"}};\ninline constexpr std::size_t stateCount = {len(states)};\n\n}} // namespace Tools\n"


def emit_kind_table(api):
    return BANNER + "".join(f'{{"{name}", Owner::{owner}}},\n' for name, owner in OBJECTS.values())


def emit_state_table(api):
    def kind(name):
        return f"ObjectKind::{enumerator(name)}" if name else "noKind"

    return BANNER + "".join(
        f"{{{kind(s.names)}, {kind(s.of)}, {len(s.initial)}, {{{', '.join(s.initial)}}}}},\n"
        for s in api.states.states)


def extension_of(api, call):
    """Extensions that the function belongs to; empty for a core function and one without a registered extension."""
    if call.is_core:
        return ""
    if call.extensions:
        return "|".join(call.extensions)
    return next((e.name for e in api.features.extensions if e.function == call.name), "")


def emit_extensions(api):
    return BANNER + "".join(f'{{CallId::{call.name}, "{extension_of(api, call)}"}},\n' for call in api.calls
                            if extension_of(api, call))


def draw(call):
    if not (call.has("draw") or call.has("draw_no_step")):
        return ""
    if "Indirect" in call.name:
        return f"DrawIndirect(CallId::{call.name}, *indirect);"
    instances = "instancecount" if "instancecount" in [p.name for p in call.params] else "1"
    return f"Draw(CallId::{call.name}, count, {instances});"


def upload(call):
    for p in call.params:
        if p.type.binding == "pixel_unpack":
            size = re.sub(r"^image\((\w+), (\w+), 1, (.*)\)$", r"PackedBytes(\1, \2, 1, \3)", p.type.expr)
            size = size.replace("image(", "PackedBytes(")
            return f"UploadTexture(*{p.name}, {size});"
        if call.name in BUFFER_UPLOADS and p.name == "data":
            return f"UploadBuffer(*data, {p.type.expr});"
    return ""


def wait(call):
    condition = "pname == queryResult" if QUERY_RESULTS.match(call.name) else WAITS.get(call.name)
    if condition is None:
        return ""
    return (f"if ({condition})\n            " if condition else "") + f"++m_frame.waits[CallId::{call.name}];"


def read_back(call):
    if not any(p.type.binding == "pixel_pack" for p in call.params):
        return ""
    return f"ReadPixels(CallId::{call.name}, PackedBytes(width, height, 1, format, type));"


def objects(call):
    """Statements for the objects that a call makes or deletes."""
    display = ", dpy" if call.is_egl else ""
    last = call.params[-1] if call.params else None
    if call.has("deletes") or call.name.startswith("eglDestroy"):
        delete = f"Delete(ObjectKind::{enumerator(last.type.name)}, {'*' * last.type.is_pointer}{last.name}"
        delete += f", {call.params[0].name});" if last.type.is_pointer else f"{display});"
        return [f"if (captured != 0)\n            {delete}" if call.is_egl else delete]
    if not CREATES.match(call.name):
        return []
    if call.ret.form == "scalar" and call.ret.name in OBJECTS:
        return [f"Create(ObjectKind::{enumerator(call.ret.name)}, captured{display});"]
    return [f"Create(ObjectKind::{enumerator(p.type.name)}, *{p.name}, {p.type.expr});" for p in call.params
            if p.type.out and p.type.name in OBJECTS]


def index(call, word):
    if word in {p.name for p in call.params} or word.isdigit():
        return word
    return INDEXES[word] if word in INDEXES else SETS[word]


def word(call, text):
    """An argument of Words()."""
    p = next((p for p in call.params if p.name == text), None)
    if text == "array_buffer":
        return "m_state.BoundBuffer()"
    if text == "vertex_stride":
        return "VertexStride(size, type, stride)"
    if text == "vector":
        return "Vector(*v)"
    if p is None:
        return re.fullmatch(r"-?\d+|0x[0-9A-F]+", text)[0]
    if p.type.form == "ptr":
        return f"{text}->GetCapturedPointer()"
    return f"Elements<{p.type.scalar.adapter}>(*{text})" if p.type.is_pointer else text


def setting(call, s):
    indexes = [index(call, i) for i in s.indexes] or ["0"]
    first, last = indexes if len(indexes) == 2 else ("0", indexes[0]) if s.indexes and s.indexes[0] in SETS else (indexes[0], "0")
    words = ", ".join(word(call, w) for w in s.words)
    return f"m_state.Set(State::{enumerator(s.state)}, {first}, {last}, Words({words}))"


def state(api, call):
    settings = api.states.settings.get(call.name)
    if settings:
        return f"Changed(CallId::{call.name}, {{" + ", ".join(setting(call, s) for s in settings) + "});"
    if UNIFORMS.match(call.name):
        location = call.param("location")
        program = location.type.of or "m_state.CurrentProgram()"
        values = [p for p in call.params if p.name not in ("program", "location", "count", "transpose")]
        if values[0].type.is_pointer:
            transpose = "transpose" if any(p.name == "transpose" for p in call.params) else "0"
            elements = f"Elements<{values[0].type.scalar.adapter}>(*{values[0].name})"
            return f"Uniform(CallId::{call.name}, {program}, location, count, {transpose}, {elements});"
        return f"Uniform(CallId::{call.name}, {program}, location, 1, 0, Words({', '.join(p.name for p in values)}));"
    return ""


def body(api, call):
    """Statements, in an order in which what a call makes is there before it is used."""
    lines = [draw(call), upload(call), wait(call), read_back(call)]
    if CLEARS.match(call.name):
        lines.append(f"++m_frame.clears[CallId::{call.name}];")
    if BLITS.match(call.name):
        lines.append(f"++m_frame.blits[CallId::{call.name}];")
    if call.name in COMPILES:
        lines.append(f"++m_frame.{COMPILES[call.name]};")
    if extension_of(api, call):
        lines.append(f"++m_frame.extensionCalls[CallId::{call.name}];")
    return [line for line in (*lines, *objects(call), state(api, call)) if line]


# Handlers that need more than their description says; they call the body that follows from it.
BY_HAND = {"glBindBuffer", "glCreateShader", "glCreateShaderProgramv", "glProgramBinary", "glProgramBinaryOES",
           "glLinkProgram", "glDispatchCompute", "glDispatchComputeIndirect", "glMapBufferRange", "eglCreateContext", "eglMakeCurrent",
           "eglDestroyContext", "eglReleaseThread", "eglTerminate"}


def operation(api, call):
    arguments = [f"[[maybe_unused]] {t} {n}" for t, n in call.adapter_params]
    lines = body(api, call)
    if call.name in BY_HAND:
        text = wrap(f"    void Process_{call.name}(", [f"{t} {n}" for t, n in call.adapter_params], ") override;\n", indent=8)
        if not lines:
            return text
        text += wrap(f"    void Count_{call.name}(", arguments, ")\n", indent=8)
    elif lines:
        text = wrap(f"    void Process_{call.name}(", arguments, ") override\n", indent=8)
    else:
        return ""
    return text + "    {\n" + "".join(f"        {line}\n" for line in lines) + "    }\n"


def emit_calls(calls):
    return lambda api: BANNER + "".join(operation(api, call) for call in calls(api))


OUTPUTS = {
    "Tools/Info/Kinds.h": emit_kinds,
    "Tools/Info/ObjectKinds.inc": emit_kind_table,
    "Tools/Info/States.inc": emit_state_table,
    "Tools/Info/Extensions.inc": emit_extensions,
    "Tools/Info/GLCalls.inc": emit_calls(lambda api: api.gl),
    "Tools/Info/EGLCalls.inc": emit_calls(lambda api: api.egl),
}
