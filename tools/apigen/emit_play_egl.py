"""Replay handlers of the EGL calls whose description says all: plain calls, and calls on the proxy of a surface. Calls
with the note `custom` are only declared."""

from text import BANNER, wrap

TABLE = "m_resourceTable->"


def argument(param):
    t = param.type
    if t.form == "scalar":
        if t.name == "display":
            return "display"
        if t.name == "config":
            return f"GetConfig(dpy, {param.name})"
        return f"{TABLE}GetValue{t.kind}({param.name})" if t.kind else param.name
    element = param.c_type.removeprefix("const ").removesuffix("*").rstrip()
    return f"{param.name}->As<{element}>()"


def surface_of(call):
    """The surface that the call is an operation of, if any."""
    return next((p for p in call.params if p.type.name == "surface"), None)


def recorded(call):
    """Live surfaces are behind proxies, so that a returned one stands for none."""
    return call.ret.kind not in ("", "EGLSurface")


def follow_up(call):
    if recorded(call):
        return f"    {TABLE}AddId{call.ret.kind}(captured, result);\n"
    if call.has("deletes"):
        deleted = call.params[-1]
        return f"    {TABLE}RemoveId{deleted.type.kind}({deleted.name});\n"
    return ""


def live_call(call):
    result = "const auto result = " if recorded(call) else ""
    return (wrap(f"    {result}function(", [argument(p) for p in call.params], ");\n", indent=8)
            + f'    CheckErrorState("{call.name}");\n' + follow_up(call))


def proxy_call(call, surface):
    operation = call.name.removeprefix("egl")
    arguments = [argument(p) for p in call.params if p is not surface]
    return (f"    if (auto* proxy = {TABLE}GetValueEGLSurface({surface.name})) {{\n"
            + wrap(f"        proxy->{operation}(", arguments, ");\n", indent=12)
            + f'        CheckErrorState("{call.name}");\n    }}\n')


def handler(call):
    params = call.adapter_params
    if call.returns and not recorded(call):
        params = [(params[0][0], "/*captured*/")] + params[1:]
    text = wrap(f"void EGLPlaybackAdapter::Process_{call.name}(", [f"{t} {n}" for t, n in params], ")\n{\n", indent=4)
    text += f'    Trace("{call.name}", __LINE__);\n'
    text += f"    const auto function = Core::KHRLayer::playback{call.table}ProcTable.{call.name};\n"
    text += "    if (!function) {\n        return;\n    }\n"
    if call.params and call.params[0].type.name == "display":
        # A statement of its own: it selects the maps that the other arguments are looked up in.
        text += "    const EGLDisplay display = GetDisplay(dpy);\n"
    surface = surface_of(call)
    return text + (proxy_call(call, surface) if surface else live_call(call)) + "}\n"


def emit_declarations(api):
    text = BANNER + "// Part of class EGLPlaybackAdapter.\n\n"
    return text + "".join(
        wrap(f"    void Process_{c.name}(", [f"{t} {n}" for t, n in c.adapter_params], ") override;\n", indent=8)
        for c in api.egl)


def emit_handlers(api):
    return BANNER + "".join("\n" + handler(c) for c in api.egl if not c.has("custom"))


OUTPUTS = {
    "Playback/EGLPlaybackDeclarations.inc": emit_declarations,
    "Playback/EGLPlaybackHandlers.inc": emit_handlers,
}
