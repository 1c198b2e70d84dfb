"""Each family of features is recorded from a client of its own, and the replay has the same pixels."""

import re
import unittest

from harness import FAMILIES, IMPORTING_DRIVER, INFO, RECORD, ROOT, SYSROOT, TRIM, USAGE, EndToEndTest

FRAMES = 8
# Family, and the frames of all of its surfaces together.
CLIENTS = {
    "buffer-maps": FRAMES,
    "clear-textures": FRAMES,
    "client-arrays": FRAMES,
    "compute": FRAMES,
    "conditional-rendering": FRAMES,
    "debug-labels": FRAMES,
    "depth-control": FRAMES,
    "displays": 14,
    "draw-buffers": FRAMES,
    "fixed-function": FRAMES,
    "framebuffer-fetch": FRAMES,
    "images": FRAMES,
    "made-up-names": FRAMES,
    "masks": FRAMES,
    "mistakes": FRAMES,
    "multi-draws": FRAMES,
    "multisample": FRAMES,
    "no-config": FRAMES,
    "persistent-maps": FRAMES,
    "pipelines": FRAMES,
    "pixel-buffers": FRAMES,
    "program-binaries": FRAMES,
    "queries": FRAMES,
    "robustness": FRAMES,
    "samplers": FRAMES,
    "shared-maps": FRAMES,
    "surfaceless": FRAMES,
    "surfaces": 18,
    "textures": FRAMES,
    "threads": FRAMES,
    "transform-feedback": FRAMES,
    "uniform-buffers": FRAMES,
    "vertex-arrays": FRAMES,
    "viewport-arrays": FRAMES,
}
# Families whose programs read pixels back to their memory.
READ_BACKS = {
    "displays": "verified: 2 of 2 read-backs equal",
    "pixel-buffers": "verified: 16 of 16 read-backs equal",
    "robustness": "verified: 16 of 16 read-backs equal",
    "surfaceless": "verified: 8 of 8 read-backs equal",
}


class Families(EndToEndTest):
    def check_each(self, *options, compositor):
        """Records each family, and replays it off screen and, where it was recorded there, under a compositor."""
        for family, frames in CLIENTS.items():
            with self.subTest(family):
                capture = self.record(FAMILIES, family, *options, capture=f"{family}.glcap", compositor=compositor)
                self.assertEqual(self.info(capture)["frames"], frames)
                replays = [self.verify(capture)]
                if compositor:
                    replays.append(self.verify(capture, compositor=True))
                for replay in replays:
                    self.assertMentions(replay, READ_BACKS.get(family, ""))

    def test_windows(self):
        self.check_each(compositor=True)

    def test_pbuffers(self):
        self.check_each("--pbuffer", compositor=False)

    def test_extensions_that_programs_do_not_see_have_a_reason(self):
        client = (FAMILIES, "extensions", "--surfaceless")
        has = set(self.run_program(*client).stdout.split())
        shown = set(self.run_program(RECORD, "-o", "x.glcap", "--", *client).stdout.split())
        reasons = set(re.findall(r"`(\w+)`", (ROOT / "docs/hidden-extensions.md").read_text()))
        self.assertLess(100, len(has))
        self.assertEqual(shown - has, set())
        self.assertLessEqual(has - shown, reasons)

    def test_no_surface_at_all(self):
        capture = self.record(FAMILIES, "headless", "--surfaceless", compositor=False)
        self.assertEqual((self.info(capture)["frames"], self.info(capture)["frameEnd"]), (FRAMES, "readback"))
        for compositor in (False, True):
            self.assertMentions(self.verify(capture, compositor=compositor), f"verified: {FRAMES} of {FRAMES} read-backs")

    def test_frames_without_swaps(self):
        # Words of --frame-end by the part of the family's name.
        for end, name in {"flush": "flushes", "finish": "finishes", "fence": "fences", "readback": "readbacks",
                          "marker": "markers"}.items():
            with self.subTest(end):
                # Nothing ends the last frame of markers but the program's end, so that it has no picture.
                frames = 5 * FRAMES if end == "flush" else FRAMES
                pictures, options = (FRAMES - 1, ["--frame-end", "marker:frame"]) if end == "marker" else (frames, [])
                capture = self.record(FAMILIES, f"frames-of-{name}", "--surfaceless", capture=f"{name}.glcap",
                                      options=options, compositor=False)
                info = self.info(capture)
                self.assertEqual((info["frames"], info["frameHashes"], info["frameEnd"]), (frames, pictures, end))
                replay = self.verify(capture, "-screenshots", "", "-screenshotdir", name)
                self.assertMentions(replay, f"verified: {pictures} of {pictures} frames equal")
                self.assertEqual(len(list((self.dir / name).iterdir())), pictures)
                self.run_program(TRIM, "--frames", "3-5", "-o", "cut.glcap", capture)
                self.assertMentions(self.verify("cut.glcap", compositor=True), "verified: 3 of 3 frames equal",
                                    "No swap ends the first frame")
        self.run_program(RECORD, "--frame-end", "frame", "--", FAMILIES, status=USAGE)
        for options, frames in {("--frame-end", "finish"): 0, ("--frames", "9"): 9, ("--frames", "33"): 33}.items():
            capture = self.record(FAMILIES, "frames-of-flushes", "--surfaceless", options=options, compositor=False)
            self.assertEqual(self.info(capture)["frames"], frames)


@unittest.skipIf(SYSROOT, "the emulator cannot preload a library of another architecture beside the recorder")
class ImportedMemory(EndToEndTest):
    def test_what_the_program_writes_to_imported_memory_is_shown(self):
        self.run_program(RECORD, "--hash", "-o", "whole.glcap", "--", FAMILIES, "imported-images", "--pbuffer",
                         LD_PRELOAD=IMPORTING_DRIVER)
        info = self.info("whole.glcap")
        self.assertEqual((info["frames"], info["notRecorded"]), (FRAMES, {}))
        for compositor in (False, True):
            self.assertMentions(self.verify("whole.glcap", compositor=compositor), f"verified: {FRAMES} of {FRAMES}")
        self.run_program(TRIM, "--frames", "7-8", "-o", "cut.glcap", "whole.glcap")
        self.assertMentions(self.verify("cut.glcap"), "verified: 2 of 2")
        self.run_program(TRIM, "--frames", "4", "-o", "again.glcap", "whole.glcap")
        self.assertMentions(self.verify("again.glcap", "-loopcount", "2"), "verified")
        contents = {name: self.run_program(INFO, "--dump", name).stdout.count("-- EGLImage")
                    for name in ("whole.glcap", "cut.glcap")}
        # What was replaced before the cut is not in it.
        self.assertLess(contents["cut.glcap"], contents["whole.glcap"] * 2 / 3)


class Texts(EndToEndTest):
    def test_a_marker_of_length_0_has_its_text(self):
        capture = self.record(FAMILIES, "debug-labels", "--pbuffer", compositor=False)
        dump = self.run_program(INFO, "--dump", "--calls", "glInsertEventMarkerEXT", capture).stdout
        self.assertEqual(dump.count('glInsertEventMarkerEXT(length=0, marker="a frame")'), FRAMES)


if __name__ == "__main__":
    unittest.main()
