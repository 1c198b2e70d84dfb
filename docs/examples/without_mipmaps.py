#!/usr/bin/env python3
"""Which draws of a frame sample a texture without mipmaps? An example of what docs/inspect-api.md describes.

    docs/examples/without_mipmaps.py mine.glcap 57
"""

import json
import subprocess
import sys
import urllib.parse
import urllib.request


def without_mipmaps(address, frame):
    """Lines for people, one for each such texture of a draw."""

    def ask(request, **parameters):
        query = urllib.parse.urlencode(parameters)
        with urllib.request.urlopen(f"{address}api/{request}?{query}") as answer:
            return json.load(answer)

    for line in ask("actions", frame=frame)["tree"]:
        if line.get("kind") != "draw":
            continue
        place = f"{frame}:{line['number']}"
        for read in ask("inputs", at=place)["inputs"]:
            if read["kind"] != "texture":
                continue
            images = ask("texture", at=place, name=read["object"])["images"]
            if all(image["level"] == 0 for image in images):
                yield f"{place} {line['text']}: {read['name']}, texture {read['object']}"


def main(capture, frame):
    with subprocess.Popen(["playback-inspect", capture], stdout=subprocess.PIPE, text=True) as server:
        try:
            if address := server.stdout.readline().strip():
                for line in without_mipmaps(address, frame):
                    print(line)
        finally:
            server.terminate()
    return server.returncode


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], int(sys.argv[2])))
