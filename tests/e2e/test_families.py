"""Each family of features is recorded from a client of its own, and the replay has the same pixels."""

import re
import unittest

from harness import FAMILIES, RECORD, ROOT, EndToEndTest

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
    "framebuffer-fetch": FRAMES,
    "images": FRAMES,
    "made-up-names": FRAMES,
    "masks": FRAMES,
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
        self.assertEqual(self.info(capture)["frames"], 0)
        for compositor in (False, True):
            self.assertMentions(self.verify(capture, compositor=compositor), f"verified: {FRAMES} of {FRAMES} read-backs")


if __name__ == "__main__":
    unittest.main()
