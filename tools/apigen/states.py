"""The lines of a description that say what calls set (api/91-state.api)."""

import re
from dataclasses import dataclass, field

WORDS = {"state", "set"}
NUMBER = r"-?\d+|0x[0-9A-F]+"


@dataclass(frozen=True)
class State:
    name: str
    names: str  # kind of object that the value names
    of: str  # kind of object that the state belongs to
    initial: tuple  # words; empty where it is not known


@dataclass(frozen=True)
class Setting:
    state: str
    indexes: tuple
    words: tuple


@dataclass
class States:
    states: list = field(default_factory=list)
    settings: dict = field(default_factory=dict)  # call: settings; none where the call is handled by hand


def parse_setting(states, text):
    m = re.fullmatch(r"(\w+)\[([\w ]*)\] = ([-\w ]+)", text.strip())
    if not m or m[1] not in {state.name for state in states.states}:
        return None
    return Setting(m[1], tuple(m[2].split()), tuple(m[3].split()))


def parse_line(states, line):
    """True when the line was one of these and has been taken up."""
    if m := re.fullmatch(rf"state (\w+)((?: (?:names|of) \w+)*)(?: = ((?:(?:{NUMBER}) ?)+))?", line):
        links = dict(zip(m[2].split()[::2], m[2].split()[1::2]))
        states.states.append(State(m[1], links.get("names", ""), links.get("of", ""), tuple((m[3] or "").split())))
        return True
    m = re.fullmatch(r"set (\w+) : (.+)", line)
    if not m:
        return False
    settings = [] if m[2] == "by hand" else [parse_setting(states, part) for part in m[2].split(",")]
    states.settings[m[1]] = settings
    return None not in settings
