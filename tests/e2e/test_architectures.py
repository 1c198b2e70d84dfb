"""Captures go from one architecture to the other, and show the same there.

The build under test is the emulated one; PLAYBACK_NATIVE_BUILD names this machine's own.
"""

import json
import os
import pathlib
import unittest

from harness import BUILD, ROOT, EndToEndTest
from images import read_png

NATIVE_BUILD = pathlib.Path(os.environ.get("PLAYBACK_NATIVE_BUILD", ROOT / "build")).resolve()
# Two drivers that draw by different instructions may round a channel differently, of 255.
MOST_DIFFERENCE = 1
# The software driver takes shortcuts where a processor has instructions for them, and is then up to three steps off.
SAME_ARITHMETIC = {"GALLIUM_OVERRIDE_CPU_CAPS": "sse2"}
# None that reads textures without filtering: which texel a pixel on an edge gets is the last bit of arithmetic.
CLIENTS = {"spinning": ["samples/spinning", "--frames", "8"]} | {
    family: ["tests/families", family] for family in ("buffer-maps", "client-arrays", "compute", "uniform-buffers", "vertex-arrays")}


class Architectures(EndToEndTest):
    def check(self, recording, replaying):
        for name, (client, *arguments) in CLIENTS.items():
            with self.subTest(name):
                capture = f"{name}.glcap"
                self.run_program(recording / "bin/playback-record", "-o", capture, "--",
                                 recording / client, *arguments, "--pbuffer", **SAME_ARITHMETIC)
                there, here = self.replay(recording, capture), self.replay(replaying, capture)
                self.assertEqual(here["frames"], self.info(capture)["frames"])
                self.assertEqual((here["frames"], here["calls"]), (there["frames"], there["calls"]))
                self.compare_pictures(capture)

    def replay(self, build, capture):
        report = self.dir / f"{build.name}.json"
        self.run_program(build / "bin/playback", "-headless", "-json", report, "-screenshots", "",
                         "-screenshotformat", "png", "-screenshotdir", build.name, capture, **SAME_ARITHMETIC)
        return json.loads(report.read_text())

    def compare_pictures(self, capture):
        pictures = [sorted((self.dir / build.name).glob(f"{capture}*.png")) for build in (BUILD, NATIVE_BUILD)]
        self.assertEqual(*([picture.name for picture in of_build] for of_build in pictures))
        self.assertGreater(len(pictures[0]), 0)
        for here, there in zip(*pictures):
            (*size, pixels), (*other_size, other_pixels) = read_png(here), read_png(there)
            self.assertEqual(size, other_size)
            difference = max(abs(a - b) for a, b in zip(pixels, other_pixels))
            self.assertLessEqual(difference, MOST_DIFFERENCE, here)

    def test_recorded_emulated(self):
        self.check(BUILD, NATIVE_BUILD)

    def test_recorded_natively(self):
        self.check(NATIVE_BUILD, BUILD)


if __name__ == "__main__":
    unittest.main()
