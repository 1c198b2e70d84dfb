"""Replay on drivers that are not the recorded one: other names, missing functions."""

import re
import unittest

from harness import DONE, FAKE_DRIVER, PLAYBACK, RECORD, SAMPLE, SPINNING, EndToEndTest

SHIFT = 10000
# Names and handles of the fake driver, and locations of uniforms, are nothing else in what the client does.
SHIFTED = re.compile(r"\b(9[0-9][0-9]|50[0-9]|3[1-6])\b")
# Asked by the recorder or the engine for themselves, in this run or that.
OWN_QUESTIONS = re.compile(r"gl(GetError|GetString|GetStringi|GetIntegerv|ReadPixels)\(|egl")


def calls(path):
    """The GL calls of a log that the client made, addresses of client memory and read-backs aside."""
    lines = path.read_text().splitlines()
    return [line for line in lines if not OWN_QUESTIONS.match(line)]


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
        expected = [SHIFTED.sub(lambda number: str(int(number[0]) + SHIFT), call) for call in alone]
        self.assertEqual(calls(self.dir / "replayed.log")[:len(expected)], expected)


class MissingFunctions(EndToEndTest):
    def test_any_tenth(self):
        for tenth in range(10):
            with self.subTest(tenth=tenth):
                self.run_program(PLAYBACK, "-headless", "-driver", FAKE_DRIVER, SAMPLE, status=DONE,
                                 PLAYBACK_FAKE_MISSING=f"tenth:{tenth}", PLAYBACK_FAKE_LOG=f"{tenth}.log")


if __name__ == "__main__":
    unittest.main()
