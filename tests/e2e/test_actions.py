"""Pictures of clears, copies, dispatches and mipmaps go by the numbers that listings give them."""

import json
import unittest

from harness import FAMILIES, PLAYBACK, EndToEndTest
from images import read_png


class Actions(EndToEndTest):
    def pictures(self, capture, which, *options):
        """Names of files, without the frame and what is common to all, and the numbers of them in the results."""
        folder = which.replace(":", "-")
        self.run_program(PLAYBACK, "-headless", "-json", "results.json", "-screenshots", which, "-screenshotdir", folder,
                         "-screenshotformat", "png", *options, capture)
        results = json.loads((self.dir / "results.json").read_text())["actionScreenshots"]
        frame = which.split(":", maxsplit=1)[0]
        begin = f"{folder}/{capture}_frame{frame}_"
        self.assertTrue(all(one["file"].startswith(begin) and str(one["frame"]) == frame for one in results), results)
        for one in results:
            self.assertGreater(read_png(self.dir / one["file"])[0], 0)
        return {one["file"].removeprefix(begin).removesuffix(".png"): one["number"] for one in results}

    def test_each_action_of_a_frame(self):
        kinds = set()
        for family in FAMILIES_WITH_ACTIONS:
            with self.subTest(family):
                capture = self.record(FAMILIES, family, "--pbuffer", capture=f"{family}.glcap", compositor=False)
                pictures = self.pictures(capture, "1:", "-screenshotactions")
                for frame, _, _, kind, number in self.actions(capture):
                    if frame != 1:
                        continue
                    kinds.add(kind)
                    if "." not in number:
                        # The engine counts draws and blits each for themselves in names.
                        self.assertIn(number, pictures.values())
                    elif kind in ("clear", "blit", "draw"):
                        self.assertEqual(pictures[f"{kind}{number}"], number)
                    elif kind == "mipmap":
                        self.assertEqual(pictures[f"mipmap{number}_level0"], number)
        self.assertLessEqual({"draw", "clear", "mipmap", "copy", "dispatch"}, kinds)

    def test_without_the_option_and_in_a_range_of_draws(self):
        capture = self.record(FAMILIES, "clear-textures", "--pbuffer", compositor=False)
        self.assertTrue(all("." not in number for number in self.pictures(capture, "2:").values()))
        numbers = set(self.pictures(capture, "2:2-2", "-screenshotactions").values())
        self.assertEqual({number.split(".")[0] for number in numbers} - {"1", "2"}, set(), numbers)
        self.assertIn("2", numbers)
        result = self.run_program(PLAYBACK, "-headless", "-screenshots", "2", "-screenshotactions", capture)
        self.assertMentions(result, "-screenshotactions has no effect without -screenshots F:A-B")


FAMILIES_WITH_ACTIONS = ["textures", "draw-buffers", "compute", "clear-textures"]

if __name__ == "__main__":
    unittest.main()
