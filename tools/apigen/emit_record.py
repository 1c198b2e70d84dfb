"""The recorder's entry points: what it exports for each call, and how each call's record is written."""

import expressions
from objects import effect_of
from scalars import SCALARS
from text import BANNER, c_arguments, c_parameters, header, wrap

# What says that a buffer is bound to a binding of the description, which turns a pointer into an offset.
BOUND = {
    "element_array": "context.State().HasElementBuffer()",
    "draw_indirect": "context.State().HasDrawIndirectBuffer()",
    "pixel_pack": "context.State().HasPackBuffer()",
    "pixel_unpack": "context.State().HasUnpackBuffer()",
}

KINDS = {
    "VoidPtr": "Pointer", "EGLVoidPtr": "Pointer", "EGLImage": "Image", "EGLDisplay": "Display", "EGLConfig": "Config",
    "EGLContext": "Context", "EGLSurface": "Surface", "EGLSync": "Sync",
}  # fmt: skip


def is_handle(t):
    return t.kind in KINDS and t.scalar.code == "h"


def recorded(api):
    """Calls that programs can get at; the others stand for a form of another call in captures only."""
    return [c for c in api.calls if c.where != "none"]


def exported(api):
    """(name, call) of every exported function of the description; aliases with the call they stand for."""
    own = {c.name: c for c in recorded(api)}
    aliases = {a.name: api.by_name[a.of] for a in api.aliases if a.name not in own and a.name not in api.entries}
    return sorted((own | aliases).items())


def expression(call, param, expr=""):
    """The C++ form of an array's size expression, or of another one of its type."""
    if param.type.name == "config" and any(p.name == "num_config" for p in call.params):
        return f"WrittenConfigs({param.type.expr}, num_config)"
    functions = {"pname": "ParameterElements", "index_size": "Data::IndexSize", "texel": "Data::TexelBytes", "clear_values": "Data::ClearValues"}

    def name(word):
        return f"Wide({word})"

    def function(word, arguments):
        if word == "image":
            store = f"context.State().{'Pack' if param.type.out else 'Unpack'}()"
            sizes = [a if a.isdigit() else name(a) for a in expressions.image_arguments(arguments)]
            return f"Data::ImageBytes({', '.join([store, *sizes])})"
        return f"{functions[word]}({', '.join(name(a) for a in arguments)})"

    return expressions.write(expr or param.type.expr, name, function)


def contents(call, param):
    """An expression for the bytes behind a pointer parameter that go into the record; None for plain values."""
    t, name = param.type, param.name
    if t.form in ("ptr", "callback"):
        return None
    if t.form == "cstring":
        return f"TextBytes({name})"
    if t.form in ("attribs", "attribs64"):
        # Lists end with EGL_NONE; those of OpenGL ES calls with GL_NONE.
        return f"AttribBytes({name})" if call.is_egl else f"AttribBytes({name}, 0)"
    if t.form == "strings":
        return f"StringsBytes({name}, Wide({t.expr}), {t.lengths or 'nullptr'})"
    if t.form == "lists":
        return f"{BOUND[t.binding]} ? ArrayBytes({name}, Wide({t.expr}), 8) : {list_sizes(call, param)}.Bytes()"
    if t.form == "string":
        return f"{'OutTextBytes' if t.out else 'TextBytes'}({name}, Wide({t.expr}))"
    bytes_ = f"ArrayBytes({name}, {expression(call, param)}, {t.element_size})"
    return f"{BOUND[t.binding]} ? 0 : {bytes_}" if t.binding else bytes_


def list_sizes(call, param):
    t = param.type
    return f"Lists({param.name}, Wide({t.expr}), {t.lengths}, {expression(call, param, t.each)})"


def value(t, name):
    """What a scalar is written as."""
    if is_handle(t):
        return f"Identify(Identifier::{KINDS[t.kind]}, {name})"
    return f"static_cast<{t.adapter}>({name})"


