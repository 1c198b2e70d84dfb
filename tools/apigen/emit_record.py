"""The recorder's entry points: what it exports for each call, and how each call's record is written."""

import re

import expressions
from emit_call_table import ACTIONS
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
    functions = {"pname": "ParameterElements", "index_size": "Data::IndexSize", "texel": "Data::TexelBytes", "clear_values": "Data::ClearValues",
                 "text_length": "Data::TextLength"}

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
        return f"{'OutTextBytes' if t.out else 'TextBytes'}({name}, {expression(call, param)})"
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


def call_parameters(call, first, result, body):
    """The parameters of a function about a call; those that its body does not use have no name."""
    named = [(call.ret_c, "result")] if result and call.returns else []
    named += [(p.c_type, p.name) for p in call.params]
    return list(first) + [f"{t} {name}" if re.search(rf"\b{name}\b", body) else t for t, name in named]


def track(call):
    """Tells the context's state about the call."""
    arguments = ["result"] if call.returns else []
    arguments += [value(p.type, p.name) if not p.type.is_pointer and is_handle(p.type) else p.name for p in call.params]
    return (f"    context.Track(capturing, [&](Data::ContextState& state) {{ state.{call.name}({', '.join(arguments)}); }});\n")


def made_up_kind(api, param):
    """The kind of a parameter that is the name of an object which programs may make up; None for others."""
    kind = api.objects.get(param.type.name)
    return f"Data::ObjectKind::{param.type.kind}" if kind and kind.is_made_up else None


def made_up_names(api, call):
    text = "    if (!capturing)\n        return;\n"
    for name, kind in ((p.name, made_up_kind(api, p)) for p in call.params):
        if kind:
            text += (f"    if ({name} != 0 && !context.Names({kind}).Contains({name})) [[unlikely]]\n"
                     f"        RecordGeneration(capturing, context, {kind}, {name});\n")
    start = wrap(f"inline void {call.name}(", call_parameters(call, ["const Capturing& capturing", "Context& context"], False, text),
                 ") noexcept\n{\n", indent=4)
    return start + text + "}\n\n"


def names(api, call):
    """Keeps account of the names that a replay knows."""
    text = ""
    for p in call.params:
        kind = made_up_kind(api, p)
        if kind and p.type.is_pointer and (p.type.out or call.has("deletes")):
            change = f"context.Names({kind}).{'Add' if p.type.out else 'Remove'}"
            text += (f"    context.Track(capturing, [&](Data::ContextState&) {{\n"
                     f"        {change}(Data::ObjectNames({p.type.expr}, {p.name}));\n    }});\n")
    return text


def sized(params, call):
    """Declarations of the sizes of what lies behind pointers, and their sum."""
    sizes = [(p.name, contents(call, p)) for p in params if p.type.is_pointer]
    sizes = [(name, size) for name, size in sizes if size]
    return ("".join(f"    const std::uint64_t {name}Bytes = {size};\n" for name, size in sizes),
            [f"Data::RoundUp8({name}Bytes)" for name, _ in sizes])


def context_parameter(call, text):
    return [] if call.is_egl else ["Context& context" if "context." in text else "Context&"]


def begin_function(call):
    """The record of a call with all that goes into it."""
    inputs = [p for p in call.params if not p.type.out]
    text, sizes = sized(inputs, call)
    total = " + ".join([str(call.fixed_size), *sizes])
    text += f"    CallRecord record(Data::CallId::{call.name}, {call.fixed_size}, {total});\n"
    text += "    if (!record)\n        return record;\n"
    has_contents = [p for p in inputs if p.type.is_pointer and contents(call, p)]
    text += "".join(write_param(call, p) for p in inputs if p not in has_contents)
    text += "".join(f"    record.Pointer({p.at}, {p.name});\n" for p in call.params if p.type.out)
    text += "    record.Open();\n"
    text += "".join(write_param(call, p) for p in has_contents)
    text += "    return record;\n"
    start = wrap(f"inline CallRecord {call.name}(", call_parameters(call, context_parameter(call, text), False, text),
                 ") noexcept\n{\n", indent=4)
    return start + text + "}\n\n"


