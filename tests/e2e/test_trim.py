"""Frames that were cut out of a capture are replayed as they were recorded, without those in front."""

import collections
import pathlib
import random
import re
import shutil
import unittest

from harness import (DONE, FAKE_DRIVER, FAMILIES, INFO, PLAYBACK, SAMPLE, SPINNING, TRIM, UNREADABLE, USAGE,
                     NOT_WRITTEN, EndToEndTest)
from test_families import CLIENTS

# Families whose programs make errors on purpose.
ERRORS = {"debug-labels", "robustness"}


class TrimTest(EndToEndTest):
    def trim(self, capture, first, last, trimmed="trimmed.glcap"):
        """Cuts frames out, and checks that the result holds what was recorded of them."""
        self.run_program(TRIM, capture, "--frames", f"{first}-{last}", "-o", trimmed)
        info = self.info(trimmed)
        self.assertTrue(info["stateBlock"])
        self.assertEqual(info["frames"], last - first + 1)
        self.assertEqual(self.hashes(trimmed), self.hashes(capture)[first - 1:last])
        return trimmed

    def dump(self, capture):
        return self.run_program(INFO, "--dump", capture).stdout

    def hashes(self, capture):
        return re.findall(r"hash of frame \d+, (.*)", self.dump(capture))

    def ends(self, capture):
        """When each frame ended, in microseconds."""
        return [int(end) for end in re.findall(r"end of frame, (\d+) us", self.dump(capture))]

    def calls(self, capture):
        """How often each call is in the state-setup block, and the names of the calls of each frame."""
        state, frames = self.dump(capture).split("-- end of block of type 2")
        name = re.compile(r"^\d+:[\d#.]+ t\d+ c\d+ (\w+)\(", re.MULTILINE)
        return collections.Counter(name.findall(state)), [name.findall(frame) for frame in frames.split("-- end of frame")]

    def replay_faked(self, capture, *options):
        """The calls that reach a driver, in their order."""
        (self.dir / "fake.log").unlink(missing_ok=True)
        self.run_program(PLAYBACK, "-headless", "-driver", FAKE_DRIVER, *options, capture, PLAYBACK_FAKE_LOG="fake.log")
        return re.findall(r"^(\w+)\(", (self.dir / "fake.log").read_text(), re.MULTILINE)


