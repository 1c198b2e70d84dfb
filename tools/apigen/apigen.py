#!/usr/bin/env python3
"""Makes from the API description all that repeats per call.

usage: apigen.py --list
       apigen.py OUTPUT_DIR API_FILE...

Each emit_*.py module has OUTPUTS, a map from file name (below OUTPUT_DIR) to a function that takes the Api and returns
the text. A file is written only when its text changed, so that an edited comment in a description compiles nothing.
"""

import importlib
import sys
from pathlib import Path

import model

MODULES = sorted(p.stem for p in Path(__file__).parent.glob("emit_*.py"))


def outputs():
    result = {}
    for name in MODULES:
        for file, emit in importlib.import_module(name).OUTPUTS.items():
            if file in result:
                raise SystemExit(f"apigen: two modules emit {file}")
            result[file] = emit
    return result


def main(arguments):
    if arguments == ["--list"]:
        print(";".join(outputs()))
        return 0
    if len(arguments) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    try:
        api = model.load(arguments[1:])
    except (model.ApiError, OSError) as error:
        print(f"apigen: {error}", file=sys.stderr)
        return 1
    for file, emit in outputs().items():
        path = Path(arguments[0]) / file
        text = emit(api)
        if path.exists() and path.read_text() == text:
            continue
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
