"""The replay program in the hands of a person or a script: keys, loops, paces, numbers."""

import json
import os
import pty
import re
import select
import signal
import subprocess
import time
import unittest

from harness import (BUILD, CUT_SHORT, DONE, FAKE_DRIVER, FAMILIES, NO_DRIVER, NOT_WRITTEN, PLAYBACK, RECORD, SPINNING,
                     UNREADABLE, EndToEndTest)
from images import flip, read_png

OLD_COMPOSITOR = str(BUILD / "tests/old_compositor")
STREAMING = str(BUILD / "bench/streaming")
FRAMES = 40
# Of the spinning program: the width of its surface, and the side of its framebuffer object.
WIDTH, FRAMEBUFFER = 320, 128


class Player(EndToEndTest):
    """Frames of one small program."""

    def setUp(self):
        super().setUp()
        self.capture = self.record(SPINNING, "--frames", str(FRAMES))

    def replay(self, *options, status=DONE):
        return self.run_program(PLAYBACK, "-headless", "-json", "result.json", *options, self.capture, status=status)

    def result(self):
        return json.loads((self.dir / "result.json").read_text())


class InATerminal(Player):
    def start(self, *options):
        """Starts a replay in a terminal of its own."""
        self.terminal, terminal = pty.openpty()
        command = [PLAYBACK, "-headless", "-screenshotformat", "png", *options, self.capture]
        self.note(command, {})
        self.program = subprocess.Popen(command, cwd=self.dir, env=self.environment(), stdin=terminal, stderr=terminal,
                                        start_new_session=True, preexec_fn=lambda: os.close(os.open(os.ttyname(0), 2)))
        os.close(terminal)
        self.addCleanup(lambda: self.program.poll() is None and self.program.kill())
        self.said = ""

    def expect(self, text):
        """Waits until the program has said this, and drops what it said up to there."""
        deadline = time.monotonic() + 20
        while text not in self.said:
            if not select.select([self.terminal], [], [], max(0, deadline - time.monotonic()))[0]:
                self.fail(f"nothing said of '{text}': {self.said}")
            try:
                self.said += os.read(self.terminal, 4096).decode()
            except OSError:
                self.fail(f"ended without a word of '{text}': {self.said}")
        self.said_before, _, self.said = self.said.partition(text)

    def press(self, keys):
        os.write(self.terminal, keys.encode())

    def test_pause_step_screenshot_and_end(self):
        self.start("-pauseframe", "3")
        self.expect("Paused at frame 3")
        self.press("n\033[C")
        self.expect("frame 5, paused")
        self.press("s")
        self.expect("Wrote recorded.glcap_frame5.png")
        self.press(" ")
        self.expect(f"{FRAMES} frames in")
        self.assertEqual(self.program.wait(20), DONE)
        last = [number for frame, _, _, _, number in self.actions(self.capture) if frame == 5][-1]
        self.assertEqual(read_png(self.dir / "recorded.glcap_frame5.png"),
                         read_png(self.ask_bytes("picture", self.capture, f"at=5:{last}")))

    def test_running_replay_takes_a_screenshot_pauses_and_ends(self):
        self.start("-framerate", "20")
        self.expect("frame ")
        self.press("s ")
        self.expect("Wrote recorded.glcap_frame")
        self.expect("Paused at frame ")
        self.press("\033")
        self.expect("q or Escape was pressed")
        self.assertEqual(self.program.wait(20), DONE)

    def test_file_that_was_read_whole_is_not_needed_any_more(self):
        # Several chunks, more than are read ahead.
        self.run_program(RECORD, "-o", "large.glcap", "--", STREAMING, "ring", "100")
        frames = self.info("large.glcap")["frames"]
        whole = (self.dir / "large.glcap").read_bytes()
        for options, shows_all in ([], False), (["-preloadfile"], True):
            self.capture = "large.glcap"
            (self.dir / self.capture).write_bytes(whole)
            self.start("-pauseframe", "1", *options)
            self.expect("Paused at frame 1")
            os.truncate(self.dir / self.capture, len(whole) // 10)
            self.press(" ")
            self.expect(" frames in")
            replayed = int(re.search(r"(\d+)$", self.said_before)[1])
            self.assertEqual(replayed == frames, shows_all, f"{replayed} of {frames}")
            self.program.wait(20)

    def test_quiet_says_nothing(self):
        # Also not of what the log notes, such as another config.
        self.start("-quiet", "-config", "R8G8B8A8D24S8")
        self.assertEqual(self.program.wait(20), DONE)
        with self.assertRaises(OSError):
            self.fail(f"said {os.read(self.terminal, 4096)}")


class InAWindow(Player):
    def test_keys_of_the_compositor(self):
        space, n, s, f, q = 57, 49, 31, 33, 16
        result = self.run_program(OLD_COMPOSITOR, "xdg_shell", "shown.raw", "--keys",
                                  ",".join(map(str, (space, n, s, f, q))), PLAYBACK, "-framerate", "10", self.capture,
                                  XDG_RUNTIME_DIR=str(self.dir))
        paused = re.search(r"Paused at frame (\d+)", result.stderr)
        self.assertTrue(paused, result)
        stepped = int(paused[1]) + 1
        self.assertMentions(result, f"Wrote recorded.glcap_frame{stepped}.bmp",
                            f"Stopped after frame {stepped} of {FRAMES}: q or Escape was pressed")
        self.assertIn("fullscreens 1", result.stdout)


class Loops(Player):
    def test_each_pass_shows_the_recorded_frames(self):
        self.assertMentions(self.replay("-verify", "-loopframe", "30", "-stopframe", "35", "-loopcount", "4"),
                            "verified: 53 of 53 frames equal")
        result = self.result()
        self.assertEqual((result["passes"], result["frames"], result["stopped"]), (4, 35 + 3 * 6, "-stopframe"))
        self.assertEqual([(frame["pass"], frame["frame"]) for frame in result["measured"]][-12:],
                         [(number, frame) for number in (3, 4) for frame in range(30, 36)])

    def loop(self, family):
        capture = self.record(FAMILIES, family, "--pbuffer", capture=f"{family}.glcap", compositor=False)
        result = self.run_program(PLAYBACK, "-headless", "-verify", "-loopframe", "3", "-stopframe", "5", "-loopcount", "4",
                                  capture)
        self.assertMentions(result, "verified: 14 of 14 frames equal")
        return result

    def test_passes_begin_with_the_state_and_contents_of_the_first_one(self):
        for family in ("buffer-maps", "clear-textures", "draw-buffers", "frames-of-fences", "made-up-names", "masks",
                       "pixel-buffers", "queries", "samplers", "surfaces", "threads", "transform-feedback",
                       "uniform-buffers", "vertex-arrays", "viewport-arrays"):
            with self.subTest(family):
                self.assertNotIn("before the loop", self.loop(family).stderr)

    def test_what_cannot_be_brought_back_is_replayed_and_named(self):
        for family, reason in (("conditional-rendering", "glBeginConditionalRenderNV is called in it"),
                               ("images", "something is drawn to an EGLImage in it")):
            with self.subTest(family):
                self.assertMentions(self.loop(family), f"Each pass replays all frames before the loop: {reason}.")

    def test_file_that_is_gone_when_the_next_pass_begins(self):
        replay = self.start_program(PLAYBACK, "-headless", "-loopframe", "1", self.capture)
        said = self.dir / "playback.err"
        self.wait_for(lambda: b"Replaying" in said.read_bytes(), "the replay")
        (self.dir / self.capture).unlink()
        self.assertEqual(replay.wait(20), UNREADABLE)
        self.assertIn(self.capture, said.read_text())
        self.assertRegex(said.read_text(), r"\d+ frames in")

    def test_frame_after_the_end(self):
        self.assertMentions(self.replay("-loopframe", "41", status=2), "-loopframe 41", f"is {FRAMES}")


class Pace(Player):
    def test_slower_paces_take_their_time(self):
        # Its frames follow the screen. A lower bound only: how long a replay takes beyond that is the machine's affair.
        self.capture = self.record("weston-simple-egl", options=["--frames", "30"])
        for options, seconds in (["-framerate", "100"], 29 / 100), (["-pace", "recorded"],
                                                                    self.info(self.capture)["seconds"] * 0.9):
            with self.subTest(options):
                self.replay(*options)
                result = self.result()
                self.assertGreaterEqual(result["seconds"] + result["besideSeconds"]["waiting"], seconds)

    def test_time_limit(self):
        self.assertMentions(self.replay("-framerate", "1", "-timelimit", "0.2", status=CUT_SHORT), "-timelimit")
        self.assertMentions(self.replay("-paused", "-timelimit", "0.2", status=CUT_SHORT), "Paused at frame 1",
                            "over after frame 1")

    def test_driver_that_does_not_come_back(self):
        for sent, options, said in ((None, ["-timelimit", "0.5"], "The time of -timelimit is over"),
                                    (signal.SIGTERM, [], "Terminated")):
            with self.subTest(said):
                replay = self.start_program(PLAYBACK, "-headless", "-driver", FAKE_DRIVER, "-json", "cut.json", *options,
                                            self.capture, PLAYBACK_FAKE_STUCK="glDrawArrays")
                if sent:
                    self.wait_for(lambda: b"Replaying" in (self.dir / "playback.err").read_bytes(), "the replay")
                    replay.send_signal(sent)
                self.assertEqual(replay.wait(20), CUT_SHORT)
                self.assertRegex((self.dir / "playback.err").read_text(),
                                 rf"{said} in frame 1, call \d+, glDrawArrays, from which the driver did not return")
                result = json.loads((self.dir / "cut.json").read_text())
                self.assertEqual((result["frames"], result["cutOff"], result["stopped"]), (0, True, said))

    def test_values_that_make_no_sense(self):
        for option, value in ("-framerate", "0"), ("-framesinflight", "-1"), ("-timelimit", "soon"), ("-pace", "slow"), ("-measureframes", "5-4"):
            self.assertMentions(self.replay(option, value, status=2), option, f'found "{value}"')


class Numbers(Player):
    def test_results_as_json(self):
        self.replay("-measureframes", "10-19", "-verify")
        result = self.result()
        self.assertEqual([frame["frame"] for frame in result["measured"]], list(range(10, 20)))
        for frame in result["measured"]:
            self.assertGreater(frame["calls"], 0)
            self.assertGreater(frame["wallMs"], 0)
        times = result["frameTimesMs"]
        self.assertLessEqual(times["median"], times["percentile95"])
        self.assertEqual(times["worst"], max(frame["wallMs"] for frame in result["measured"]))
        self.assertEqual((result["frames"], result["verified"], result["errors"]), (FRAMES, True, {}))
        self.assertIn("llvmpipe", result["driver"]["GL_RENDERER"])
        self.assertEqual(result["calls"], self.info(self.capture)["callCount"])

    def test_frame_times_add_up_without_what_is_beside_them(self):
        for options, in_flight, beside in ([], 2, set()), (["-screenshots", "5*", "-verify"], 1, {"pictures", "comparison"}):
            self.replay("-measureframes", f"1-{FRAMES}", *options)
            result = self.result()
            self.assertAlmostEqual(sum(frame["wallMs"] for frame in result["measured"]) / 1e3, result["seconds"])
            self.assertEqual({name for name, seconds in result["besideSeconds"].items() if seconds > 0} -
                             {"callsAfterFrames"}, beside)
            self.assertEqual(result["framesInFlight"], in_flight)

    def test_frames_that_differ_are_listed(self):
        self.replay("-verify", "-skipapi", "glDrawArrays", "-stopframe", "3", status=1)
        differences = self.result()["differences"]
        self.assertEqual([(frame["pass"], frame["frame"]) for frame in differences], [(1, 1), (1, 2), (1, 3)])
        self.assertNotEqual(differences[0]["expected"]["hash"], differences[0]["found"]["hash"])

    def test_nothing_replayed(self):
        self.assertMentions(self.replay("-thread", "77", status=NO_DRIVER), "no thread 77", "only thread is 1")
        self.assertMentions(self.replay("-driver", str(BUILD / "lib"), status=NO_DRIVER), "libEGL.so.1")

    def test_outputs_that_cannot_be_written(self):
        (self.dir / "out").touch()
        self.assertMentions(self.replay("-screenshots", "3-4", "-screenshotdir", "out", status=NOT_WRITTEN),
                            "2 pictures could not be written")
        with open("/dev/full", "w") as full:
            for arguments in ["-help"], ["-headless", "-json", "-", self.capture]:
                done = subprocess.run([PLAYBACK, *arguments], cwd=self.dir, env=self.environment(), stdout=full,
                                      stderr=subprocess.PIPE, check=False)
                self.assertEqual(done.returncode, NOT_WRITTEN, done.stderr)

    def test_skipped_functions_and_errors_are_counted(self):
        result = self.replay("-skipapi", "glClear,glUseProgram")
        self.assertMentions(result, f"glClear {3 * FRAMES}")
        self.assertEqual(self.result()["skipped"]["glClear"], 3 * FRAMES)
        # Without a program there are no uniforms to set.
        self.assertGreater(self.result()["errors"]["GL_INVALID_OPERATION"], 0)


class Textures(EndToEndTest):
    def test_each_upload_is_a_file_of_its_own(self):
        capture = self.record(FAMILIES, "textures", "--pbuffer", compositor=False)
        self.run_program(PLAYBACK, "-noplayback", "-driver", "nowhere", "-extracttextures", "all", "-screenshotdir",
                         "out", "-screenshotformat", "png", capture)
        uploads = {path.name.removeprefix("recorded.glcap_"): path for path in (self.dir / "out").iterdir()}
        calls = self.info(capture)["calls"]
        self.assertGreaterEqual(len(uploads), sum(count for name, count in calls.items()
                                                  if re.fullmatch(r"gl(Compressed)?Tex(Sub)?Image[23]D", name)))
        self.assertEqual({name.split("_")[0] for name in uploads}, {f"frame{i}" for i in range(1, 9)})
        # Layers that the driver still has at the frame's end, a part of one, and compressed blocks, which no picture holds.
        for texture, layer in (1, 7), (3, 11):
            self.assertEqual(read_png(uploads[f"frame1_texture{texture}_level0_layer{layer}.png"]), read_png(self.ask_bytes(
                "image", capture, "at=1", f"name={texture}", f"index={layer}", "format=png")))
        self.assertIn("frame3_texture6_level2_layer0_at1x1.png", uploads)
        blocks = uploads["frame3_texture4_level0_layer0_at4x8.ktx"].read_bytes()
        self.assertEqual((blocks[:8], len(blocks)), (b"\xabKTX 11\xbb", 100))


class Swaps(EndToEndTest):
    def test_a_captured_framebuffer_is_shown_at_a_place(self):
        # Framebuffer 1 of this program, in a corner of the surface.
        capture = self.record(SPINNING, "--frames", "4")
        self.run_program(OLD_COMPOSITOR, "xdg_shell", "shown.raw", PLAYBACK, "-swapfbo", "1:100:50", capture,
                         XDG_RUNTIME_DIR=str(self.dir))
        # What is in it after the first draw, in the place of a part of what is on the surface after the last one.
        framebuffer, surface = (bytearray(self.ask_bytes("pixels", capture, f"at=4:{draw}", "index=0")) for draw in (1, 4))
        for y in range(FRAMEBUFFER):
            start = ((50 + y) * WIDTH + 100) * 4
            surface[start:start + FRAMEBUFFER * 4] = framebuffer[y * FRAMEBUFFER * 4:(y + 1) * FRAMEBUFFER * 4]
        expected, shown = flip(surface, WIDTH), (self.dir / "shown.raw").read_bytes()
        for channel in range(3):
            self.assertTrue(shown[2 - channel::4] == expected[channel::4], "the window shows another picture")


class Threads(EndToEndTest):
    def test_only_the_chosen_thread_is_replayed(self):
        capture = self.record(FAMILIES, "threads", "--pbuffer", compositor=False)
        threads = [thread["thread"] for thread in self.info(capture)["threads"]]
        counts = []
        for chosen in [], threads[:1], threads:
            log = f"calls{len(chosen)}.txt"
            options = ["-thread", ",".join(map(str, chosen))] if chosen else []
            self.run_program(PLAYBACK, "-headless", "-driver", FAKE_DRIVER, *options, capture, PLAYBACK_FAKE_LOG=log)
            counts.append(len((self.dir / log).read_text().splitlines()))
        self.assertLess(counts[1], counts[0])
        self.assertEqual(counts[2], counts[0])


if __name__ == "__main__":
    unittest.main()