class SameFrames(TrimTest):
    def check(self, capture, has_errors=False):
        frames = self.info(capture)["frames"]
        for first, last in ((frames // 2, frames), (2, 2)):
            result = self.verify(self.trim(capture, first, last), "-headless")
            self.assertMentions(result, "" if has_errors else " 0 errors")

    def test_glmark2_desktop(self):
        # Draws to textures, and in later frames from them.
        self.check(self.record("glmark2-es2-wayland", "-s", "400x300", "-b", "desktop:nframes=16"))

    def test_trimmed_again(self):
        whole = self.record(FAMILIES, "transform-feedback")
        trimmed = self.trim(whole, 3, 8)
        for first, last in ((1, 2), (4, 5)):
            self.verify(self.trim(trimmed, first, last, "again.glcap"), "-headless")
            self.assertEqual(self.info("again.glcap")["cutFrom"],
                             {"file": whole, "firstFrame": first + 2, "lastFrame": last + 2})
            ends = self.ends(whole)
            self.assertEqual(self.ends("again.glcap"), [end - ends[first] for end in ends[first + 1:last + 2]])

    def test_families(self):
        for family in CLIENTS:
            with self.subTest(family):
                self.check(self.record(FAMILIES, family, "--pbuffer", compositor=False), family in ERRORS)

    def test_windows(self):
        for client in ([SPINNING, "--frames", "8", "--resize", "3"], [FAMILIES, "multisample"], [FAMILIES, "surfaces"]):
            with self.subTest(client):
                self.check(self.record(*client))

    def test_windows_that_were_resized_before(self):
        capture = self.record(SPINNING, "--frames", "8", "--resize", "3")
        for first in (4, 5, 7):
            self.verify(self.trim(capture, first, 8), compositor=True)


class Options(TrimTest):
    """What a replay does with the two parts of a trimmed capture."""

    def trimmed(self):
        return self.trim(self.record(FAMILIES, "multisample"), 3, 6)

    def test_contents_of_the_default_framebuffer(self):
        capture = self.trimmed()
        for options, expected in (([], ["color", "depth", "stencil"]), (["-skipdefaultfbo"], [])):
            self.run_program(PLAYBACK, "-headless", "-dumpdefaultfbo", "-screenshotdir", f"out{len(options)}", *options,
                             capture)
            written = sorted(path.name for path in self.dir.glob(f"out{len(options)}/*"))
            self.assertEqual(written, [f"{capture}_state_default{name}1.bmp" for name in expected])

        # A blit for each buffer; with samples the colours are drawn, and nothing else is restored.
        def restoring(*options):
            calls = collections.Counter(self.replay_faked(capture, *options))
            calls.subtract(self.replay_faked(capture, "-skipdefaultfbo", *options))
            return calls["glBlitFramebuffer"], calls["glDrawArrays"]

        self.assertEqual(restoring(), (3, 0))
        self.assertEqual(restoring("-samples", "4"), (0, 1))

    def test_calls_are_skipped_by_block(self):
        capture = self.trimmed()
        name = "glUseProgram"
        state, frames = self.calls(capture)
        in_state, in_frames = state[name], sum(frame.count(name) for frame in frames)
        self.assertTrue(in_state and in_frames)
        for options, expected in (([], in_state + in_frames), (["-skipapi", name], 0),
                                  (["-skipstateapi", name], in_frames), (["-skipframeapi", name], in_state)):
            self.assertEqual(self.replay_faked(capture, *options).count(name), expected, options)

    def test_each_frame_is_flushed(self):
        capture = self.trimmed()
        flushes = [self.replay_faked(capture, *options).count("glFlush") for options in ([], ["-forceflush"])]
        self.assertEqual(flushes[1] - flushes[0], self.info(capture)["frames"])

    def test_screenshots_of_draws(self):
        capture = self.trimmed()
        # A draw, the first blit and another draw: counted together, and named one by one.
        events = [name for frame, _, name, kind, _ in self.actions(capture) if frame == 3 and kind in ("draw", "blit")]
        draws = events.index("glBlitFramebuffer")
        self.run_program(PLAYBACK, "-headless", "-screenshots", f"3:{draws}-{draws + 2}", "-screenshotdir", "out",
                         capture)
        written = {re.sub(r"_(depth|stencil)$", "", path.stem) for path in (self.dir / "out").iterdir()}
        self.assertEqual(written, {f"{capture}_frame3_{event}" for event in (f"draw{draws}", "blit1", f"draw{draws + 1}")})


class BadInput(TrimTest):
    """Said in one line, and nothing is written."""

    def check(self, *arguments, status, says):
        result = self.run_program(TRIM, *arguments, status=status)
        self.assertMentions(result, "playback-trim: ", *says)
        self.assertFalse((self.dir / "out.glcap").exists(), result)

    def test_usage(self):
        good = ["--frames", "2-3", "-o", "out.glcap"]
        for arguments, says in (
                ([SAMPLE, "--bogus", *good], "--bogus"), (good, "no capture file"),
                ([SAMPLE, "-o", "out.glcap"], "--frames"), ([SAMPLE, "--frames", "2-3"], "-o"),
                *(([SAMPLE, "-o", "out.glcap", "--frames", frames], "A-B")
                  for frames in ("0-2", "3-2", "-2", "x", "2-3-4", "1-99999999999")),
                ([SAMPLE, "-o", "-", "--frames", "2-3"], "standard output"),
                ([SAMPLE, "-o", "out.glcap", "--frames", "100000-"], "100000")):
            with self.subTest(arguments):
                self.check(*arguments, status=USAGE, says=[says])

    def test_files_that_do_not_continue(self):
        self.check(SAMPLE, SAMPLE, "--frames", "2-3", "-o", "out.glcap", status=UNREADABLE, says=["does not continue"])

    def test_output_is_the_input(self):
        shutil.copy(SAMPLE, self.dir / "in.glcap")
        (self.dir / "link.glcap").symlink_to("in.glcap")
        for output in ("in.glcap", "link.glcap"):
            self.check("in.glcap", "--frames", "2-3", "-o", output, status=USAGE, says=[output])
        self.assertEqual((self.dir / "in.glcap").read_bytes(), pathlib.Path(SAMPLE).read_bytes())

    def test_output_that_cannot_be_written(self):
        for output in "missing/out.glcap", "/dev/full":
            self.check(SAMPLE, "--frames", "2-3", "-o", output, status=NOT_WRITTEN, says=[output])
        self.assertEqual([path.name for path in self.dir.iterdir()], [])

    def test_cut_and_changed_captures(self):
        data = pathlib.Path(SAMPLE).read_bytes()
        chosen = random.Random(4)
        for at in (chosen.randrange(len(data)) for _ in range(10)):
            for what, bad in (("cut", data[:at]), ("changed", data[:at] + bytes([data[at] ^ 1]) + data[at + 1:])):
                with self.subTest(what, at=at):
                    (self.dir / "bad.glcap").write_bytes(bad)
                    result = self.run_program(TRIM, "bad.glcap", "--frames", "2-3", "-o", "out.glcap",
                                              status=(DONE, USAGE, UNREADABLE))
                    self.assertMentions(result, "bad.glcap")
                    self.assertEqual((self.dir / "out.glcap").exists(), result.status == DONE, result)
                    (self.dir / "out.glcap").unlink(missing_ok=True)


if __name__ == "__main__":
    unittest.main()
