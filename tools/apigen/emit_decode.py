"""The reader's decoding of calls, with every check that a call's types ask for."""

import expressions
from emit_state import has_effects
from text import BANNER, wrap

# What the size functions of the description are called in Data. A get call has room for more values than are known to
# be written, since the live driver may write more than the captured one.
IMAGE_STORES = {"pixel_pack": "Pack", "pixel_unpack": "Unpack"}
BUFFER_TESTS = {
    "element_array": "HasElementBuffer",
    "draw_indirect": "HasDrawIndirectBuffer",
    "pixel_pack": "HasPackBuffer",
    "pixel_unpack": "HasUnpackBuffer",
}
# Objects that must have been generated: replay maps an unknown name to 0, and the draws that follow would read memory.
KNOWN_NAMES = {"buffer": "KnowsBuffer", "vertex_array": "KnowsVertexArray"}


def expression(call, t, decoder="decoder", room="OutputParameterCount", expr=""):
    """The size expression of a type, or another one of it, as C++ of type std::int64_t. `room` tells how many values a get
    call may write."""
    names = {"pname": room if t.out else "ParameterCount", "index_size": "IndexSize", "texel": "TexelBytes", "clear_values": "ClearValues",
             "text_length": "TextLength"}

    def name(word):
        # Arithmetic is done in 64 bits.
        scalar = next((p.type.scalar for p in call.params if p.name == word))
        return word if scalar.size == 8 else f"std::int64_t{{{word}}}"

    def function(word, arguments):
        if word == "image":
            store = f"{decoder}.Bound().{IMAGE_STORES[t.binding]}()"
            return f"ImageBytes({', '.join([store, *expressions.image_arguments(arguments)])})"
        return f"{names[word]}({', '.join(arguments)})"

    def binary(operator, left, right):
        # Rounded down, so that what is below 0 stays so.
        return f"{left} >> {int(right).bit_length() - 1}" if operator == "/" else expressions.join(operator, left, right)

    return expressions.write(expr or t.expr, name, function, binary)


def or_return(test):
    return f"    if (!{test})\n        return;\n"


def read_pointer(call, index, p):
    """Statements that read one pointer parameter, and leave the function when it must not be used."""
    t, at = p.type, p.at
    opaque = f"decoder.Opaque({index}, {at});\n"
    if t.form == "ptr" and not call.has("vertex_pointer"):
        return "    " + opaque
    if t.form == "callback":
        return f"    decoder.Callback({index}, {at});\n"
    if t.form == "ptr":
        return or_return(f"decoder.AttribPointer({index}, {at})")
    if t.form == "cstring":
        return or_return(f"decoder.CString({index}, {at})")
    if t.form == "attribs":
        return or_return(f"decoder.Attribs({index}, {at}, {'Enum::EglNone' if call.is_egl else 'Enum::None'})")
    if t.form == "attribs64":
        return or_return(f"decoder.Attribs64({index}, {at})")
    needed = expression(call, t)
    if t.form == "strings":
        return or_return(f"decoder.Strings({index}, {at}, {needed})")
    if t.form == "lists":
        lengths = call.params.index(call.param(t.lengths))
        each = expression(call, t, expr=t.each)
        return (f"    if (decoder.Bound().HasElementBuffer()) {{\n"
                f"        if (!decoder.IndexOffsets({index}, {at}, {needed}, {each}))\n            return;\n"
                f"    }} else if (!decoder.Lists({index}, {at}, {needed}, {lengths}, {each}))\n        return;\n")
    optional = "Optional" if t.nullable else ""
    if t.form == "string" and not t.out:
        return or_return(f"decoder.{optional}String({index}, {at}, {needed})")
    kind = "Names" if t.out and t.kind and not call.is_egl else ("Output" if t.out else "Input")
    test = f"decoder.{optional}{kind}({index}, {at}, {t.element_size}, {needed})"
    if not t.binding:
        return or_return(test)
    if t.binding == "element_array":
        return (f"    if (decoder.Bound().HasElementBuffer()) {{\n        if (!decoder.Indices({index}, {at}))\n"
                f"            return;\n    }} else if (!{test})\n        return;\n")
    return (f"    if (decoder.Bound().{BUFFER_TESTS[t.binding]}())\n        {opaque}"
            f"    else if (!{test})\n        return;\n")


def argument(p, index):
    return f"decoder.Pointer({index}).GetPointer()" if p.type.is_pointer else p.name


