"""playback-compare: faults of one side are found by it without help."""

import json
import unittest

from harness import (COMPARE, DIFFERED, DONE, FAMILIES, FAULTY_DRIVER, NO_DRIVER, PLAYBACK, SAMPLE, USAGE, EndToEndTest,
                     Probe)

# Family, the sample for none, fault, and the call that is to be named: what made it wrong, or where it shows.
FAULTS = (
    ("textures", "draw:7", "draw 7", None),
    ("textures", "mipmap:1", "mipmap 5.1", None),
    ("textures", "texture:1", None, "glTexImage2D"),
    ("draw-buffers", "blit:1", "blit 2", None),
    ("queries", "clear:2", "clear 0.1", None),
    (None, "uniform:3", None, "glUniformMatrix4fv"),
)


class Faults(EndToEndTest):
    def compare(self, capture, *options, status=DIFFERED):
        result = self.run_program(COMPARE, *options, "--json", "result.json", capture, status=status)
        return result, json.loads((self.dir / "result.json").read_text())

    def record_family(self, family):
        return self.record(FAMILIES, family, "--pbuffer", compositor=False, capture=f"{family}.glcap")

    def test_each_fault_is_named_as_the_very_call(self):
        for family, fault, action, cause in FAULTS:
            with self.subTest(family=family, fault=fault):
                capture = self.record_family(family) if family else SAMPLE
                _, result = self.compare(capture, "--b-driver", FAULTY_DRIVER, "--b-env", f"PLAYBACK_FAULT={fault}")
                wrong = result["firstWrong"]
                if action:
                    self.assertEqual(f"{wrong['kind']} {wrong['number']}", action)
                self.assertEqual(wrong.get("cause", {}).get("function"), cause)

    def test_blending_that_a_driver_leaves_out_is_found_with_the_state_that_asked_for_it(self):
        result, found = self.compare(SAMPLE, "--b-env", "LP_PERF=no_blend", "--first", "-o", "wrong", "--page", "page.html")
        wrong = found["firstWrong"]
        self.assertIn({"state": "GL_BLEND", "before": None, "after": True}, wrong["state"])
        self.assertIn(f"wrong: draw {wrong['number']} ({wrong['function']}, call {wrong['call']} of frame 1)", result.stdout)
        self.assertEqual({path.name for path in (self.dir / "wrong").iterdir()},
                         {"expected.png", "found.png", "difference.png"})
        page = (self.dir / "page.html").read_text()
        self.assertEqual(page.count("</script>"), 2, "text of the comparison ended an element of the page")

    def test_tolerated_differences_are_equal_and_told(self):
        exact = ["--b-env", "LP_PERF=no_blend"]
        _, found = self.compare(SAMPLE, *exact, "--frames", "1-3")
        most = max(frame["difference"]["most"] for frame in found["frames"])
        for options in (["--tolerance", str(most)], ["--fuzz", "99"]):
            result, _ = self.compare(SAMPLE, *exact, *options, "--frames", "1-3", status=DONE)
            self.assertIn("equal: 3 frames compared, 3 within the tolerance", result.stdout)
        seen, _ = self.compare(SAMPLE, *exact, "--frames", "1", "--perceptual", "0.1")
        self.assertRegex(seen.stdout, r"Butteraugli distance \d")
        self.compare(SAMPLE, *exact, "--frames", "1", "--perceptual", "1000", status=DONE)
        _, found = self.compare(SAMPLE, *exact, "--by-draw", "--first")
        self.assertEqual([action["number"] for action in found["actions"]], [found["firstWrong"]["number"]],
                         "each draw started from what was expected, so only the blended one differs")

    def test_the_recording_is_what_is_expected_without_a_second_side(self):
        equal, _ = self.compare(SAMPLE, status=DONE)
        self.assertIn("equal: 120 frames compared\n", equal.stdout)
        _, found = self.compare(SAMPLE, "--a-env", "LP_PERF=no_blend")
        self.assertEqual(found["frames"][0]["frame"], 1)

    def test_pictures_of_two_machines_are_compared_by_their_names(self):
        for folder, environment in ("here", {}), ("there", {"LP_PERF": "no_blend"}):
            self.run_program(PLAYBACK, "-headless", "-screenshots", "10*", "-screenshotformat", "png", "-screenshotdir",
                             folder, SAMPLE, **environment)
        equal = self.run_program(COMPARE, "here", "here")
        self.assertIn("equal: 12 pictures compared\n", equal.stdout)
        next((self.dir / "there").glob("*frame120.png")).unlink()
        _, found = self.compare("there", "here")
        self.assertEqual([frame["frame"] for frame in found["frames"]], list(range(10, 121, 10)))
        self.assertEqual(found["frames"][-1]["difference"]["mismatch"],
                         "expected a picture in both folders, found only what was expected")

    def test_what_cannot_be_compared_is_said(self):
        for options, status, text in (
                (["--frames", "500", "--b-env", "A=1"], USAGE, "has 120 frames, expected at least 500"),
                (["--b-driver", "nowhere"], NO_DRIVER, "side B (-driver nowhere) ended with status 4"),
                (["--fuzz", "many", "--b-env", "A=1"], USAGE, "--fuzz needs a number from 0 to 100, found \"many\"")):
            with self.subTest(options):
                self.assertMentions(self.run_program(COMPARE, *options, SAMPLE, status=status), text)


class Asking(EndToEndTest):
    def test_asking_after_each_action_changes_nothing(self):
        for family in "client-arrays", "multisample", "textures", "transform-feedback", "compute":
            with self.subTest(family):
                capture = self.record(FAMILIES, family, "--pbuffer", compositor=False, capture=f"{family}.glcap")
                probe = Probe(self, capture)
                frames = 0
                while not (answer := probe.ask("action")).get("end"):
                    if "number" in answer:
                        self.assertTrue(answer["isPlayed"], answer)
                        self.assertNotIn("error", probe.ask("inputs"))
                        continue
                    for picture in answer["pictures"]:
                        self.assertEqual(picture["hash"], picture["recorded"])
                        frames += 1
                self.assertEqual(frames, 8)
                self.assertIn("there is no request", probe.ask("nothing")["error"])
                self.assertEqual(probe.close(), DONE)


if __name__ == "__main__":
    unittest.main()