def write_return(call):
    if call.ret.form == "cstring":
        return f"    record.Contents({call.ret_at}, result, resultBytes);\n"
    if call.ret.form == "ptr":
        return f"    record.Pointer({call.ret_at}, reinterpret_cast<const void*>(result));\n"
    if is_handle(call.ret) and call.has("makes_handle"):
        return f"    record.Put({call.ret_at}, IdentifyNew(Identifier::{KINDS[call.ret.kind]}, result));\n"
    return f"    record.Put({call.ret_at}, {value(call.ret, 'result')});\n"


def write_param(call, param):
    t, name, at = param.type, param.name, param.at
    if t.name == "egl_buffer" and t.of:
        return f"    record.Put({at}, IdentifyImageSource({t.of}, {name}));\n"
    if not t.is_pointer:
        return f"    record.Put({at}, {value(t, name)});\n"
    if t.form in ("ptr", "callback"):
        cast = f"reinterpret_cast<const void*>({name})" if t.form == "callback" else name
        return f"    record.Pointer({at}, {cast});\n"
    if t.form == "strings":
        return f"    record.Strings({at}, {name}, Wide({t.expr}), {t.lengths or 'nullptr'}, {name}Bytes);\n"
    if t.form == "array" and is_handle(t):
        return f"    record.Handles({at}, Identifier::{KINDS[t.kind]}, {name}, {name}Bytes);\n"
    if t.form == "lists":
        return (f"    if ({BOUND[t.binding]})\n        record.Contents({at}, {name}, {name}Bytes);\n"
                f"    else\n        record.Add({at}, {list_sizes(call, param)}, {name}Bytes);\n")
    if t.binding:
        return (f"    if ({BOUND[t.binding]})\n        record.Pointer({at}, {name});\n"
                f"    else\n        record.Contents({at}, {name}, {name}Bytes);\n")
    return f"    record.Contents({at}, {name}, {name}Bytes);\n"


def record_parameters(call, uses_context):
    result = ["const Capturing& capturing"]
    if not call.is_egl:
        result.append("Context& context" if uses_context else "Context&")
    if call.returns:
        result.append(f"{call.ret_c} result")
    return result + [f"{p.c_type} {p.name}" for p in call.params]


def track(call):
    """Tells the context's state about the call."""
    arguments = ["result"] if call.returns else []
    arguments += [value(p.type, p.name) if not p.type.is_pointer and is_handle(p.type) else p.name for p in call.params]
    return (f"    context.Track(capturing, [&](Data::ContextState& state) {{ state.{call.name}({', '.join(arguments)}); }});\n")


def names(api, call):
    """Keeps account of the names that a replay knows, and has it generate those that the program made up."""
    text = ""
    for p in call.params:
        if p.type.name not in api.objects or not api.objects[p.type.name].is_made_up:
            continue
        kind = f"Data::ObjectKind::{p.type.kind}"
        if call.has("makes_name"):
            text += (f"    if ({p.name} != 0 && !context.Names({kind}).Contains({p.name})) [[unlikely]]\n"
                     f"        RecordGeneration(capturing, context, {kind}, {p.name});\n")
        elif p.type.is_pointer and (p.type.out or call.has("deletes")):
            change = f"context.Names({kind}).{'Add' if p.type.out else 'Remove'}"
            text += (f"    context.Track(capturing, [&](Data::ContextState&) {{\n"
                     f"        {change}(Data::ObjectNames({p.type.expr}, {p.name}));\n    }});\n")
    return text


def record_function(api, call):
    name = call.name
    text = "    if (!capturing)\n        return;\n" + names(api, call)
    sizes = []
    if call.ret.form == "cstring":
        text += "    const std::uint64_t resultBytes = TextBytes(result);\n"
        sizes.append("resultBytes")
    for p in call.params:
        size = contents(call, p) if p.type.is_pointer else None
        if size:
            text += f"    const std::uint64_t {p.name}Bytes = {size};\n"
            sizes.append(f"{p.name}Bytes")
    if call.has("draw") or call.has("draw_no_step"):
        text += ("    const ClientVertices vertices(capturing, context,\n"
                 f"                                  [&] {{ return context.State().Range_{name}({c_arguments(call)}); }});\n")
    if call.has("track") and not call.is_egl:
        text += track(call)
    total = " + ".join([str(call.fixed_size), *(f"Data::RoundUp8({s})" for s in sizes)])
    text += f"    CallRecord record(capturing, Data::CallId::{name}, {call.fixed_size}, {total});\n"
    body = write_return(call) if call.returns else ""
    body += "".join(write_param(call, p) for p in call.params)
    if body:
        text += "    if (!record)\n        return;\n" + body
    start = wrap(f"inline void {name}(", record_parameters(call, "context." in text), ") noexcept\n{\n", indent=4)
    return start + text + "}\n\n"


