"""What playback-info counts of each call: draws, uploads, objects, state."""

import expressions
from emit_state import changes_of
from objects import effect_of as object_effect
from text import BANNER, wrap

# When a call with the note `waits` and such a parameter waits: a question that does not wait for its answer is no wait.
WAITS = {"timeout": "timeout != 0", "pname": "pname == QueryResult"}


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
    names = [p.name for p in call.params]
    if "indirect" in names and "mode" in names and "drawcount" not in names:
        return f"DrawIndirect(CallId::{call.name}, *indirect);"
    # Of the others that have no vertices in their arguments only the driver knows how many there are.
    if not {"mode", "count"} <= set(names):
        return f"DrawUnknown(CallId::{call.name});"
    if call.param("count").type.is_pointer:
        return f"DrawMany(CallId::{call.name}, *count);"
    instances = "instancecount" if "instancecount" in [p.name for p in call.params] else "1"
    return f"Draw(CallId::{call.name}, count, {instances});"


def upload(call):
    for p in call.params:
        if p.type.binding == "pixel_unpack":
            size = expressions.write(p.type.expr, str, lambda name, arguments: f"PackedBytes({', '.join(arguments)})")
            return f"UploadTexture(*{p.name}, {size});"
        if call.has("upload") and p.name == "data":
            return f"UploadBuffer(*data, {p.type.expr});"
    return ""


def reads_back(call):
    return any(p.type.binding == "pixel_pack" for p in call.params)


def wait(call):
    if not call.has("waits") or reads_back(call):
        return ""
    condition = next((WAITS[p.name] for p in call.params if p.name in WAITS), "")
    return (f"if ({condition})\n            " if condition else "") + f"++m_frame.waits[CallId::{call.name}];"


def read_back(call):
    if not reads_back(call):
        return ""
    return f"ReadPixels(CallId::{call.name}, PackedBytes(width, height, 1, format, type));"


def body(api, call):
    """Statements that count. What the call changes has been followed before."""
    lines = [draw(call), upload(call), wait(call), read_back(call)]
    if call.has("clear"):
        lines.append(f"++m_frame.clears[CallId::{call.name}];")
    if call.has("blit") or call.has("blit_no_step"):
        lines.append(f"++m_frame.blits[CallId::{call.name}];")
    if call.has("compiles"):
        lines.append("++m_frame.shadersCompiled;")
    if call.has("links"):
        lines.append("++m_frame.programsLinked;")
    if extension_of(api, call):
        lines.append(f"++m_frame.extensionCalls[CallId::{call.name}];")
    effect = object_effect(api.objects, call)
    if effect and effect.kind == "program" and not effect.deletes:
        lines.append("m_frame.programs += captured != 0;")
    if changes_of(api, call):
        lines.append(f"Changed(CallId::{call.name});")
    return [line for line in lines if line]


def operation(api, call):
    arguments = [f"[[maybe_unused]] {t} {n}" for t, n in call.adapter_params]
    lines = body(api, call)
    # The handler by hand calls what follows from the description.
    if call.has("custom_count"):
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
    "Tools/Info/Extensions.inc": emit_extensions,
    "Tools/Info/GLCalls.inc": emit_calls(lambda api: api.gl),
    "Tools/Info/EGLCalls.inc": emit_calls(lambda api: api.egl),
}
