"""Hashes of draws, and those of several drivers in one capture, name what differs."""

import re
import unittest

from harness import (COMPARE, DIFFERED, FAMILIES, FAULTY_DRIVER, INFO, NOT_WRITTEN, PLAYBACK, TRIM, UNREADABLE, USAGE,
                     EndToEndTest)


class HashesTest(EndToEndTest):
    def record_draws(self, family="vertex-arrays"):
        return self.record(FAMILIES, family, "--pbuffer", capture=f"{family}.glcap", options=["--hash=draws"],
                           compositor=False)

    def references(self, capture):
        return [(one["driver"], one["frameHashes"], one["actionHashes"], one["pictures"])
                for one in self.info(capture)["references"]]

    def replay_faulty(self, fault, capture):
        return self.run_program(PLAYBACK, "-headless", "-verify", "-driver", FAULTY_DRIVER, capture, status=DIFFERED,
                                PLAYBACK_FAULT=fault)

    def nth(self, capture, wanted, n):
        """What the report says of the nth action of a kind."""
        frame, call, function, kind, number = [a for a in self.actions(capture) if re.match(wanted, a[2])][n - 1]
        return f"first difference in frame {frame}, {kind} {number} ({function}, call {call}), "


class Draws(HashesTest):
    def test_each_draw_is_compared_and_the_wrong_one_named(self):
        capture = self.record_draws()
        actions = self.actions(capture)
        self.assertEqual(self.references(capture), [(0, 0, len(actions), 0)])
        count = f"{len(actions)} of {len(actions)} draws and the like"
        self.assertMentions(self.verify(capture, "-headless"), "verified: ", count)
        for fault, wanted in ("draw:2", "glDraw(Arrays|Elements)$"), ("clear:2", "glClear$"):
            with self.subTest(fault):
                place = self.nth(capture, wanted, 2)
                self.assertMentions(self.replay_faulty(fault, capture), "not verified: ", place)
                found = self.run_program(COMPARE, "--a-driver", FAULTY_DRIVER, "--a-env", f"PLAYBACK_FAULT={fault}",
                                         capture, status=DIFFERED)
                frame, number, function, call = re.match(r".*frame (\d+), (.*) \((\w+), call (\d+)\)", place).groups()
                self.assertIn(f"wrong: {number}", found.stdout)
                self.assertIn(f"{function}, call {call} of frame {frame}", found.stdout)

    def test_families_with_framebuffers_of_all_kinds(self):
        for family in "draw-buffers", "multisample", "threads", "conditional-rendering", "clear-textures", "frames-of-flushes":
            with self.subTest(family):
                capture = self.record_draws(family)
                self.assertGreater(self.info(capture)["references"][0]["actionHashes"], 0)
                self.verify(capture, "-headless")

    def test_trimmed(self):
        capture = self.record_draws()
        self.run_program(TRIM, capture, "--frames", "2-3", "-o", "trimmed.glcap")
        self.assertEqual(self.references("trimmed.glcap")[0][2], sum(action[0] in (2, 3) for action in self.actions(capture)))
        self.assertMentions(self.verify("trimmed.glcap", "-headless"), "2 of 2 frames", "draws and the like")


class Drivers(HashesTest):
    def write(self, capture, output, *options, **environment):
        return self.run_program(PLAYBACK, "-writehashes", output, *options, capture, **environment)

    def test_hashes_of_several_drivers(self):
        capture = self.record(FAMILIES, "textures", "--pbuffer", compositor=False)
        own = self.info(capture)["driver"]["glRenderer"]
        self.write(capture, "one.glcap", "-hashes", "draws", "-referencepictures", "2")
        self.write("one.glcap", "two.glcap", GALLIUM_DRIVER="softpipe")
        actions = len(self.actions(capture))
        frames = self.info(capture)["frames"]
        self.assertEqual(self.references("two.glcap"), [(1, frames, 0, 0), (2, frames, actions, frames // 2)])
        self.assertIn("softpipe, OpenGL ES", self.run_program(INFO, "two.glcap").stdout)
        self.assertMentions(self.verify("two.glcap", "-headless"), f"compared with the hashes of this driver, {own}",
                            f"{actions} of {actions} draws")
        softpipe = self.run_program(PLAYBACK, "-headless", "-verify", "two.glcap", GALLIUM_DRIVER="softpipe")
        self.assertMentions(softpipe, f"{frames} of {frames} frames equal", "hashes of this driver, softpipe")
        # Written again they take the place of the old ones, and a driver without any has the recording's.
        self.write("two.glcap", "three.glcap", GALLIUM_DRIVER="softpipe")
        self.assertEqual(len(self.references("three.glcap")), 2)
        self.write(capture, "soft.glcap", GALLIUM_DRIVER="softpipe")
        self.assertMentions(self.verify("soft.glcap", "-headless"), f"hashes of the recording, by {own}",
                            "the capture has none of this driver")
        # All else is as it was.
        calls = [[line for line in self.run_program(INFO, "--dump", file).stdout.splitlines() if " -- " not in line]
                 for file in (capture, "three.glcap")]
        self.assertEqual(*calls)
        self.assertEqual(self.info(capture)["started"], self.info("three.glcap")["started"])

    def test_frames_without_swaps_and_trimming(self):
        capture = self.record(FAMILIES, "frames-of-flushes", "--surfaceless", compositor=False)
        self.write(capture, "hashed.glcap", "-hashes", "draws")
        frames = self.info(capture)["frames"]
        self.assertMentions(self.verify("hashed.glcap"), f"{frames} of {frames} frames equal", "this driver")
        self.run_program(TRIM, "hashed.glcap", "--frames", "2-3", "-o", "trimmed.glcap")
        self.assertMentions(self.verify("trimmed.glcap"), "2 of 2 frames equal", "this driver", "draws and the like")

    def test_a_tolerance_goes_for_frames_with_pictures(self):
        capture = self.record(FAMILIES, "textures", "--pbuffer", compositor=False)
        self.write(capture, "hashed.glcap", "-referencepictures", "1")
        fault = ["--a-driver", FAULTY_DRIVER, "--a-env", "PLAYBACK_FAULT=draw:1", "hashed.glcap"]
        self.assertIn("pixels", self.run_program(COMPARE, *fault, status=DIFFERED).stdout)
        self.run_program(COMPARE, "--tolerance", "255", *fault)

    def test_what_cannot_be_written(self):
        capture = self.record(FAMILIES, "textures", "--pbuffer", compositor=False)
        for status, options, said in ((USAGE, [capture], "is the capture that is read"),
                                      (NOT_WRITTEN, ["missing/x.glcap"], "missing/x.glcap"),
                                      (USAGE, ["x.glcap", "-hashes", "all"], "needs frames or draws"),
                                      (USAGE, ["x.glcap", "-referencepictures", "0"], "needs 1")):
            with self.subTest(options):
                self.assertMentions(self.run_program(PLAYBACK, "-writehashes", *options, capture, status=status), said)
        data = (self.dir / capture).read_bytes()
        (self.dir / "cut.glcap").write_bytes(data[:len(data) * 2 // 3])
        self.assertMentions(self.run_program(PLAYBACK, "-writehashes", "x.glcap", "cut.glcap", status=UNREADABLE),
                            "nothing was written")
        self.assertFalse((self.dir / "x.glcap").exists())


if __name__ == "__main__":
    unittest.main()