def emit_records(api):
    text = header("#include <cstdint>", "", '#include "Recorder/Calls/CallRecord.h"', '#include "Recorder/Calls/ClientVertices.h"',
                  '#include "Recorder/Context.h"', '#include "Recorder/Platform.h"')
    text += "/// Appends the record of one call to the capture: the return value, the parameters, and the memory behind them.\n"
    text += "namespace Recorder::Record {\n\n"
    text += "".join(record_function(api, c) for c in recorded(api))
    return text + "} // namespace Recorder::Record\n"


def record_call(call, result):
    arguments = ["Capturing()", *([] if call.is_egl else ["*call"]), *result, *(p.name for p in call.params)]
    return f"        Record::{call.name}({', '.join(arguments)});\n"


def uses_buffers(call):
    """True for calls that have the driver read or write buffers: what programs wrote to mapped ones has to be there."""
    return (call.has("draw") or call.has("draw_no_step") or call.has("uses_buffers")
            or any(p.type.binding for p in call.params))


def entry_point(name, call):
    types = ", ".join(p.c_type for p in call.params)
    text = wrap(f"RECORDER_EXPORT {call.ret_c} {name}(", [f"{p.c_type} {p.name}" for p in call.params], ")\n{\n",
                indent=4)
    text += "    using namespace Recorder;\n"
    text += f"    const auto live = Live<{call.ret_c} (*)({types})>(Entry::{name});\n"
    text += f"    const {'EGLCall' if call.is_egl else 'GLCall'} call;\n"
    record = "    if (call)\n" + record_call(call, ["result"] if call.returns else [])
    if call.has("deletes") and not call.returns:
        # The name is free for others as soon as the driver has deleted it, so the record comes first.
        return text + record + f"    live({c_arguments(call)});\n}}\n\n"
    if uses_buffers(call):
        text += "    if (call)\n        BeforeUse(*call);\n"
    text += f"    {f'const {call.ret_c} result = ' if call.returns else ''}live({c_arguments(call)});\n"
    if call.has("waits"):
        context = ("thread.context != nullptr", "*thread.context") if call.is_egl else ("call", "*call")
        text += f"    if ({context[0]})\n        AfterWait({context[1]});\n"
    text += record
    if call.returns:
        text += "    return result;\n"
    return text + "}\n\n"


def emit_entry_points(api, egl):
    return BANNER + "\n" + "".join(entry_point(name, call) for name, call in exported(api)
                                   if call.is_egl == egl and not call.has("custom_record"))


def emit_entries(api):
    names = sorted({name for name, _ in exported(api)} | set(api.entries))
    return BANNER + "".join(f"RECORDER_ENTRY({name})\n" for name in names)


def emit_generation(api):
    """How a replay is given a name of each kind that programs may make up: by the first call that makes some."""
    text = BANNER
    for kind in (k for k in api.objects.values() if k.is_made_up):
        call = next(c for c in api.calls if (e := effect_of(api.objects, c)) and e.kind == kind.type and not e.deletes)
        text += f"case Data::ObjectKind::{SCALARS[kind.type].kind}:\n"
        text += f"    Record::{call.name}(capturing, context, 1, &name);\n    break;\n"
    return text


def emit_hidden(api):
    return BANNER + "".join(f'"{name}",\n' for name in sorted(api.hidden))


OUTPUTS = {
    "Recorder/Entries.inc": emit_entries,
    "Recorder/RecordCalls.h": emit_records,
    "Recorder/GLEntryPoints.inc": lambda api: emit_entry_points(api, False),
    "Recorder/EGLEntryPoints.inc": lambda api: emit_entry_points(api, True),
    "Recorder/Generation.inc": emit_generation,
    "Recorder/HiddenExtensions.inc": emit_hidden,
}
