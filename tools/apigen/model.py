"""The API description: reads api/*.api, refuses what it does not understand, and answers questions about calls.

README.md in api/ explains the language. Emitters take an Api and return text; they never parse.
"""

import fnmatch
import re
from dataclasses import dataclass, field
from functools import cached_property
from pathlib import Path

import features
import objects
import states
from features import Features
from scalars import C_TYPES, ELEMENTS, POINTER_CODES, RETURNED, SCALARS
from states import States


BINDINGS = {"element_array", "draw_indirect", "pixel_pack", "pixel_unpack"}
# Functions of size expressions, with the number of their arguments.
FUNCTIONS = {"pname": 1, "image": 5, "texel": 2, "index_size": 1, "clear_values": 1, "text_length": 1}
NOTES = {"custom", "accepted", "draw", "draw_no_step", "dispatch", "blit", "resize", "track", "deletes", "mutable", "grow", "image_link", "image_texture",
         "makes", "contexts", "uses_buffers", "waits", "makes_name", "makes_handle", "judged", "without_names", "vertex_pointer", "buffered_indices",
         "clear", "blit_no_step", "upload", "compiles", "links", "custom_count", "custom_record", "changes_framebuffer",
         "ends_flush", "ends_finish", "ends_fence", "ends_readback", "ends_marker",
         "copy", "mipmap", "no_vertices"}


class ApiError(Exception):
    """What is wrong in a description, with file and line in front."""


@dataclass(frozen=True)
class Type:
    """Type of a parameter or return value.

    `form` is one of void, scalar, ptr, callback, array, lists, cstring, string, strings, attribs, attribs64.
    """

    form: str
    name: str = ""  # scalar or element type
    of: str = ""  # parameter with the program that a location belongs to, or with what tells an object's kind
    out: bool = False
    nullable: bool = False
    expr: str = ""  # elements of an array, characters of a string, strings or lists of an array of those
    lengths: str = ""  # parameter with the lengths of an array of strings or lists
    each: str = ""  # bytes of an element of a list
    binding: str = ""  # where a bound buffer turns the pointer into an offset

    @property
    def is_pointer(self):
        return self.form not in ("scalar", "void")

    @property
    def scalar(self):
        return SCALARS[self.name]

    @property
    def kind(self):
        """Object kind of GLResourceTable that the value or the elements name; empty for plain values."""
        return SCALARS[self.name].kind if self.name in SCALARS else ""

    @property
    def adapter(self):
        """Type of the argument in Data::GLAdapter and Data::EGLAdapter."""
        return "Data::PointerData*" if self.is_pointer else self.scalar.adapter

    @property
    def element(self):
        """C type of an array's elements."""
        return ELEMENTS[self.name][0] if self.name in ELEMENTS else self.scalar.c

    @property
    def element_size(self):
        """Bytes of an element behind the pointer, in memory and in a capture."""
        fixed = {"cstring": 1, "string": 1, "ptr": 1, "callback": 1, "strings": 8, "lists": 8, "attribs": 4, "attribs64": 8}
        if self.form in fixed:
            return fixed[self.form]
        if self.name in ELEMENTS:
            return ELEMENTS[self.name][1]
        return self.scalar.element_size or self.scalar.size

    @property
    def size(self):
        """Bytes that the value takes in a record; a pointer's contents follow the values."""
        return 16 if self.is_pointer else self.scalar.size

    @property
    def code(self):
        """Letter of the type in a call's signature. Readers compare signatures: the letters belong to the format."""
        if not self.is_pointer:
            return "v" if self.form == "void" else self.scalar.code
        return "o" if self.out else POINTER_CODES[self.form]


@dataclass(frozen=True)
class Param:
    name: str
    type: Type
    c_type: str
    at: int  # bytes from the start of a record


@dataclass(frozen=True)
class Call:
    name: str
    where: str  # "3.0", extensions joined by "|", "symbol" or "none"
    ret: Type
    ret_c: str
    ret_at: int
    params: tuple
    notes: frozenset
    fixed_size: int  # bytes of a record up to the contents, header included; a multiple of 8

    @property
    def is_egl(self):
        return self.name.startswith("egl")

    @property
    def is_core(self):
        return self.where[0].isdigit()

    @property
    def returns(self):
        return self.ret.form != "void"

    @property
    def table(self):
        """The live table with the call's entry: EGL, EGLExt, GLES or GLESExt."""
        return ("EGL" if self.is_egl else "GLES") + ("" if self.is_core else "Ext")

    @property
    def extensions(self):
        return () if self.is_core or self.where in ("symbol", "none") else tuple(self.where.split("|"))

    @property
    def signature(self):
        return self.ret.code + "".join(p.type.code for p in self.params)

    @property
    def ret_adapter(self):
        return RETURNED.get(self.ret.name, self.ret.adapter)

    @property
    def adapter_params(self):
        """(type, name) of Process_NAME, the captured return value first."""
        result = [(self.ret_adapter, "captured")] if self.returns else []
        return result + [(p.type.adapter, p.name) for p in self.params]

    def has(self, note):
        return note in self.notes

    def param(self, name):
        return next(p for p in self.params if p.name == name)