def end_function(api, call):
    """Completes the record with the results, and the state with what the call changed."""
    outputs = [p for p in call.params if p.type.out]
    text, sizes = sized(outputs, call)
    if call.ret.form == "cstring":
        text += "    const std::uint64_t resultBytes = TextBytes(result);\n"
        sizes.append("Data::RoundUp8(resultBytes)")
    text = "    if (!capturing)\n        return;\n" + text + names(api, call)
    if call.has("track") and not call.is_egl:
        text += track(call)
    text += f"    if (!record.Return({' + '.join(sizes) or '0'}))\n        return;\n"
    text += write_return(call) if call.returns else ""
    text += "".join(write_param(call, p) for p in outputs)
    text += "    record.End();\n"
    first = ["CallRecord& record", "const Capturing& capturing", *context_parameter(call, text)]
    used = call_parameters(call, first, True, text)
    start = wrap(f"inline void {call.name}(", used, ") noexcept\n{\n", indent=4)
    return start + text + "}\n\n"


def whole_function(call):
    """The record of a call that has returned already, or needs no driver."""
    arguments = [p.name for p in call.params]
    context = [] if call.is_egl else ["context"]
    text = ""
    if call.has("makes_name"):
        text += f"    MakeUpNames::{call.name}({', '.join(['capturing', *context, *arguments])});\n"
    text += f"    CallRecord record = Begin::{call.name}({', '.join(context + arguments)});\n"
    result = ["result"] if call.returns else []
    text += f"    End::{call.name}({', '.join(['record', 'capturing', *context, *result, *arguments])});\n"
    first = ["const Capturing& capturing", *(["Context& context"] if context else [])]
    start = wrap(f"inline void {call.name}(", call_parameters(call, first, True, text), ") noexcept\n{\n", indent=4)
    return start + text + "}\n\n"


def emit_records(api):
    text = header("#include <cstdint>", "", '#include "Recorder/Calls/CallRecord.h"', '#include "Recorder/Calls/ClientVertices.h"',
                  '#include "Recorder/Context.h"', '#include "Recorder/Platform.h"')
    calls = recorded(api)
    text += "/// Has a replay generate the names that the program made up, in front of their first use.\n"
    text += "namespace Recorder::Record::MakeUpNames {\n\n"
    text += "".join(made_up_names(api, c) for c in calls if c.has("makes_name"))
    text += "} // namespace Recorder::Record::MakeUpNames\n\n"
    text += "/// The record of one call before the driver's call: the parameters, and the memory behind them.\n"
    text += "namespace Recorder::Record::Begin {\n\n" + "".join(map(begin_function, calls))
    text += "} // namespace Recorder::Record::Begin\n\n"
    text += "/// Completes it after the driver's call: the return value, and the memory that the driver wrote.\n"
    text += "namespace Recorder::Record::End {\n\n" + "".join(end_function(api, c) for c in calls)
    text += "} // namespace Recorder::Record::End\n\n"
    text += "/// Appends the whole record of a call that has returned.\n"
    text += "namespace Recorder::Record {\n\n" + "".join(whole_function(c) for c in calls if not is_draw(c))
    return text + "} // namespace Recorder::Record\n"


def is_draw(call):
    return call.has("draw") or call.has("draw_no_step")


def is_action(call):
    return any(call.has(note) for note in ACTIONS)


def uses_buffers(call):
    """True for calls that have the driver read or write buffers: what programs wrote to mapped ones has to be there."""
    return (is_draw(call) or call.has("uses_buffers")
            or any(p.type.binding for p in call.params))


# Notes of calls that may end a frame, and the kinds of ends.
FRAME_ENDS = {"ends_flush": "Flush", "ends_finish": "Finish", "ends_fence": "Fence", "ends_readback": "ReadBack"}


def draws(call):
    return is_draw(call) or any(call.has(note) for note in ("clear", "blit", "blit_no_step"))


