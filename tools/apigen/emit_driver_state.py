"""What comes between replay and driver to follow the driver's state: for each call that the client state is told of, a
function that makes the call and then tells the state of the context that is current in the driver; and for draws, one
that first asks whether the driver would survive it."""

from text import BANNER, wrap

# Calls that a driver may refuse while the state would follow: DriverContext has a function Took_NAME for them.
JUDGED = {"glBindBuffer", "glBindVertexArray", "glBindVertexArrayOES", "glBindVertexBuffer", "glBufferData", "glBufferStorageEXT", "glDisable",
          "glDisableVertexAttribArray", "glEnable", "glEnableVertexAttribArray", "glPixelStorei",
          "glVertexAttribBinding", "glVertexAttribDivisor", "glVertexAttribIPointer", "glVertexAttribPointer"}


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
    return call.has("draw") or call.has("draw_no_step")


def changes_program(api, call):
    """Whether the call may take away the program that draws run."""
    deletes = any(p.type.name == "pipeline" for p in call.params) and call.has("deletes")
    return deletes or any(c.state in ("program", "pipeline") for c in api.states.changes.get(call.name, ()))


def function(api, call):
    params = [f"{p.c_type} {p.name}" for p in call.params]
    names = [p.name for p in call.params]
    text = wrap(f"{call.ret_c} GL_APIENTRY Follow_{call.name}(", params, ")\n{\n", indent=4)
    if is_draw(call) or call.has("dispatch"):
        ask = "MayDraw" if is_draw(call) else "MayDispatch"
        text += f'    if (!current || current->{ask}("{call.name}"))\n'
        return text + wrap(f"        driver{call.table}.{call.name}(", names, ");\n", indent=12) + "}\n\n"
    result = "const auto result = " if call.returns else ""
    text += wrap(f"    {result}driver{call.table}.{call.name}(", names, ");\n", indent=8)
    if changes_program(api, call):
        return text + "    if (current)\n        current->ForgetProgram();\n}\n\n"
    text += "    if (DriverContext* const context = current)\n        "
    if call.name in JUDGED:
        text += wrap(f"if (context->Took_{call.name}(", names, "))\n            ", indent=12)
    text += wrap(f"context->state.{call.name}(", told(call), ");\n", indent=12)
    return text + ("    return result;\n" if call.returns else "") + "}\n\n"


def emit(api):
    calls = [c for c in api.gl if c.where != "none" and
             (c.has("track") or is_draw(c) or c.has("dispatch") or changes_program(api, c))]
    text = BANNER + "\n" + "".join(function(api, c) for c in calls)
    for table, kind in (("GLES", "Core::GLESProcTable"), ("GLESExt", "Core::GLESExtProcTable")):
        text += f"void Adapt{table}({kind}& table)\n{{\n"
        text += "".join(f"    Follow(table.{c.name}, driver{table}.{c.name}, Follow_{c.name});\n"
                        for c in calls if c.table == table)
        text += "}\n\n"
    return text


OUTPUTS = {"Replay/DriverCalls.inc": emit}
