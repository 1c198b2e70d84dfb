"""Adapters for tests that read and write all memory which a driver would: a sanitizer then judges the reader's checks."""

from emit_decode import BUFFER_TESTS, expression
from text import BANNER, wrap


def touch(call, p):
    """Statement that uses the memory behind one pointer parameter as a driver does."""
    t, name = p.type, p.name
    if t.form in ("ptr", "callback"):
        return ""
    if t.form == "cstring":
        return f"        m_memory.Text({name});\n"
    if t.form == "attribs":
        return f"        m_memory.Attribs({name}, {'0x3038' if call.is_egl else '0'});\n"
    if t.form == "attribs64":
        return f"        m_memory.Attribs64({name});\n"
    count = expression(call, t, "m_decoder", "ParameterCount")
    if t.form == "strings":
        return f"        m_memory.Strings({name}, {count}, {t.lengths or 'nullptr'});\n"
    if t.form == "lists":
        each = expression(call, t, "m_decoder", expr=t.each)
        text = f"m_memory.Lists({name}, {count}, {t.lengths}, {each});\n"
        return f"        if (!m_decoder.Context().{BUFFER_TESTS[t.binding]}())\n            {text}"
    if t.form == "string" and not t.out:
        return f"        m_memory.Characters({name}, {count});\n"
    text = f"        m_memory.{'Write' if t.out else 'Read'}({name}, {count}, {t.element_size});\n"
    return f"        if (!m_decoder.Context().{BUFFER_TESTS[t.binding]}())\n    {text}" if t.binding else text


def operation(call):
    body = "".join(touch(call, p) for p in call.params if p.type.is_pointer)
    if call.ret.form == "cstring":
        body = "        m_memory.Text(captured);\n" + body
    if (call.has("draw") or call.has("draw_no_step")) and not call.has("no_vertices"):
        arguments = ", ".join(f"{p.name}->GetPointer()" if p.type.is_pointer else p.name for p in call.params)
        body += f"        m_memory.Vertices(m_decoder.Context(), m_decoder.Context().Range_{call.name}({arguments}));\n"
    if not body:
        return ""
    names = [f"[[maybe_unused]] {t} {n}" for t, n in call.adapter_params]
    return wrap(f"    void Process_{call.name}(", names, ") override\n", indent=8) + f"    {{\n{body}    }}\n"


def emit(calls):
    return lambda api: BANNER + "".join(operation(call) for call in calls(api))


OUTPUTS = {"tests/TouchingGL.inc": emit(lambda api: api.gl), "tests/TouchingEGL.inc": emit(lambda api: api.egl)}
