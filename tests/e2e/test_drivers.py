"""Replay on drivers that are not the recorded one: other names, missing functions."""

import re
import unittest

from harness import DONE, FAKE_DRIVER, INFO, PLAYBACK, RECORD, SAMPLE, SPINNING, EndToEndTest

SHIFT = 10000
# Names and handles of the fake driver, and its locations of uniforms: whole numbers that stand for nothing else here.
SHIFTED = re.compile(r"(?<![.\d])(9[0-9][0-9]|50[0-9]|3[1-6])\b")
# What recorder, engine and host ask for themselves; and client memory, which replay passes anew before each draw.
OWN = re.compile(r"gl(GetError|GetString|GetStringi|GetIntegerv|GetGraphicsResetStatus)\(|egl|glVertexAttribPointer\(.*pointer\)")


def calls(path):
    """The GL calls of a log that the client made."""
    return [line for line in path.read_text().splitlines() if not OWN.match(line)]


def shifted(number):
    return str(int(number[0]) + SHIFT)


class Translation(EndToEndTest):
    """Recorded on one fake driver, replayed on another that calls everything something else."""

    def test_every_call_arrives_with_its_memory_and_with_the_names_of_the_new_driver(self):
        client = (SPINNING, "--pbuffer", "--frames", "3")
        self.run_program(*client, LD_LIBRARY_PATH=FAKE_DRIVER, PLAYBACK_FAKE_LOG="alone.log")
        self.run_program(RECORD, "-o", "fake.glcap", "--", *client, LD_LIBRARY_PATH=FAKE_DRIVER,
                         PLAYBACK_FAKE_LOG="recorded.log")
        self.run_program(PLAYBACK, "-headless", "-driver", FAKE_DRIVER, "fake.glcap", PLAYBACK_FAKE_LOG="replayed.log",
                         PLAYBACK_FAKE_SHIFT=str(SHIFT))
        alone = calls(self.dir / "alone.log")
        self.assertEqual(calls(self.dir / "recorded.log"), alone)
        expected = [call if call.startswith("glDraw") else SHIFTED.sub(shifted, call) for call in alone]
        self.assertEqual(calls(self.dir / "replayed.log")[:len(expected)], expected)


class MissingFunctions(EndToEndTest):
    def test_any_tenth(self):
        for tenth in range(10):
            with self.subTest(tenth=tenth):
                self.run_program(PLAYBACK, "-headless", "-driver", FAKE_DRIVER, SAMPLE, status=DONE,
                                 PLAYBACK_FAKE_MISSING=f"tenth:{tenth}", PLAYBACK_FAKE_LOG=f"{tenth}.log")


class Requirements(EndToEndTest):
    def test_what_the_driver_lacks_is_said_once_with_what_will_happen(self):
        capture = self.record(SPINNING, "--frames", "3", "--pbuffer", compositor=False)
        self.assertMentions(self.run_program(INFO, "--check", capture), "has all that the capture needs")
        lacks = {"PLAYBACK_FAKE_MISSING": "glDrawArrays,glScissor"}
        for status, options in (1, ["-check"]), (DONE, []):
            result = self.run_program(PLAYBACK, "-headless", "-driver", FAKE_DRIVER, *options, capture, status=status,
                                      **lacks)
            self.assertEqual(result.stderr.count("needs what this driver lacks"), 1)
            self.assertMentions(result, "  glDrawArrays: 9 calls are skipped", "  glScissor: 3 calls are skipped")


if __name__ == "__main__":
    unittest.main()
