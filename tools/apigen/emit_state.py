"""What calls set, make, delete and depend on, as tables: one model of a program's state is driven by them."""

import fnmatch

import khronos
import objects
from states import Change, number
from text import BANNER, enumerator, header

# The object that a state belongs to, where no parameter names it.
OWNERS = {"vertex_array": "VertexArray", "transform_feedback": "TransformFeedback", "texture_of": "TextureOf",
          "read_framebuffer": "ReadFramebuffer", "draw_framebuffer": "DrawFramebuffer", "framebuffer_of": "FramebufferOf",
          "current_program": "Program"}
INDEXES = {"unit": "Unit", "client_unit": "ClientUnit", "buffers": "DrawBuffers", "faces": "Faces", "face_of": "FacesOf",
           "framebuffers_of": "FramebuffersOf", "viewports": "Viewports", "viewports_from": "ViewportsFrom"}
WORDS = {"array_buffer": "ArrayBuffer", "vertex_stride": "VertexStride", "vector": "Elements", "cube_face": "CubeFace"}
TESTS = {"is": "Is", "is not": "IsNot", "has": "Has"}
RANGES = ("buffers", "faces", "face_of", "framebuffers_of", "viewports", "viewports_from")
# The parameter that a rule depends on.
DEPENDS = {"texture_of": "target", "framebuffer_of": "target", "framebuffers_of": "target", "face_of": "face",
           "viewports_from": "first", "vertex_stride": "stride", "vector": "v", "cube_face": "textarget"}
# How a part of a state's name is written: what its index counts.
COUNTED = {"unit": "TextureUnit", "client_unit": "TextureUnit", "buffers": "DrawBuffer", "faces": "Face", "face_of": "Face",
           "framebuffers_of": "Framebuffer", "viewports": "Viewport", "viewports_from": "Viewport"}


def kind(name):
    return f"ObjectKind::{enumerator(name)}" if name and name != "any" else "noObject"


def emit_kinds(api):
    text = header("#include <array>", "#include <cstdint>") + "namespace Data {\n\n"
    text += "/// Kinds of objects, in the order in which they are listed.\nenum class ObjectKind : std::uint8_t {\n"
    text += "".join(f"    {enumerator(k)},\n" for k in api.objects) + "};\n"
    text += f"inline constexpr std::size_t objectKinds = {len(api.objects)};\n"
    text += "inline constexpr auto noObject = static_cast<ObjectKind>(objectKinds);\n\n"
    text += "enum class ObjectOwner : std::uint8_t { Group, Context, Display };\n\n"
    text += "struct ObjectDescription {\n    /// Of many of them, such as \"textures\".\n    const char* name;\n"
    text += "    ObjectOwner owner;\n    /// What calls about debug labels call the kind; 0 for none.\n"
    text += "    std::array<std::uint32_t, 2> labels;\n};\n"
    text += "/// Indexed by ObjectKind.\ninline constexpr ObjectDescription objectDescriptions[objectKinds] = {\n"
    for k in api.objects.values():
        labels = ", ".join(f"{khronos.gl_values()[label]:#06x}" for label in k.labels)
        text += f'    {{"{k.name}", ObjectOwner::{k.owner.capitalize()}, {{{labels}}}}},\n'
    return text + "};\n\n} // namespace Data\n"


def emit_states(api):
    states = api.states.states
    text = header("#include <cstdint>") + "namespace Data {\n\n"
    text += "/// What calls set, and what they change besides.\nenum class State : std::uint8_t {\n"
    text += "".join(f"    {enumerator(state.name)},\n" for state in states)
    return text + f"}};\ninline constexpr std::size_t stateCount = {len(states)};\n\n}} // namespace Data\n"


def operand(source, parameter=0, other=0, value=0):
    return f"{{Source::{source}, {parameter}, {other}, {value}}}"


