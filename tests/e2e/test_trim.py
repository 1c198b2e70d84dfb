"""Frames that were cut out of a capture are replayed as they were recorded, without those in front."""

import collections
import re
import unittest

from harness import FAKE_DRIVER, FAMILIES, INFO, MOSAIC, PLAYBACK, SPINNING, TRIM, EndToEndTest
from test_families import CLIENTS

# Families whose programs make errors on purpose.
ERRORS = {"debug-labels", "robustness"}
DRAW = re.compile(r"glDraw(Arrays|Elements|RangeElements)")


class TrimTest(EndToEndTest):
    def trim(self, capture, first, last, trimmed="trimmed.glcap"):
        """Cuts frames out, and checks that the result holds what was recorded of them."""
        self.run_program(TRIM, capture, "--frames", f"{first}-{last}", "-o", trimmed)
        info = self.info(trimmed)
        self.assertTrue(info["stateBlock"])
        self.assertEqual(info["frames"], last - first + 1)
        self.assertEqual(self.hashes(trimmed), self.hashes(capture)[first - 1:last])
        return trimmed

    def dump(self, capture):
        return self.run_program(INFO, "--dump", capture).stdout

    def hashes(self, capture):
        return re.findall(r"hash of frame \d+, (.*)", self.dump(capture))

    def calls(self, capture):
        """How often each call is in the state-setup block, and the names of the calls of each frame."""
        state, frames = self.dump(capture).split("-- end of block of type 2")
        name = re.compile(r"^\d+:\d+ (\w+)\(", re.MULTILINE)
        return collections.Counter(name.findall(state)), [name.findall(frame) for frame in frames.split("-- end of frame")]

    def replay_faked(self, capture, *options):
        """The calls that reach a driver, in their order."""
        (self.dir / "fake.log").unlink(missing_ok=True)
        self.run_program(PLAYBACK, "-headless", "-driver", FAKE_DRIVER, *options, capture, PLAYBACK_FAKE_LOG="fake.log")
        return re.findall(r"^(\w+)\(", (self.dir / "fake.log").read_text(), re.MULTILINE)


class SameFrames(TrimTest):
    def check(self, capture, has_errors=False):
        frames = self.info(capture)["frames"]
        for first, last in ((frames // 2, frames), (2, 2)):
            result = self.verify(self.trim(capture, first, last), "-headless")
            self.assertMentions(result, "" if has_errors else " 0 errors")

    def test_families(self):
        for family in CLIENTS:
            with self.subTest(family):
                self.check(self.record(FAMILIES, family, "--pbuffer", compositor=False), family in ERRORS)

    def test_windows(self):
        for client in ([SPINNING, "--frames", "8", "--resize", "3"], [MOSAIC], [FAMILIES, "surfaces"]):
            with self.subTest(client[0]):
                self.check(self.record(*client))


if __name__ == "__main__":
    unittest.main()
