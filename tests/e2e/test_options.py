"""What the options of the replay program change, as far as no other test here is about them."""

import os
import re
import signal
import threading
import unittest

from harness import BUILD, DIFFERED, DONE, FAKE_DRIVER, FAMILIES, PLAYBACK, SPINNING, TRIM, WITH_WESTON, EndToEndTest
from images import read_png

OLD_COMPOSITOR = str(BUILD / "tests/old_compositor")
# What begins the files of each format.
MAGIC = {"png": b"\x89PNG", "bmp": b"BM", "dds": b"DDS "}


class Options(EndToEndTest):
    def setUp(self):
        super().setUp()
        self.capture = self.record(SPINNING, "--frames", "4")

    def replay(self, *options, **environment):
        return self.run_program(PLAYBACK, "-headless", *options, self.capture, **environment)

    def fake_calls(self, *options, program=(), capture=None):
        """The calls that reach a driver, by their names."""
        (self.dir / "fake.log").unlink(missing_ok=True)
        self.run_program(*program, PLAYBACK, "-driver", FAKE_DRIVER, *options, capture or self.capture,
                         PLAYBACK_FAKE_LOG="fake.log")
        return re.findall(r"^(\w+)\(", (self.dir / "fake.log").read_text(), re.MULTILINE)

    def test_window_mode_and_size(self):
        for options, fullscreens, size in (([], 0, "320x240"), (["-windowed"], 0, "320x240"),
                                           (["-fullscreen"], 1, "320x240"), (["-fullscreen", "-windowed"], 1, "320x240"),
                                           (["-width", "100", "-height", "80"], 0, "100x80"),
                                           (["-width", "100", "-fullscreen", "-windowed"], 1, "100x240")):
            result = self.run_program(OLD_COMPOSITOR, "xdg_shell", "shown.raw", PLAYBACK, *options, self.capture,
                                      XDG_RUNTIME_DIR=str(self.dir))
            self.assertIn(f"fullscreens {fullscreens}\n", result.stdout, options)
            self.assertIn(f"size {size}\n", result.stdout, options)
        self.assertMentions(self.replay("-fullscreen", "-windowed"), "-windowed will be ignored")

    def test_one_surface_for_all_windows(self):
        capture = self.record(FAMILIES, "surfaces")
        windows = [self.fake_calls(*options, program=[WITH_WESTON], capture=capture).count("eglCreateWindowSurface")
                   for options in ([], ["-singlesurface"])]
        self.assertGreater(windows[0], windows[1])
        self.assertEqual(windows[1], 1)

    def test_pbuffers_for_windows(self):
        for options, reads in (["-pbuffersurface"], 4), (["-pbuffersurface", "-skippbufferdisplay"], 0):
            for compositor in [WITH_WESTON], []:
                result = self.run_program(*compositor, PLAYBACK, "-verify", *options, self.capture)
                self.assertMentions(result, "off screen: -pbuffersurface", "4 of 4 frames equal")
                # Said once for all the frames, except in a log file.
                self.assertEqual(result.stderr.count("cannot be displayed on screen"), min(reads, 1))
                self.assertEqual(self.fake_calls(*options, program=compositor).count("glReadPixels"), reads)

    def test_log(self):
        trace = self.replay("-loglevel", "trace").stderr
        self.assertIn("\nglClear\n", trace)
        self.assertNotIn("\nglClear\n", self.replay("-loglevel", "trace", "-logzone", "4").stderr)
        self.assertRegex(self.replay("-loglevel", "trace", "-logdisplaylinenumbers").stderr,
                         r"\nsrc/Playback/GLPlaybackAdapter\(\d+\): glClear\n")
        self.assertNotIn("glClear", self.replay("-loglevel", "trace", "-logiopipe", "log.txt").stderr)
        self.assertIn("\nglClear\n", (self.dir / "log.txt").read_text())
        os.mkfifo(self.dir / "pipe")
        read = []
        reader = threading.Thread(target=lambda: read.append((self.dir / "pipe").read_text()))
        reader.start()
        self.replay("-loglevel", "trace", "-logiopipe", "pipe")
        reader.join(20)
        self.assertEqual(read[0].count("glClear\n"), trace.count("glClear\n"))

    def test_log_is_flushed_at_once(self):
        # Its first frame stays for 100 seconds, and so would its messages in a buffer.
        replay = self.start_program(PLAYBACK, "-headless", "-quiet", "-framerate", "0.01", "-loglevel", "trace",
                                    "-logiopipe", "log.txt", "-logflush", self.capture)
        log = self.dir / "log.txt"
        self.wait_for(lambda: log.exists() and "glClear\n" in log.read_text(), "the log")
        replay.send_signal(signal.SIGTERM)
        self.assertEqual(replay.wait(20), DONE)

    def test_error_checks(self):
        self.assertGreater(self.fake_calls("-headless").count("glGetError"), 100)
        self.assertLess(self.fake_calls("-headless", "-skiperrorcheck").count("glGetError"), 10)

    def test_other_config(self):
        result = self.run_program(PLAYBACK, "-headless", "-verify", "-config", "R5G6B5D24S8", "-samples", "4",
                                  self.capture, status=DIFFERED)
        self.assertMentions(result, "Overriding EGLConfig with 5-bit R color", "4 multi-sample")

    def test_restored_contents_are_waited_for(self):
        self.run_program(TRIM, self.capture, "--frames", "3-4", "-o", "trimmed.glcap")
        plain, synced = (self.fake_calls("-headless", *options, capture="trimmed.glcap")
                         for options in ([], ["-syncstate"]))
        self.assertGreater(synced.count("glWaitSync"), plain.count("glWaitSync"))

    def test_screenshots(self):
        for name, magic in MAGIC.items():
            self.replay("-screenshots", "2", "-screenshotdir", "out", "-screenshotformat", name)
            self.assertTrue((self.dir / f"out/recorded.glcap_frame2.{name}").read_bytes().startswith(magic))
        self.assertNotEqual(set(read_png(self.dir / "out/recorded.glcap_frame2.png")[2][3::4]), {255})
        self.replay("-screenshots", "2", "-screenshotdir", "out", "-screenshotformat", "png", "-screenshotopaque")
        self.assertEqual(set(read_png(self.dir / "out/recorded.glcap_frame2.png")[2][3::4]), {255})

    def test_lists_of_screenshots(self):
        for value, frames in ("1,3-4", {1, 3, 4}), ("2*,1", {1, 2, 4}), ("3-", {3, 4}):
            self.replay("-screenshots", value, "-screenshotdir", value)
            written = {int(re.search(r"frame(\d+)\.bmp", path.name)[1]) for path in (self.dir / value).iterdir()}
            self.assertEqual(written, frames, value)

    def test_what_has_no_effect_is_said(self):
        for options, said in ((["-screenshots", "9"], "-screenshots begins with frame 9, after the last one, which is 4"),
                              (["-screenshots", "2:99-"], "-screenshots 2:99- wrote no picture: frame 2 has fewer draws"),
                              (["-samples", "4"], "-samples has no effect without -config"), (["-swapfbo", "9"], "no framebuffer 9")):
            self.assertMentions(self.replay(*options), said)

    def test_patterns_of_functions_are_left_out(self):
        self.assertMentions(self.replay("-skipapi", "glDraw*,glViewport"), "Not replayed: glDrawArrays ", "glViewport ")

    def test_pictures_of_draws(self):
        counts = {}
        for kind in "all", "rtv", "dsv", "uav":
            self.replay("-screenshots", "2:1-3", "-screenshotdir", kind, "-perdrawscreenshotsfilter", kind)
            names = [path.name for path in (self.dir / kind).iterdir() if "_frame2." not in path.name]
            depth = sum("_depth" in name or "_stencil" in name for name in names)
            counts[kind] = (len(names) - depth, depth)
        self.assertGreater(min(counts["all"]), 0)
        self.assertEqual(counts["rtv"], (counts["all"][0], 0))
        self.assertEqual(counts["dsv"], (0, counts["all"][1]))
        self.assertEqual(counts["uav"], (0, 0))

    def test_thread_filter_from_a_frame_on(self):
        capture = self.record(FAMILIES, "threads", "--pbuffer", compositor=False)
        thread = str(self.info(capture)["threads"][0]["thread"])
        calls = [len(self.fake_calls("-headless", "-thread", thread, "-threadFilterStartFrame", str(frame),
                                     capture=capture)) for frame in (1, 5, 9)]
        self.assertEqual(calls, sorted(set(calls)))


if __name__ == "__main__":
    unittest.main()
