"""Replay handlers of the OpenGL ES calls whose description says all: plain calls, translated names and locations,
names made and deleted, output strings and arrays that must be sized. Calls with the note `custom` are only declared."""

import re

from scalars import OBJECTS, SCALARS
from text import BANNER, header, wrap


LOOK_UPS = {"labeled": "GetLabeledObject", "copied": "GetTextureOrRenderbuffer"}


def translated(t, name):
    """The live value of a scalar argument."""
    table = "m_resourceTable->"
    program = t.of or f"{table}GetCurrentProgram()"
    if t.name in ("uniform", "attrib", "block"):
        return f"{table}GetValueGL{t.kind}({program}, {name})"
    if t.name == "sync":
        return f"static_cast<GLsync>({table}GetValueGLVoidPtr({name}))"
    if t.name in ("image", "client_buffer"):
        return f"{table}GetValue{t.kind}({name})"
    if t.name in LOOK_UPS:
        return f"{LOOK_UPS[t.name]}({t.of}, {name})"
    if t.kind:
        return f"{table}GetValueGL{t.kind}({name})"
    if t.name in ("bool", "ubyte", "short", "uint64"):
        return f"static_cast<{t.scalar.c}>({name})"
    return name


def is_name_array(param):
    return param.type.form == "array" and param.type.kind != ""


def argument(param):
    t = param.type
    if t.form == "scalar":
        return translated(t, param.name)
    if is_name_array(param):
        return "names.Live()"
    if param.c_type in ("const void*", "void*"):
        return f"{param.name}->GetPointer()"
    if t.form == "callback":
        return f"reinterpret_cast<{param.c_type}>({param.name}->GetPointer())"
    return f"{param.name}->As<{param.c_type[:-1].rstrip()}>()"


def sizing(call):
    lines = []
    for p in call.params:
        if p.type.out and p.type.form == "string":
            lines.append(f"    SizeString({p.name}, {p.type.expr});\n")
        elif p.type.out and call.has("resize") and p.type.form == "array" and not p.type.expr.isdigit():
            lines.append(f"    SizeArray({p.name}, {p.type.expr});\n")
        elif p.type.out and call.has("grow"):
            lines.append(f"    EnsurePnameArraySize(pname, {p.name});\n")
    return "".join(lines)


def follow_up(call, array):
    """What the table learns from the call, and the step after draws and blits."""
    if call.returns and call.ret.kind:
        key = f"{call.ret.of}, " if call.ret.of else ""
        return f"    m_resourceTable->AddIdGL{call.ret.kind}({key}captured, result);\n"
    if array and call.has("deletes"):
        return f"    names.ForEach([this](auto captured, auto) {{ m_resourceTable->RemoveIdGL{array.type.kind}(captured); }});\n"
    if array and array.type.out:
        return ("    names.ForEach([this](auto captured, auto live) {\n"
                f"        m_resourceTable->AddIdGL{array.type.kind}(captured, live);\n    }});\n")
    if call.has("deletes"):
        p = next(p for p in call.params if p.type.kind)
        return f"    m_resourceTable->RemoveIdGL{p.type.kind}({p.name});\n"
    if call.has("image_link"):
        return "    PostGlEglImage(target, image);\n"
    if call.has("draw"):
        return "    PostDrawCommon();\n"
    if call.has("blit"):
        return "    PostBlitFrameBuffer(mask);\n"
    return ""


def used(call):
    """The captured return value is a key of the table or nothing at all."""
    return bool(call.ret.kind)


def signature(call, prefix, suffix):
    args = call.adapter_params
    if call.returns and not call.has("custom") and not used(call):
        args = [(args[0][0], "/*captured*/")] + args[1:]
    return wrap(f"{prefix}Process_{call.name}(", [f"{t} {n}" for t, n in args], suffix, indent=4)


def handler(call):
    array = next((p for p in call.params if is_name_array(p)), None)
    text = signature(call, "void GLPlaybackAdapter::", ")\n{\n")
    text += f'    Trace("{call.name}", __LINE__);\n'
    text += f"    const auto function = Core::KHRLayer::playback{call.table}ProcTable.{call.name};\n"
    text += "    if (!function) {\n        return;\n    }\n" + sizing(call)
    if array:
        count = array.type.expr
        text += f"    LiveNames<{array.type.scalar.c}> names({count}, {array.name});\n"
        if not array.type.out:
            text += f"    names.Translate([this](auto captured) {{ return m_resourceTable->GetValueGL{array.type.kind}(captured); }});\n"
    result = "const auto result = " if call.returns and used(call) else ""
    text += wrap(f"    {result}function(", [argument(p) for p in call.params], ");\n", indent=8)
    text += f'    CheckErrorState("{call.name}");\n' + follow_up(call, array)
    return text + "}\n"


def emit_declarations(api):
    text = BANNER + "// Part of class GLPlaybackAdapter.\n\n"
    return text + "".join(
        wrap(f"    void Process_{c.name}(", [f"{t} {n}" for t, n in c.adapter_params], ") override;\n", indent=8)
        for c in api.gl)


def emit_handlers(api):
    return BANNER + "".join("\n" + handler(c) for c in api.gl if not c.has("custom"))


def emit_labeled(api):
    """Replay knows the identifiers of the debug-label extension only, each kind's last one: others label object 0."""
    return BANNER + "".join(f"case {k.labels[-1]}:\n    return m_resourceTable->GetValueGL{SCALARS[k.type].kind}(name);\n"
                            for k in api.objects.values() if k.labels)


def emit_kinds(api):
    text = header("#include <cstddef>") + "namespace Playback {\n\n/// Kinds of GL objects whose names are 32-bit.\n"
    text += "enum class NameKind {\n" + "".join(f"    {kind},\n" for kind in OBJECTS.values()) + "    Count,\n};\n\n"
    text += "/// What messages call them.\n"
    text += "inline constexpr const char* NameKindTexts[static_cast<std::size_t>(NameKind::Count)] = {\n"
    text += "".join(f'    "{re.sub("(?<!^)(?=[A-Z])", " ", kind).lower()}",\n' for kind in OBJECTS.values())
    return text + "};\n\n} // namespace Playback\n"


OUTPUTS = {
    "Playback/GLPlaybackDeclarations.inc": emit_declarations,
    "Playback/GLPlaybackHandlers.inc": emit_handlers,
    "Playback/NameKinds.h": emit_kinds,
    "Playback/LabeledObjects.inc": emit_labeled,
}
