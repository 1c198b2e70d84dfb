"""Replay on drivers that are not the recorded one: other names, missing functions."""

import unittest

from harness import DONE, FAKE_DRIVER, PLAYBACK, SAMPLE, EndToEndTest


class MissingFunctions(EndToEndTest):
    def test_any_tenth(self):
        for tenth in range(10):
            with self.subTest(tenth=tenth):
                self.run_program(PLAYBACK, "-headless", "-driver", FAKE_DRIVER, SAMPLE, status=DONE,
                                 PLAYBACK_FAKE_MISSING=f"tenth:{tenth}", PLAYBACK_FAKE_LOG=f"{tenth}.log")


if __name__ == "__main__":
    unittest.main()