class Writer:
    """Writes the changes of one call."""

    def __init__(self, api, call):
        self.api, self.call = api, call
        self.places = {p.name: i for i, p in enumerate(call.params)}

    def place(self, word):
        return self.places.get(DEPENDS.get(word, word), 0)

    def object(self, name):
        """The object that a parameter names."""
        p = self.call.param(name)
        if p.type.name == "labeled":
            return operand("Labeled", self.places[name], self.places[p.type.of])
        named = "sync" if p.type.name == "sync_ptr" else p.type.name
        return operand("Object", self.places[name], list(self.api.objects).index(named))

    def owner(self, change):
        """The operand for whom the state is of, and the indexes that are left."""
        if change.kind != "set" or (self.state(change).is_contents and change.indexes):
            return self.object(change.indexes[0]), change.indexes[1:]
        if not self.state(change).of:
            return operand("Context"), change.indexes
        first = change.indexes[0]
        owner = operand(OWNERS[first], self.place(first)) if first in OWNERS and first not in self.places else self.object(first)
        return owner, change.indexes[1:]

    def index(self, word):
        if word in self.places:
            return operand("Parameter", self.places[word])
        other = self.places["count"] if word == "viewports_from" else 0
        return operand(INDEXES[word], self.place(word), other) if word in INDEXES else operand("Number", value=number(word))

    def word(self, text):
        if text in self.places:
            p = self.call.param(text)
            return operand({"array": "Elements", "string": "Text"}.get(p.type.form, "Parameter"), self.places[text])
        if text in WORDS:
            # A vector of attributes is filled up; the type of a vertex comes after its size.
            other = {"vector": 1, "vertex_stride": self.places.get("size")}.get(text, 0)
            return operand(WORDS[text], self.place(text), other)
        return operand("Number", value=number(text))

    def state(self, change):
        return self.api.states.by_name[change.state]

    def named(self, change):
        """The kind of object that the first word names."""
        state = self.api.states.by_name.get(change.state)
        if not state or not change.words:
            return ""
        return self.call.param(change.words[0]).type.name if state.names == "any" else state.names or state.holds

    def change(self, change, words):
        """One row; the words go to the end of the list of all words."""
        owner, indexes = self.owner(change)
        indexes = [self.index(i) for i in indexes]
        if len(indexes) == 1 and has_ranges(self.api, change.state):
            indexes.insert(0, operand("Number"))
        if change.state == "uniform":
            indexes = [operand("Number"), operand("Locations", self.places["location"], self.places.get("count", 255))]
        indexes += [operand("Number")] * (2 - len(indexes))
        condition = "{}"
        if c := change.condition:
            condition = f"{{{self.places[c.param] + 1}, StateChange::{TESTS[c.test]}, {number(c.value):#06x}}}"
        first = len(words)
        words += [self.word(w) for w in change.words]
        state = f"State::{enumerator(change.state)}" if change.state else "{}"
        return (f"{{{state}, ChangeKind::{change.kind.capitalize()}, {owner}, {indexes[0]}, {indexes[1]}, {condition}, "
                f"{kind(self.named(change))}, {first}, {len(change.words)}}}")


def has_ranges(api, state):
    """Whether the last index of a state may be several at once: it is the second one then."""
    changes = [c for of_call in api.states.changes.values() for c in of_call]
    return any(c.state == state and c.indexes and c.indexes[-1] in RANGES for c in changes)


def sets_uniforms(call):
    """Calls with a place for uniforms that answer nothing: those set them."""
    return (any(p.type.form == "scalar" and p.type.name == "uniform" for p in call.params)
            and not any(p.type.out for p in call.params))


def changes_of(api, call):
    if sets_uniforms(call):
        program = ("program",) if "program" in [p.name for p in call.params] else ("current_program",)
        names = [p.name for p in call.params if p.name not in ("program", "location", "count")]
        # Whether a matrix is transposed comes last.
        words = tuple(sorted(names, key=lambda name: name == "transpose"))
        return [Change("set", "uniform", program, words)]
    return api.states.changes.get(call.name, [])


def has_effects(api, call):
    """Whether a model of the state has to follow the call."""
    return bool(changes_of(api, call) or objects.effect_of(api.objects, call) or call.has("contexts"))