def is_promising(call):
    """Whether the call says which vertices its indices name."""
    return {"start", "end", "indices"} <= {p.name for p in call.params}


def reads_pixels(api, call):
    """Whether the call reads a rectangle of a framebuffer; what it sets instead, a driver can have at any size."""
    return {"x", "y", "width", "height"} <= {p.name for p in call.params} and not call.has("draw") and \
        not any(c.kind == "set" for c in api.states.changes.get(call.name, ()))


def checks(api, call):
    """Statements that read the pointers and may refuse the call, in the order of the contents."""
    text = ""
    if call.ret.form == "cstring":
        text += or_return(f"decoder.ReturnedString({call.ret_at})")
    elif call.ret.is_pointer:
        text += f"    decoder.ReturnedPointer({call.ret_at});\n"
    for index, p in enumerate(call.params):
        if p.type.is_pointer:
            text += read_pointer(call, index, p)
        elif p.type.name in ("offset", "bytes"):
            text += or_return(f"decoder.IsWithinMemory({index}, {p.name})")
        elif call.has("track") and p.type.name in KNOWN_NAMES:
            text += or_return(f"decoder.{KNOWN_NAMES[p.type.name]}({index}, {p.name})")
    if reads_pixels(api, call):
        for place, size in (("x", "width"), ("y", "height")):
            text += or_return(f"decoder.IsWithinImage({call.params.index(call.param(place))}, {place}, {size})")
    if call.has("buffered_indices"):
        text += or_return(f"decoder.HasIndices({len(call.params) - 1})")
    for index, p in enumerate(call.params):
        if p.type.form == "strings" and p.type.lengths:
            lengths = next(i for i, other in enumerate(call.params) if other.name == p.type.lengths)
            text += or_return(f"decoder.StringLengths({index}, {lengths})")
    if is_promising(call):
        memory = argument(call.param("indices"), call.params.index(call.param("indices")))
        text += ("    if (decoder.HasDriver() && !decoder.Bound().HasElementBuffer())\n"
                 f"        decoder.KeepPromise(decoder.Bound().RangeOfIndices({memory}, count, type, 0, 1), start, end);\n")
    if (call.has("draw") or call.has("draw_no_step")) and not call.has("no_vertices"):
        text += wrap(f"    if (decoder.Bound().ClientAttribs() != 0 &&\n        !decoder.CoversDraw(decoder.Bound().Range_{call.name}(",
                     [argument(p, i) for i, p in enumerate(call.params)], ")))\n        return;\n", indent=12)
    return text


def decode(api, call):
    text = f"void Decode_{call.name}(CallDecoder& decoder)\n{{\n"
    returned, told = [], []
    if call.ret.form == "scalar":
        text += f"    const auto captured = decoder.Value<{call.ret_adapter}>({call.ret_at});\n"
        returned = told = ["captured"]
    elif call.returns:
        returned, told = ["&decoder.Returned()"], ["decoder.Returned().GetPointer()"]
    constness = "" if is_promising(call) else "const "
    text += "".join(f"    {constness}auto {p.name} = decoder.Value<{p.type.adapter}>({p.at});\n" for p in call.params
                    if not p.type.is_pointer)
    text += checks(api, call)
    # Ahead of the adapter, which may write over output.
    if call.has("track"):
        state = "Client" if call.is_egl else "Context"
        told = told + [argument(p, i) for i, p in enumerate(call.params)]
        if call.has("without_names"):
            text += "    if (!decoder.HasDriver())\n    "
        text += wrap(f"    decoder.{state}().{call.name}(", told, ");\n", indent=8)
    if has_effects(api, call):
        text += "    decoder.Follow();\n"
    arguments = returned + [f"&decoder.Pointer({i})" if p.type.is_pointer else p.name for i, p in enumerate(call.params)]
    text += wrap(f"    decoder.{'EGL' if call.is_egl else 'GL'}().Process_{call.name}(", arguments, ");\n", indent=8)
    return text + "}\n\n"


def emit(api):
    for call in api.calls:
        # CallDecoder::maxParameters
        assert len(call.params) <= 16, f"{call.name} has too many parameters"
    text = BANNER + "\n" + "".join(decode(api, call) for call in api.calls)
    text += "constexpr CallDecoding decodings[callCount] = {\n"
    text += "".join(f"    {{&Decode_{call.name}, {call.fixed_size}}},\n" for call in api.calls)
    return text + "};\n"


OUTPUTS = {"Data/CallDecoding.inc": emit}
