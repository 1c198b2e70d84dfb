"""The calls that Data::ContextState is told of: their declarations, and for those that set state which it holds, what
they set, from the same lines as the model of all state."""

from emit_state import OWNERS, RANGES, enumerator
from states import number
from text import BANNER, wrap

# Words and indexes that the state itself knows.
WORDS = {"client_unit": "m_clientUnit", "array_buffer": "BoundBuffer(Enum::ArrayBuffer)", "vertex_stride": "VertexStride(size, type, stride)"}


def tracked(api):
    return [c for c in api.gl if c.has("track")]


def signature(call, owner=""):
    params = [f"{call.ret_adapter} result"] if call.ret.form == "scalar" else \
        ["const void* result"] if call.returns else []
    params += [f"{'const void*' if p.type.is_pointer else p.type.adapter} {p.name}" for p in call.params]
    return wrap(f"void {owner}{call.name}(", params, ")", indent=4)


def value(call, word):
    if word in WORDS:
        return WORDS[word]
    if word not in [p.name for p in call.params]:
        return f"{number(word):#06x}" if word.startswith("GL_") else str(number(word))
    return f"AddressOf({word})" if call.param(word).type.is_pointer else word


def held(api, call):
    return [c for c in api.states.changes.get(call.name, ()) if c.state in api.states.memory]


def setter(call, change):
    arguments = [value(call, w) for w in change.indexes if w not in OWNERS and w not in RANGES]
    arguments += [value(call, w) for w in change.words]
    test = ""
    if c := change.condition:
        test = f"    if ({c.param} {'!=' if c.test == 'is not' else '=='} {number(c.value):#06x})\n    "
    return test + wrap(f"    Set{enumerator(change.state)}(", arguments, ");\n", indent=8)


def define(api, call):
    text = signature(call, "ContextState::") + "\n{\n"
    if call.has("accepted"):
        text += wrap(f"    if (!Accepts_{call.name}(", [p.name for p in call.params], "))\n        return;\n", indent=8)
    return text + "".join(setter(call, change) for change in held(api, call)) + "}\n\n"


def emit_declarations(api):
    return BANNER + "\n" + "".join(f"    {signature(c)};\n" for c in tracked(api))


def emit_definitions(api):
    return BANNER + "\n" + "".join(define(api, c) for c in tracked(api) if held(api, c))


OUTPUTS = {"Data/ContextDeclarations.inc": emit_declarations, "Data/ContextCalls.inc": emit_definitions}