def builder(api, call):
    """The program whose building decides what an argument means."""
    for p in call.params:
        if p.type.form == "scalar" and p.type.name in ("attrib", "uniform", "block") and not p.type.out:
            return Writer(api, call).object(p.type.of) if p.type.of else operand("Program")
    return operand("Number")


def asks_for_location(call):
    """By a name: what the driver answers is what the capture calls it from there on."""
    return call.returns and call.params and call.params[0].type.name == "program" and call.params[-1].type.form == "cstring"


def object_effect(api, call):
    effect = objects.effect_of(api.objects, call)
    if not effect:
        return "{}"
    where = 0 if effect.param is None else effect.index + 1
    return f"{{ObjectAction::{'Delete' if effect.deletes else 'Make'}, {kind(effect.kind)}, {where}}}"


def codes_of_word(call, word):
    p = next((p for p in call.params if p.name == word), None)
    if p is not None:
        return "s" if p.type.form == "string" else "i" if p.type.form == "ptr" else "u" if p.type.kind else p.type.scalar.code
    return "e" if word.startswith("GL_") else {"vector": "f", "array_buffer": "u", "cube_face": "e"}.get(word, "i")


def code_at(changes, place):
    """The type of a word: that of a parameter, where a call has one there. What is 0 or 1 only is a yes or no."""
    words = [(call, change.words[place]) for call, change in changes if place < len(change.words)]
    told = [codes_of_word(call, word) for call, word in words if word not in ("0", "1")]
    return told[0] if told else "b"


def parts_of(api, state):
    """How the indexes of a state are written, as its first call has them, and its words."""
    changes = [(call, change) for call in api.calls for change in changes_of(api, call)
               if change.state == state.name and change.words]
    if not changes:
        return [], ""
    call, change = changes[0]
    indexes = ("location",) if state.name == "uniform" else change.indexes[1 if state.of else 0:]
    enums = [p.name for p in call.params if p.type.name == "enum"]
    counted = [COUNTED.get(i) or ("Enum" if i in enums or i.startswith("GL_") else "Number") for i in indexes]
    return counted, "".join(code_at(changes, place) for place in range(len(change.words)))


def emit_table(api):
    text = BANNER + "constexpr StateDescription states[stateCount] = {\n"
    for s in api.states.states:
        counted, codes = parts_of(api, s)
        if len(counted) == 1 and (has_ranges(api, s.name) or s.name == "uniform"):
            counted.insert(0, "None")
        counted = ", ".join(f"Counted::{c}" for c in (counted + ["None", "None"])[:2])
        asked = ", ".join(f'"{name}"' for name in s.asked)
        initial = ", ".join(str(number(word)) for word in s.initial)
        text += (f'    {{"{s.name}", {kind(s.names or s.holds)}, {str(bool(s.holds)).lower()}, {kind(s.of)}, '
                 f'{str(s.is_contents).lower()}, {{{counted}}}, "{codes}", {{{asked}}}, {len(s.initial)}, {{{initial}}}}},\n')
    changes, words, calls = [], [], []
    nothing = api.states.nothing
    for call in api.calls:
        writer = Writer(api, call)
        first = len(changes)
        changes += [writer.change(change, words) for change in changes_of(api, call)]
        asks = asks_for_location(call)
        is_nothing = any(fnmatch.fnmatchcase(call.name, pattern) for pattern in nothing) and not asks
        calls.append(f"{{{first}, {len(changes) - first}, {str(bool(is_nothing)).lower()}, {str(bool(asks)).lower()}, "
                     f"{str(call.has('draw') or call.has('draw_no_step')).lower()}, {builder(api, call)}, {object_effect(api, call)}}}, // {call.name}")
    text += "};\n\nconstexpr Operand words[] = {\n" + "".join(f"    {w},\n" for w in words)
    text += "};\n\nconstexpr StateChange changes[] = {\n" + "".join(f"    {c},\n" for c in changes)
    text += "};\n\nconstexpr CallEffects calls[callCount] = {\n" + "".join(f"    {c}\n" for c in calls)
    return text + "};\n"


OUTPUTS = {"Data/ObjectKinds.h": emit_kinds, "Data/States.h": emit_states, "Data/StateTable.inc": emit_table}
