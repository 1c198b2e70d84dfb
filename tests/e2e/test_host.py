"""The replay program: verification that can fail, ends before the capture's end, windows under every shell."""

import json
import re
import signal
import time
import unittest

from harness import BUILD, DIFFERED, DONE, PLAYBACK, RECORD, SPINNING, WITH_WESTON, EndToEndTest
from images import read_png

OLD_COMPOSITOR = str(BUILD / "tests/old_compositor")


class Verification(EndToEndTest):
    def test_frames_that_differ_are_named(self):
        capture = self.record(SPINNING, "--frames", "5", "--pbuffer", compositor=False)
        result = self.run_program(PLAYBACK, "-headless", "-verify", "-skipapi", "glDrawArrays", capture, status=DIFFERED)
        self.assertMentions(result, "not verified: 0 of 5 frames equal", "frame 1", "expected 320x240 hash")

    def test_capture_without_hashes(self):
        self.run_program(RECORD, "-o", "plain.glcap", "--", SPINNING, "--frames", "3", "--pbuffer")
        result = self.run_program(PLAYBACK, "-headless", "-verify", "plain.glcap", status=DIFFERED)
        self.assertMentions(result, "not verified", "--hash")


class Ends(EndToEndTest):
    def test_stopframe(self):
        capture = self.record(SPINNING, "--frames", "5", "--pbuffer", compositor=False)
        self.assertMentions(self.verify(capture, "-headless", "-stopframe", "3"), "Stopped after frame 3 of 5",
                            "verified: 3 of 3 frames equal")

    def test_interrupt(self):
        # Its frames follow the screen, so that there is time to interrupt.
        capture = self.record("weston-simple-egl", options=["--frames", "90"])
        replay = self.start_program(WITH_WESTON, PLAYBACK, capture)
        said = self.dir / "with-weston.err"
        self.wait_for(lambda: b"in a window" in said.read_bytes(), "the replay")
        time.sleep(0.5)
        replay.send_signal(signal.SIGINT)
        self.assertEqual(replay.wait(20), DONE)
        self.assertRegex(said.read_text(), r"Stopped after frame [1-8]?\d of 90: Interrupt")

    def test_noplayback_needs_no_driver(self):
        capture = self.record(SPINNING, "--frames", "5", "--pbuffer", compositor=False)
        self.assertMentions(self.run_program(PLAYBACK, "-noplayback", "-driver", "nowhere", capture), "Read 5 frames",
                            "nothing was replayed")


class Windows(EndToEndTest):
    def test_old_shells(self):
        capture = self.record(SPINNING, "--frames", "12", "--resize", "6")
        for shell, role in ("wl_shell", "wl_shell_surface"), ("xdg_shell", "xdg_surface"):
            with self.subTest(shell):
                self.check_shell(capture, shell, role)

    def check_shell(self, capture, shell, role):
        result = self.run_program(OLD_COMPOSITOR, shell, "shown.raw", PLAYBACK, "-verify", "-screenshots", "12",
                                  "-screenshotdir", "out", "-screenshotformat", "png", capture,
                                  XDG_RUNTIME_DIR=str(self.dir))
        self.assertMentions(result, shell, "verified: 12 of 12 frames equal")
        seen = dict(line.split(" ", 1) for line in result.stdout.splitlines())
        self.assertEqual((seen["role"], seen["frames"], seen["size"]), (role, "12", "480x360"))
        if shell == "xdg_shell":
            self.assertRegex(seen["title"], r"recorded\.glcap - EGLSurface \d+ - Frame 12 of 12$")
        # The compositor goes on showing only windows that answer it.
        self.assertEqual(seen["pongs"] if shell == "wl_shell" else seen["acknowledged"], "2")
        _, _, expected = read_png(next((self.dir / "out").iterdir()))
        shown = (self.dir / "shown.raw").read_bytes()
        for channel in range(3):
            self.assertTrue(shown[2 - channel::4] == expected[channel::4], "the window shows another picture")

    def test_given_swap_interval_holds(self):
        capture = self.record(SPINNING, "--frames", "8")
        self.run_program(WITH_WESTON, PLAYBACK, "-swapinterval", "2", "-json", "result.json", capture)
        # Six times at least two pictures of a screen that shows 60 a second.
        self.assertGreater(json.loads((self.dir / "result.json").read_text())["seconds"], 0.15)

    def test_given_width_holds(self):
        capture = self.record(SPINNING, "--frames", "4", "--resize", "2")
        result = self.run_program(WITH_WESTON, PLAYBACK, "-verify", "-width", "100", capture, status=DIFFERED)
        self.assertTrue(re.search(r"found 100x\d+ ", result.stderr), result)

    def test_pbuffers_are_replayed_under_a_compositor(self):
        capture = self.record(SPINNING, "--frames", "4", "--pbuffer", compositor=False)
        self.verify(capture, compositor=True)


if __name__ == "__main__":
    unittest.main()
