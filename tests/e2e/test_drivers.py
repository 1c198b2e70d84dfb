"""Replay on drivers that are not the recorded one: other names, missing functions."""

import re
import unittest

from harness import DONE, FAKE_DRIVER, FAMILIES, INFO, PLAYBACK, RECORD, SAMPLE, SPINNING, EndToEndTest

# Added to the names, handles and locations of each driver: such numbers stand for nothing else.
RECORDED, REPLAYED = 1000000, 2000000
NAME = re.compile(r"\b1(000\d{3})\b")
# What recorder, engine and host ask for themselves; and client memory, which replay passes anew before each draw.
OWN = re.compile(r"gl(Get(Error|String|Stringi|Integerv|GraphicsResetStatus|BufferPointerv|BufferParameteriv))\(|egl|"
                 r"glVertexAttribPointer\(.*pointer\)")
# Programs that do not depend on what a driver draws or counts, and that a recording changes nothing of.
CLIENTS = [(SPINNING, "--pbuffer", "--frames", "3"),
           *((FAMILIES, family, "--pbuffer") for family in (
               "compute", "multisample", "pixel-buffers", "program-binaries", "samplers", "surfaceless", "surfaces",
               "textures", "transform-feedback", "vertex-arrays"))]


def calls(path):
    """The GL calls of a log that the client made."""
    return [line for line in path.read_text().splitlines() if not OWN.match(line)]


class Translation(EndToEndTest):
    """Recorded on one fake driver, replayed on another that calls everything something else."""

    def test_every_call_arrives_with_its_memory_and_with_the_names_of_the_new_driver(self):
        for client in CLIENTS:
            with self.subTest(client[:2]):
                for log in self.dir.glob("*.log"):
                    log.unlink()
                driver = {"LD_LIBRARY_PATH": FAKE_DRIVER, "PLAYBACK_FAKE_SHIFT": str(RECORDED)}
                self.run_program(*client, PLAYBACK_FAKE_LOG="alone.log", **driver)
                self.run_program(RECORD, "-o", "fake.glcap", "--", *client, PLAYBACK_FAKE_LOG="recorded.log", **driver)
                self.run_program(PLAYBACK, "-headless", "-framesinflight", "0", "-driver", FAKE_DRIVER, "fake.glcap",
                                 PLAYBACK_FAKE_LOG="replayed.log", PLAYBACK_FAKE_SHIFT=str(REPLAYED))
                alone = calls(self.dir / "alone.log")
                self.assertEqual(calls(self.dir / "recorded.log"), alone)
                replayed = calls(self.dir / "replayed.log")
                for call, found in zip(alone, replayed):
                    self.assertEqual(found, NAME.sub(r"2\1", call))
                self.assertGreaterEqual(len(replayed), len(alone))


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
