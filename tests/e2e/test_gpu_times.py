"""What frames, passes and draws cost on the GPU: that the levels go together, and what is said where there is no clock."""

import csv
import json
import unittest

from harness import FAKE_DRIVER, PLAYBACK, SPINNING, EndToEndTest

FRAMES = 8


class GpuTimes(EndToEndTest):
    def setUp(self):
        super().setUp()
        self.capture = self.record(SPINNING, "--frames", str(FRAMES), "--pbuffer", compositor=False)

    def replay(self, what, *options, **environment):
        result = self.run_program(PLAYBACK, "-headless", "-timegpu", what, "-json", "result.json", *options,
                                  self.capture, **environment)
        return result, json.loads((self.dir / "result.json").read_text())

    def test_draws_are_those_of_the_capture_and_add_up(self):
        _, result = self.replay("draws", "-csv", "draws.csv", "-verify", "-loopcount", "2", "-loopframe", "5")
        self.assertTrue(result["verified"])
        gpu = result["gpu"]
        actions = [action for action in self.actions(self.capture) if action[0] >= 2]
        self.assertEqual([tuple(draw[key] for key in ("frame", "call", "function", "kind", "action")) for draw in gpu["draws"]],
                         actions + [action for action in actions if action[0] >= 5])
        self.assertTrue(all(draw["gpuMs"] > 0 and draw["cpuMs"] > 0 for draw in gpu["draws"]))
        # Each pass is to what is bound at its first action.
        for frame, action, framebuffer in {(p["frame"], p["action"], p["framebuffer"]) for p in gpu["passes"]}:
            state = self.ask("state", self.capture, f"at={frame}:{action}")["state"]
            self.assertEqual(framebuffer, state["GL_FRAMEBUFFER_BINDING"])
        for frame in result["measured"]:
            for level in ("passes", "draws"):
                self.assertAlmostEqual(frame["gpuMs"], sum(cost["gpuMs"] for cost in gpu[level] if (
                    cost["pass"], cost["frame"]) == (frame["pass"], frame["frame"])), 6)
        with (self.dir / "draws.csv").open() as table:
            self.assertEqual([float(row["gpuMs"]) for row in csv.DictReader(table)],
                             [round(draw["gpuMs"], 6) for draw in gpu["draws"]])

    def test_frames_and_passes_with_pictures_between(self):
        for what in ("frames", "passes"):
            _, result = self.replay(what, "-screenshots", "3:", "-csv", "frames.csv")
            self.assertTrue(all(frame["gpuMs"] > 0 for frame in result["measured"]))
            self.assertEqual(len(result["gpu"].get("passes", [])), (what == "passes") * 2 * (FRAMES - 1))

    def test_a_driver_without_a_clock(self):
        result, written = self.replay("passes", "-driver", FAKE_DRIVER, PLAYBACK_FAKE_EXTENSIONS="GL_OES_rgb8_rgba8")
        self.assertMentions(result, "no times of the GPU: the driver has no GL_EXT_disjoint_timer_query")
        self.assertEqual(written["frames"], FRAMES)
        self.assertEqual({frame["gpuMs"] for frame in written["measured"]}, {None})


if __name__ == "__main__":
    unittest.main()
