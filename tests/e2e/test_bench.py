"""playback-bench: two sides in processes of their own, and what is said of them."""

import json
import unittest

from harness import BENCH, DIFFERED, DONE, FAKE_DRIVER, NO_DRIVER, SAMPLE, EndToEndTest

# As few processes as the confidence allows.
SHORT = ("--repeat", "6", "--confidence", "95", "--passes", "2", "--frames", "3-5")


class Bench(EndToEndTest):
    def bench(self, *options, status=DONE, **environment):
        return self.run_program(BENCH, *SHORT, *options, SAMPLE, status=status, **environment)

    def test_a_driver_that_draws_nothing_is_faster_and_the_other_one_too_slow(self):
        fast = self.bench("--b-driver", FAKE_DRIVER, "--fail-above", "2%", "--json", "fast.json")
        self.assertRegex(fast.stdout, r"\nB is [\d.]+ % faster, [\d.]+ to [\d.]+(, most of it in frame \d)?\.\n$")
        slow = self.bench("--a-driver", FAKE_DRIVER, "--fail-above", "2%", "--b-options", "", "--json", "slow.json",
                          status=DIFFERED)
        self.assertRegex(slow.stdout, r"\nB is [\d.]+ % slower, [\d.]+ to [\d.]+(, most of it in frame \d)?\.\n$")
        for name, is_slower in ("fast", False), ("slow", True):
            results = json.loads((self.dir / f"{name}.json").read_text())
            ratio = results["time"]["ratio"]
            self.assertTrue(results["time"]["isDifferent"])
            self.assertEqual(ratio["low"] > 1, is_slower)
            self.assertLess(ratio["low"], ratio["high"])
            self.assertNotEqual(results["a"]["driver"]["GL_RENDERER"], results["b"]["driver"]["GL_RENDERER"])
            for side in "ab":
                self.assertEqual([[len(frames) for frames in passes] for passes in results[side]["wallMs"]],
                                 [[3, 3]] * 6)

    def test_one_side_alone_with_the_time_of_its_functions(self):
        result = self.bench("--calls", "--json", "-", "--a-env", "PLAYBACK_FAKE_LOG=calls.log", "--a-driver", FAKE_DRIVER)
        results = json.loads(result.stdout)
        self.assertIsNone(results["b"])
        self.assertEqual([frame["name"] for frame in results["frameTimes"]], ["frame 3", "frame 4", "frame 5"])
        self.assertIn("glDrawArrays", [call["name"] for call in results["callTimes"]])
        self.assertTrue((self.dir / "calls.log").exists(), "the variable of the side reached its process")
        self.assertTrue(results["machine"]["kernel"])

    def test_gpu_times_of_render_passes(self):
        results = json.loads(self.bench("--gpu", "--b-options", "-framesinflight 1", "--json", "-").stdout)
        names = [render_pass["name"] for render_pass in results["renderPassTimes"]]
        self.assertEqual(names[0], "pass 1 of frame 3 (framebuffer 1)")
        self.assertEqual({name.split(" (")[0].split("of ")[1] for name in names}, {"frame 3", "frame 4", "frame 5"})
        total = results["gpuTime"]
        self.assertGreater(total["a"]["medianMs"], 0)
        self.assertLess(total["ratio"]["low"], total["ratio"]["high"])

    def test_a_side_that_cannot_replay_is_named(self):
        result = self.bench("--b-driver", "nowhere", status=NO_DRIVER)
        self.assertIn("side B ended with status 4", result.stderr)
        self.assertEqual(result.stdout, "")


if __name__ == "__main__":
    unittest.main()
