"""The lines of a description that say what calls set (api/91-state.api)."""

import re
from dataclasses import dataclass, field

import khronos

WORDS = {"state", "set", "contents", "change", "reset", "nothing", "memory"}
NUMBER = r"-?\d+|0x[0-9A-F]+|GL_\w+"


@dataclass(frozen=True)
class State:
    name: str
    names: str = ""  # kind of object that the value names, or any
    holds: str = ""  # the same, where a deleted object stays
    of: str = ""  # kind of object that the state belongs to
    asked: tuple = ()  # what is asked for to get the words
    initial: tuple = ()  # words; empty where it is not known
    is_contents: bool = False


@dataclass(frozen=True)
class Condition:
    param: str
    test: str  # is, is not or has
    value: str


DEPTH_STENCIL = "GL_DEPTH_STENCIL_ATTACHMENT"
# Last indexes that stand for several changes: the index of each, and when it is made.
EACH = {"attachment_of": [("attachment", Condition("attachment", "is not", DEPTH_STENCIL)),
                          ("GL_DEPTH_ATTACHMENT", Condition("attachment", "is", DEPTH_STENCIL)),
                          ("GL_STENCIL_ATTACHMENT", Condition("attachment", "is", DEPTH_STENCIL))],
        "stages_of": [(f"GL_{stage}_SHADER", Condition("stages", "has", f"GL_{stage}_SHADER_BIT"))
                      for stage in ("VERTEX", "TESS_CONTROL", "TESS_EVALUATION", "GEOMETRY", "FRAGMENT", "COMPUTE")]}


@dataclass(frozen=True)
class Change:
    kind: str  # set, change or reset
    state: str  # empty for reset
    indexes: tuple
    words: tuple = ()
    condition: Condition = None


@dataclass
class States:
    states: list = field(default_factory=list)
    changes: dict = field(default_factory=dict)  # call: changes
    nothing: list = field(default_factory=list)  # calls that set nothing
    memory: list = field(default_factory=list)  # states that decide what pointers mean

    @property
    def by_name(self):
        return {state.name: state for state in self.states}


def number(text):
    """The value of a number or of a name."""
    return khronos.gl_values()[text] if text.startswith("GL_") else int(text, 0)


def parse_changes(states, kind, text):
    """Those that a part of a line stands for; none where it is not understood."""
    m = re.fullmatch(rf"(\w+)\[([\w ]*)\](?: = ([-\w ]+?))?(?: when (\w+) (is not|is|has) ({NUMBER}))?", text.strip())
    if not m or m[1] not in states.by_name:
        return []
    indexes, words = tuple(m[2].split()), tuple((m[3] or "").split())
    if indexes and indexes[-1] in EACH:
        return [Change(kind, m[1], (*indexes[:-1], last), words, condition) for last, condition in EACH[indexes[-1]]]
    return [Change(kind, m[1], indexes, words, Condition(*m.group(4, 5, 6)) if m[4] else None)]


def parse_state(line):
    m = re.fullmatch(rf"state (\w+)((?: (?:names|holds|of) \w+)*)(?: as ((?:GL_\w+ ?)+?))?(?: = ((?:(?:{NUMBER}) ?)+))?", line)
    if not m:
        return None
    links = dict(zip(m[2].split()[::2], m[2].split()[1::2]))
    return State(m[1], **links, asked=tuple((m[3] or "").split()), initial=tuple((m[4] or "").split()))


def parse_line(states, line):
    """True when the line was one of these and has been taken up."""
    word, *rest = line.split()
    if word == "state":
        state = parse_state(line)
        states.states += [state] if state else []
        return state is not None
    if word == "contents":
        states.states += [State(name, is_contents=True) for name in rest]
        return bool(rest)
    if word == "memory":
        states.memory += rest
        return all(name in states.by_name for name in rest)
    if word == "nothing":
        states.nothing += rest
        return bool(rest)
    m = re.fullmatch(r"(set|change|reset) (\w+) : (.+)", line)
    if not m:
        return False
    parts = [[Change("reset", "", (m[3],))]] if m[1] == "reset" else \
        [parse_changes(states, m[1], part) for part in m[3].split(",")]
    states.changes.setdefault(m[2], []).extend(change for part in parts for change in part)
    return [] not in parts
