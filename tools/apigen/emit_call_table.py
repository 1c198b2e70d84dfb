"""The calls as captures know them: numbers, names and signatures."""

from scalars import SCALARS
from text import BANNER, header


def emit_ids(api):
    text = header("#include <cstdint>") + "namespace Data {\n\n"
    text += "/// Numbers of the calls in the captures that this program writes.\nenum class CallId : std::uint32_t {\n"
    text += "".join(f"    {call.name},\n" for call in api.calls)
    return text + f"}};\n\ninline constexpr std::uint32_t callCount = {len(api.calls)};\n\n}} // namespace Data\n"


def emit_table(api):
    return BANNER + "".join(f'{{"{call.name}", "{call.signature}"}},\n' for call in api.calls)


FORMS = {"scalar": "Scalar", "ptr": "Opaque", "callback": "Opaque", "array": "Array", "cstring": "Text",
         "string": "Text", "strings": "Strings", "lists": "Lists", "attribs": "Attribs", "attribs64": "Attribs"}


def parameter(name, at, t):
    """One entry of the parameter table."""
    if t.form == "scalar":
        code = t.scalar.code
    elif t.name in SCALARS:
        code = SCALARS[t.name].code
    else:
        code = {"attribs": "i", "attribs64": "l", "array": "p" if t.name == "pointer" else "x"}.get(t.form, "x")
    flags = f"{'true' if t.out else 'false'}"
    return f'{{"{name}", ParameterForm::{FORMS[t.form]}, \'{code}\', {flags}, {t.element_size if t.is_pointer else t.size}, {at}}},'


def emit_parameters(api):
    """All parameters in one array, the returned value of a call in front of its own, then where each call's begin."""
    text = BANNER + "constexpr ParameterDescription parameters[] = {\n"
    starts, count = [], 0
    for call in api.calls:
        rows = [parameter("", call.ret_at, call.ret)] if call.returns else []
        rows += [parameter(p.name, p.at, p.type) for p in call.params]
        starts.append(f"{{{count}, {len(call.params)}, {'true' if call.returns else 'false'}}},")
        count += len(rows)
        if rows:
            text += f"    // {call.name}\n" + "".join(f"    {row}\n" for row in rows)
    text += "};\n\nconstexpr CallParameters callParameters[callCount] = {\n"
    return text + "".join(f"    {row}\n" for row in starts) + "};\n"


# Notes that make a call an action, with the kind of it.
ACTIONS = {"draw": "Draw", "draw_no_step": "Draw", "clear": "Clear", "blit": "Blit", "blit_no_step": "Blit",
           "dispatch": "Dispatch", "copy": "Copy", "mipmap": "Mipmap"}


def emit_actions(api):
    """The kind of each call's action, and whether it counts as a draw of its own."""
    kinds = [next((kind for note, kind in ACTIONS.items() if call.has(note)), "None") for call in api.calls]
    counted = [str(call.has("draw") or call.has("blit")).lower() for call in api.calls]
    return BANNER + "".join(f"{{ActionKind::{kind}, {is_counted}}}, // {call.name}\n"
                            for call, kind, is_counted in zip(api.calls, kinds, counted))


OUTPUTS = {"Data/ActionTable.inc": emit_actions, "Data/CallIds.h": emit_ids, "Data/CallTable.inc": emit_table, "Data/CallParameters.inc": emit_parameters}
