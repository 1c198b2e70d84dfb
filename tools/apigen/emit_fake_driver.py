"""The entry points of the fake driver of the tests: each hands its arguments, as words, to one function."""

import re

from text import BANNER, c_parameters, wrap

# How an argument, an element or a return value is written in the fake driver's log.
FORMS = {
    "e": "Enum", "m": "Bits", "u": "Unsigned", "b": "Bool", "i": "Signed", "l": "Signed", "f": "Float", "h": "Handle",
}
POINTER_FORMS = {"cstring": "CString", "strings": "Strings", "attribs": "Attribs", "attribs64": "Attribs64",
                 "ptr": "Pointer", "callback": "Pointer"}
ELEMENT_FORMS = {"blob": "Byte", "char": "Byte", "ubyte": "Unsigned", "pointer": "Pointer"}
# EGL has one integer type for numbers and names.
NAMED_INTEGERS = {"attribute", "name", "readdraw", "engine", "buffer"}
LOCATIONS = {"uniform": "Uniform", "attrib": "Attribute", "frag_data": "Output", "frag_index": "OutputIndex",
             "block": "Block"}


def form(call, param):
    t = param.type
    if t.form == "scalar":
        if (call.has("draw") or call.has("draw_no_step")) and param.name == "mode":
            return "Primitive"
        if call.is_egl and t.name == "egl_int" and param.name in NAMED_INTEGERS:
            return "EGLEnum"
        return "EGLEnum" if t.name == "egl_enum" else FORMS[t.scalar.code]
    if t.form in ("array", "string", "lists"):
        return "Characters" if t.form == "string" else "Array"
    return POINTER_FORMS[t.form]


def element_form(t):
    if t.form == "lists":
        return "Pointer"
    if t.form != "array":
        return "Byte"
    return ELEMENT_FORMS.get(t.name) or FORMS[t.scalar.code]


def count(call, t):
    """C++ function from the argument words to the number of elements: -1 where only a real driver could tell."""
    if not t.expr:
        return "nullptr"
    expr = re.sub(r"text_length\((\w+)\)", r"(\1 != 0 ? \1 : -1)", t.expr)
    expr = re.sub(r"pname\(\w+\)|clear_values\(\w+\)", "1", expr)
    if re.search(r"image\(|texel\(|index_size\(", expr):
        return "nullptr"
    for at, param in enumerate(call.params):
        expr = re.sub(rf"\b{param.name}\b", f"Signed(args[{at}])", expr)
    unused = "" if "args" in expr else "[[maybe_unused]] "
    return f"[]({unused}const Word* args) -> std::int64_t {{ return {expr}; }}"


def flag(value):
    return "true" if value else "false"


def parameter(call, param):
    t = param.type
    return (f'    {{"{param.name}", Form::{form(call, param)}, Form::{element_form(t)}, {t.element_size if t.is_pointer else 0}, '
            f"{flag(t.out)}, {flag(t.binding and t.form != 'lists')}, {flag(t.kind)}, {count(call, t)}}},\n")


def return_form(call):
    if call.ret.form == "void":
        return "None"
    if call.ret.form in ("cstring", "ptr"):
        return "CString" if call.ret.form == "cstring" else "Pointer"
    return "EGLEnum" if call.ret.name == "egl_enum" else FORMS[call.ret.scalar.code]


def answer(call):
    """What the function returns when no test and no special rule says otherwise."""
    t = call.ret
    if t.name in LOCATIONS:
        return f"Location{LOCATIONS[t.name]}"
    if call.has("makes") and t.kind:
        return "NewName"
    if t.name in ("egl_bool", "bool"):
        return "True"
    return "Zero"


def entry_point(name, call):
    data = f"{name}_parameters"
    text = ""
    if call.params:
        text += f"static constexpr Parameter {data}[] = {{\n" + "".join(parameter(call, p) for p in call.params) + "};\n"
    text += (f'static constexpr Function {name}_function = {{"{name}", Form::{return_form(call)}, Answer::{answer(call)}, '
             f"{data if call.params else '{}'}}};\n")
    words = ", ".join(f"ToWord({p.name})" for p in call.params)
    invoke = f"Invoke({name}_function, {'args' if call.params else 'nullptr'})"
    body = f"    const Word args[] = {{{words}}};\n" if call.params else ""
    body += f"    return FromWord<{call.ret_c}>({invoke});\n" if call.returns else f"    {invoke};\n"
    parameters = c_parameters(call)
    text += wrap(f"static {call.ret_c} Do_{name}(", [parameters] if parameters else [], ")\n{\n") + body + "}\n"
    text += f'extern "C" decltype(&Do_{name}) Find_{name}() {{ return Find({name}_function, &Do_{name}); }}\n'
    text += f'extern "C" [[gnu::visibility("default"), gnu::ifunc("Find_{name}")]] {call.ret_c} {name}({parameters});\n'
    return text + "\n"


def entries(api):
    """(name, call) of every function of the driver: described calls and their other names."""
    result = [(c.name, c) for c in api.calls if c.where != "none"]
    known = {name for name, _ in result}
    return result + [(a.name, api.by_name[a.of]) for a in api.aliases if a.name not in known]


def emit_entry_points(api):
    text = BANNER + "\n"
    for name, call in entries(api):
        text += entry_point(name, call)
    text += "static const Entry entryPoints[] = {\n"
    text += "".join(f"    {{&{name}_function, reinterpret_cast<void*>(&Do_{name})}},\n" for name, _ in entries(api))
    return text + "};\n"


def emit_extensions(api):
    names = {e for c in api.calls for e in c.extensions} | {w for a in api.aliases for w in a.where if w[0] in "EG"}

    def line(variable, prefix):
        chosen = sorted(n for n in names if n.startswith(prefix))
        return f"constexpr const char* {variable} =\n" + "\n".join(f'    "{n} "' for n in chosen) + ";\n"

    return BANNER + "\n" + line("describedExtensions", "GL_") + "\n" + line("describedEGLExtensions", "EGL_")


OUTPUTS = {
    "tests/FakeDriver/EntryPoints.inc": emit_entry_points,
    "tests/FakeDriver/Extensions.inc": emit_extensions,
}