@dataclass(frozen=True)
class Alias:
    name: str
    of: str
    where: tuple  # extensions, or one version


@dataclass
class Api:
    calls: list = field(default_factory=list)
    aliases: list = field(default_factory=list)
    also: dict = field(default_factory=dict)  # call: another version whose core has it
    hidden: list = field(default_factory=list)  # names of extensions
    entries: list = field(default_factory=list)  # names that the recorder stands in for beside those of the calls
    features: Features = field(default_factory=Features)
    states: States = field(default_factory=States)
    objects: dict = field(default_factory=dict)  # type: kind
    needs: dict = field(default_factory=dict)  # what of a driver: names of calls, or patterns

    @cached_property
    def gl(self):
        return [c for c in self.calls if not c.is_egl]

    @cached_property
    def egl(self):
        return [c for c in self.calls if c.is_egl]

    @cached_property
    def by_name(self):
        return {c.name: c for c in self.calls}

    def table(self, name):
        """The calls with an entry in one live table, in order. A call that no driver has is in none."""
        return [c for c in self.calls if c.table == name and c.where != "none"]


WORD = r"[A-Za-z_]\w*"


def split_outside_brackets(text):
    """Splits at commas, except inside of brackets."""
    parts, depth, start = [], 0, 0
    for at, char in enumerate(text):
        depth += (char in "([") - (char in ")]")
        if char == "," and depth == 0:
            parts.append(text[start:at])
            start = at + 1
    return [p.strip() for p in (*parts, text[start:]) if p.strip()]


def parse_type(text):
    """A type as it stands in a description, return types included."""
    m = re.fullmatch(r"(in|out)(\?)? (.*)", text)
    if not m:
        if text in ("ptr", "callback", "cstring", "void"):
            return Type(text)
        m = re.fullmatch(rf"({WORD})(?:\(({WORD})\))?", text)
        if not m or m[1] not in SCALARS:
            raise ApiError(f"unknown type '{text}'")
        return Type("scalar", m[1], of=m[2] or "")
    out, nullable, rest = m[1] == "out", m[2] is not None, m[3]
    if rest in ("cstring", "attribs", "attribs64") and not out:
        return Type(rest, nullable=nullable)
    m = re.fullmatch(rf"({WORD})\[(.+)\](?:@({WORD}))?", rest)
    if not m:
        raise ApiError(f"unknown type '{text}'")
    name, expr, binding = m[1], m[2], m[3] or ""
    if binding and binding not in BINDINGS:
        raise ApiError(f"unknown binding '{binding}'")
    if name == "strings" and not out:
        count, *lengths = split_outside_brackets(expr)
        return Type("strings", nullable=nullable, expr=count, lengths=lengths[0] if lengths else "")
    if name == "lists" and not out:
        count, lengths, each = split_outside_brackets(expr)
        return Type("lists", nullable=nullable, expr=count, lengths=lengths, each=each, binding=binding)
    if name == "string":
        return Type("string", out=out, nullable=nullable, expr=expr)
    if name not in SCALARS and name not in ELEMENTS:
        raise ApiError(f"unknown element type '{name}'")
    return Type("array", name, out=out, nullable=nullable, expr=expr, binding=binding)


def c_parameter_type(t, mutable, is_egl):
    char = "char" if is_egl else "GLchar"
    if t.form == "scalar":
        return t.scalar.c
    fixed = {"ptr": "const void*", "cstring": f"const {char}*", "strings": "const GLchar* const*", "lists": "const void* const*"}
    fixed |= {"attribs": "const EGLint*", "attribs64": "const EGLAttribKHR*"}
    if t.form in fixed:
        return fixed[t.form]
    element = char if t.form == "string" else t.element
    return f"{element}*" if t.out or mutable else f"const {element}*"


def c_return_type(t, is_egl):
    if t.form == "scalar":
        return "GLint" if t.name == "attrib" else t.scalar.c
    if t.form == "ptr":
        return "__eglMustCastToProperFunctionPointerType" if is_egl else "void*"
    if t.form == "cstring":
        return "const char*" if is_egl else "const GLubyte*"
    return "void"


def check_expression(expr, names):
    for word in re.findall(WORD, expr):
        if word not in names and word not in FUNCTIONS:
            raise ApiError(f"'{word}' in '{expr}' is neither a parameter nor a function")
    if re.sub(rf"{WORD}|\d+|[-+*/(),\s]", "", expr):
        raise ApiError(f"'{expr}' has characters that no expression has")