def frame_end(call):
    """What a call does that may end a frame, after its record."""
    if call.has("ends_marker"):
        text = next(p for p in call.params if p.type.form == "string")
        return f"    if (call)\n        MayEndFrameAtMarker(*call, {text.name}, {expression(call, text)});\n"
    kind = next((FRAME_ENDS[note] for note in FRAME_ENDS if call.has(note)), None)
    if not kind:
        return ""
    if kind == "Fence" and call.is_egl:
        return "    if (call)\n        MayEndFrameAtSync(type);\n"
    test, context = ("call && thread.context != nullptr", "*thread.context") if call.is_egl else ("call", "*call")
    return f"    if ({test})\n        MayEndFrame({context}, Data::FrameEndKind::{kind});\n"


def image_use(call):
    """What comes ahead of a call that uses an image whose contents may have changed."""
    if call.has("image_texture"):
        return "    if (call)\n        BeforeTextureBinding(*call, texture);\n"
    if any(p.type.name == "image" for p in call.params):
        target = "target" if any(p.name == "target" for p in call.params) else "0"
        return f"    if (call)\n        BeforeImageUse(*call, {target}, image);\n"
    return ""


def entry_point(name, call):
    types = ", ".join(p.c_type for p in call.params)
    text = wrap(f"RECORDER_EXPORT {call.ret_c} {name}(", [f"{p.c_type} {p.name}" for p in call.params], ")\n{\n",
                indent=4)
    text += "    using namespace Recorder;\n"
    text += f"    const auto live = Live<{call.ret_c} (*)({types})>(Entry::{name});\n"
    kind = "(StacksOf::Draws)" if is_draw(call) else ""
    text += f"    const {'EGLCall' if call.is_egl else 'GLCall'} call{kind};\n"
    context = [] if call.is_egl else ["*call"]
    arguments = [p.name for p in call.params]
    live = f"live({', '.join(arguments)})"
    result = ["result"] if call.returns else []
    assign = f"const {call.ret_c} result = " if call.returns else ""
    if call.has("changes_framebuffer"):
        text += "    if (call)\n        BeforeFramebufferChange(*call);\n"
    if draws(call):
        text += "    if (call)\n        call->NoteDrawing();\n"
    text += image_use(call)
    if call.has("deletes") and not call.returns:
        # The name is free for others as soon as the driver has deleted it, so the record comes first.
        text += f"    if (call)\n        Record::{call.name}({', '.join(['Capturing()', *context, *arguments])});\n"
        return text + f"    const LastIsOpen open(static_cast<bool>(call));\n    {live};\n}}\n\n"
    if uses_buffers(call):
        text += "    if (call)\n        BeforeUse(*call);\n"
    if is_draw(call) and not call.has("no_vertices"):
        text += ("    const ClientVertices vertices(call.Get(), [&] {\n"
                 f"        return call->State().Range_{call.name}({c_arguments(call)});\n    }});\n")
    if call.has("makes_name"):
        text += f"    if (call)\n        Record::MakeUpNames::{call.name}({', '.join(['Capturing()', *context, *arguments])});\n"
    begin = f"call ? Record::Begin::{call.name}({', '.join(context + arguments)}) : CallRecord()"
    end = ", ".join(["Capturing()", *context, *result, *arguments])
    if call.has("waits"):
        # Results come in front of the call's record, so that is made anew.
        text += f"    {assign}While({begin}, [&] {{ return {live}; }});\n"
        context = ("thread.context != nullptr", "*thread.context") if call.is_egl else ("call", "*call")
        text += f"    if ({context[0]})\n        AfterWait({context[1]});\n"
        text += f"    if (call)\n        Record::{call.name}({end});\n"
    elif is_action(call):
        text += f"    CallRecord record = {begin};\n    {assign}{live};\n    if (call) {{\n        const ActionHash hash(*call);\n"
        text += f"        const Capturing capturing;\n        Record::End::{call.name}(record, {end.replace('Capturing()', 'capturing')});\n"
        text += "        hash.Put(capturing, record);\n    }\n"
    else:
        text += f"    CallRecord record = {begin};\n    {assign}{live};\n"
        text += f"    if (call)\n        Record::End::{call.name}(record, {end});\n"
    text += frame_end(call)
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
