"""What comes between replay and driver to follow the driver's state: for each call that the client state is told of, a
function that makes the call and then tells the state of the context that is current in the driver; and for draws, one
that first asks whether the driver would survive it."""

from text import BANNER, wrap


def told(call):
    """The arguments as the state takes them; handles mean nothing to it."""
    arguments = ["result"] if call.returns else []
    for p in call.params:
        if p.type.name == "client_buffer":
            arguments.append("0")
        elif p.type.is_pointer:
            arguments.append(p.name)
        else:
            arguments.append(f"static_cast<{p.type.adapter}>({p.name})")
    return arguments


def is_draw(call):
    return call.has("draw") or call.has("draw_no_step") or call.has("dispatch")


def function(call):
    params = [f"{p.c_type} {p.name}" for p in call.params]
    names = [p.name for p in call.params]
    text = wrap(f"{call.ret_c} GL_APIENTRY Follow_{call.name}(", params, ")\n{\n", indent=4)
    if is_draw(call):
        text += f'    if (!current || current->MayDraw("{call.name}"))\n'
        return text + wrap(f"        driver{call.table}.{call.name}(", names, ");\n", indent=12) + "}\n\n"
    result = "const auto result = " if call.returns else ""
    text += wrap(f"    {result}driver{call.table}.{call.name}(", names, ");\n", indent=8)
    text += "    if (DriverContext* const context = current)\n        "
    if call.has("judged"):
        text += wrap(f"if (context->Took_{call.name}(", names, "))\n            ", indent=12)
    text += wrap(f"context->state.{call.name}(", told(call), ");\n", indent=12)
    return text + ("    return result;\n" if call.returns else "") + "}\n\n"


def emit(api):
    calls = [c for c in api.gl if c.where != "none" and (c.has("track") or is_draw(c))]
    text = BANNER + "\n" + "".join(function(c) for c in calls)
    for table, kind in (("GLES", "Core::GLESProcTable"), ("GLESExt", "Core::GLESExtProcTable")):
        text += f"void Adapt{table}({kind}& table)\n{{\n"
        text += "".join(f"    Follow(table.{c.name}, driver{table}.{c.name}, Follow_{c.name});\n"
                        for c in calls if c.table == table)
        text += "}\n\n"
    return text


OUTPUTS = {"Replay/DriverCalls.inc": emit}
