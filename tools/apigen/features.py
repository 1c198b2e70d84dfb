"""The lines of a description that say what a run with -stats records (api/90-statistics.api)."""

import re
from dataclasses import dataclass, field

CAPTURE_TYPES = ("GL", "DX")
KINDS = ("Blocking", "NonBlocking")


@dataclass(frozen=True)
class Value:
    number: int
    item: str
    keys: tuple


@dataclass
class Feature:
    name: str
    items: str  # key of the list that items are added to
    message: str
    values: list = field(default_factory=list)


@dataclass(frozen=True)
class Count:
    kind: str
    call: str
    name: str  # as it stands in the key


@dataclass(frozen=True)
class Extension:
    name: str
    function: str
    has_handler: bool


@dataclass
class Features:
    categories: list = field(default_factory=list)  # (capture type, category, key, initial value or None)
    features: list = field(default_factory=list)
    counts: list = field(default_factory=list)
    extensions: list = field(default_factory=list)
    by_hand: set = field(default_factory=set)


def category(features, m):
    features.categories += [(m[1], m[2], key, m[3]) for key in m[4].split()]


def value(features, m):
    features.features[-1].values.append(Value(int(m[1], 16), m[2], tuple(m[3].split())))


def extension(features, m):
    features.extensions += [Extension(m[1], function, m[2] is None) for function in m[3].split()]


LINES = {
    rf"category ({'|'.join(CAPTURE_TYPES)}) (\w+)(?: = (\w+))? : (.+)": category,
    r"feature (\w+) (\w+) (\w+)": lambda features, m: features.features.append(Feature(m[1], m[2], m[3])),
    r"value (0x[0-9A-F]{4}) (\w+) : (.+)": value,
    rf"count ({'|'.join(KINDS)}) (\w+)(?: as (\w+))?":
        lambda features, m: features.counts.append(Count(m[1], m[2], m[3] or m[2])),
    r"extension (\w+)( without handler)? : (.+)": extension,
    r"by hand : (.+)": lambda features, m: features.by_hand.update(m[1].split()),
}
WORDS = {re.match(r"\w+", line)[0] for line in LINES}


def parse_line(features, line):
    """True when the line was one of these and has been taken up."""
    for pattern, take in LINES.items():
        if m := re.fullmatch(pattern, line):
            take(features, m)
            return True
    return False