def parse_parameters(text):
    """[(name, type)], with every name that a type uses checked."""
    params = []
    for part in split_outside_brackets(text):
        m = re.fullmatch(rf"(.*\S)\s+({WORD})", part)
        if not m:
            raise ApiError(f"expected TYPE NAME, found '{part}'")
        params.append((m[2], parse_type(m[1])))
    names = {name for name, _ in params}
    for _, t in params:
        check_expression(t.expr, names)
        check_expression(t.each, names)
        for other in (t.of, t.lengths):
            if other and other not in names:
                raise ApiError(f"no parameter '{other}'")
    return params


def parse_call(line):
    body, _, notes = line.partition(" : ")
    m = re.fullmatch(rf"(\S+)\s+({WORD}(?:\({WORD}\))?)\s+({WORD})\((.*)\)", body.strip())
    if not m:
        raise ApiError("expected WHERE RETURN NAME(PARAMETERS) [: notes]")
    where, ret, name = m[1], parse_type(m[2]), m[3]
    notes = frozenset(n.strip() for n in notes.split(",") if n.strip())
    if notes - NOTES:
        raise ApiError(f"unknown note '{min(notes - NOTES)}'")
    if not re.fullmatch(r"\d\.\d|symbol|none|E?GL_\w+(\|E?GL_\w+)*", where):
        raise ApiError(f"'{where}' is neither a version nor a list of extensions")
    if not re.match(r"e?gl[A-Z]", name):
        raise ApiError(f"'{name}' is neither an egl nor a gl call")
    is_egl = name.startswith("egl")
    at, ret_at = 8, 0
    if ret.form != "void":
        at += -at % min(ret.size, 8)
        ret_at, at = at, at + ret.size
    params = []
    for param, t in parse_parameters(m[4]):
        at += -at % min(t.size, 8)
        c_type = C_TYPES.get((name, param)) or c_parameter_type(t, "mutable" in notes, is_egl)
        params.append(Param(param, t, c_type, at))
        at += t.size
    return Call(name, where, ret, c_return_type(ret, is_egl), ret_at, tuple(params), notes, at + -at % 8)


def parse_line(api, line):
    word = line.split()[0]
    if word == "hide":
        api.hidden.append(line.split()[1])
    elif word == "need":
        m = re.fullmatch(rf"need ({WORD}) : (.+)", line)
        if not m:
            raise ApiError("expected need WHAT : CALL...")
        api.needs[m[1]] = m[2].split()
    elif word == "entry":
        api.entries += line.split()[1:]
    elif word == "also":
        m = re.fullmatch(r"also (\d\.\d) : (.+)", line)
        if not m:
            raise ApiError("expected also VERSION : CALL...")
        api.also |= dict.fromkeys(m[2].split(), m[1])
    elif word == "object":
        if not objects.parse_line(api.objects, line):
            raise ApiError("expected object TYPE : OWNER, NAME[, made_up][, labels IDENTIFIER...]")
    elif word in features.WORDS | states.WORDS:
        if not features.parse_line(api.features, line) and not states.parse_line(api.states, line):
            raise ApiError(f"'{word}' is not followed by what it needs")
    elif word == "alias":
        m = re.fullmatch(rf"alias ({WORD}) = ({WORD}) @ (\S+)", line)
        if not m:
            raise ApiError("expected alias NAME = CALL @ WHERE")
        api.aliases.append(Alias(m[1], m[2], tuple(m[3].split("|"))))
    else:
        call = parse_call(line)
        if any(c.name == call.name for c in api.calls):
            raise ApiError(f"{call.name} is described twice")
        api.calls.append(call)


def load(paths):
    """Reads the files in the order of their names; raises ApiError with file and line at the first fault."""
    api = Api()
    for path in sorted(Path(p) for p in paths):
        for number, line in enumerate(path.read_text().splitlines(), 1):
            line = line.strip()
            if not line or line.startswith("#"):
                continue
            try:
                parse_line(api, line)
            except ApiError as error:
                raise ApiError(f"{path}:{number}: {error}") from None
    for alias in api.aliases:
        if alias.of not in api.by_name:
            raise ApiError(f"alias {alias.name}: there is no call {alias.of}")
    for name in api.also:
        if name not in api.by_name:
            raise ApiError(f"there is no call {name}, which another version is said to have, too")
    counted = [count.call for count in api.features.counts]
    needed = [call for calls in api.needs.values() for call in calls]
    for call in [*counted, *api.states.changes, *api.states.nothing, *needed]:
        if not fnmatch.filter(api.by_name, call):
            raise ApiError(f"{call} is counted, or changes or needs something, but there is no such call")
    return api
