"""What the loader of the live tables needs to know of each function: its names, and what a driver must have for each."""

from text import BANNER


def forms(api):
    """{call: [(name, where)]}, the call's own name first, then those under which a driver may have it instead."""
    classes = {}
    for alias in api.aliases:
        classes.setdefault(alias.of, []).append((alias.name, "|".join(alias.where)))
    result = {}
    for call in api.calls:
        group = next((of for of in classes if of == call.name or any(n == call.name for n, _ in classes[of])), None)
        own = (call.name, call.where)
        others = [(call.name, api.also[call.name])] if call.name in api.also else []
        if group:
            of_group = [(group, api.by_name[group].where)] + classes[group]
            others += [other for other in of_group if other[0] != call.name]
        result[call] = [own, *others]
    return result


def emit(api):
    all_forms = forms(api)
    text = BANNER
    for table in ("EGL", "EGLExt", "GLES", "GLESExt"):
        for call in api.table(table):
            for name, where in all_forms[call]:
                text += f'{{FuncId::{call.name}, "{name}", "{where}"}},\n'
    return text


OUTPUTS = {"Core/FunctionForms.inc": emit}
