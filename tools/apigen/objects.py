"""The kinds of objects of a description (api/05-objects.api), and what calls do to objects."""

import re
from dataclasses import dataclass

OWNERS = ("group", "context", "display")


@dataclass(frozen=True)
class ObjectKind:
    type: str  # of parameters that name such an object
    owner: str
    name: str  # of many of them
    labels: tuple  # identifiers of the kind in calls about debug labels, that of the extension last
    is_made_up: bool  # programs may bind names that no call gave


def parse_line(kinds, line):
    """True when the line was one of these and has been taken up."""
    m = re.fullmatch(r"object (\w+) : (\w+), (\w+)(, made_up)?(?:, labels ((?:GL_\w+ ?)+))?", line)
    if not m or m[2] not in OWNERS:
        return False
    kinds[m[1]] = ObjectKind(m[1], m[2], m[3], tuple((m[5] or "").split()), bool(m[4]))
    return True


@dataclass(frozen=True)
class Effect:
    """What a call does to the objects that a parameter, or the returned value (None), names."""

    kind: str
    deletes: bool
    param: object
    index: int = 0


def effect_of(kinds, call):
    """None for a call that neither makes nor deletes objects."""
    if call.has("deletes"):
        last = call.params[-1]
        return Effect(last.type.name, True, last, len(call.params) - 1)
    if not call.has("makes"):
        return None
    if call.ret.form == "scalar" and call.ret.name in kinds:
        return Effect(call.ret.name, False, None)
    return next((Effect(p.type.name, False, p, i) for i, p in enumerate(call.params)
                 if p.type.out and p.type.name in kinds), None)
