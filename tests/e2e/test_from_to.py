"""Of a program that runs, what is recorded is chosen: by its frames, from outside while it runs, or the end of it."""

import fcntl
import os
import pty
import re
import signal
import subprocess
import termios
import unittest

from harness import DIFFERED, INFO, RECORD, SPINNING, USAGE, EndToEndTest

PROGRAM = (SPINNING, "--pbuffer", "--frames", "1000000")


class FromTo(EndToEndTest):
    def setUp(self):
        super().setUp()
        # Short, and a socket's folder.
        self.runtime = {"XDG_RUNTIME_DIR": str(self.dir)}

    def start(self, *options, stdin=subprocess.DEVNULL):
        command = [RECORD, "--hash", *options, "-o", "x.glcap", "--", *PROGRAM]
        # A terminal gives keys to the session that it belongs to.
        take = None if stdin == subprocess.DEVNULL else lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0)
        with open(self.dir / "record.err", "a") as messages:
            self.recorder = subprocess.Popen(command, cwd=self.dir, env=self.environment(**self.runtime), stdin=stdin,
                                             stdout=subprocess.DEVNULL, stderr=messages, start_new_session=True,
                                             preexec_fn=take)
        self.addCleanup(lambda recorder=self.recorder: recorder.poll() is None and recorder.terminate())
        self.wait_for(lambda: self.frames(self.recorder) > 0, "its first frame")
        return self.recorder

    def ctl(self, *arguments, status=0):
        return self.run_program(RECORD, "ctl", *arguments, status=status, **self.runtime)

    def frames(self, recorder):
        found = re.search(r"(\d+) frames?,", self.ctl("--pid", recorder.pid, "status", status=(0, 1, 2)).stdout)
        return int(found[1]) if found else 0

    def end(self, number=signal.SIGINT):
        self.recorder.send_signal(number)
        status = self.recorder.wait(60)
        self.assertEqual([path.name for path in self.dir.iterdir() if "recording" in path.name], [])
        return status

    def check_part(self, capture, frames=None):
        info = self.info(capture)
        self.assertTrue(info["stateBlock"])
        self.assertEqual(info["cutFrom"]["file"], "x.glcap")
        if frames:
            self.assertEqual(info["frames"], frames)
        self.verify(capture, "-headless")
        return info["cutFrom"]["firstFrame"], info["cutFrom"]["lastFrame"]

    def test_frames(self):
        self.record(*PROGRAM, capture="x.glcap", options=["--frames", "5-9"], compositor=False)
        self.assertEqual(self.check_part("x.glcap"), (5, 9))
        result = self.run_program(RECORD, "--frames", "5-9", "-o", "y.glcap", "--", SPINNING, "--pbuffer", "--frames", "3",
                                  status=DIFFERED)
        self.assertMentions(result, "NOTHING WAS RECORDED", "had 3 frames")

    def test_ctl(self):
        (self.dir / "x-1.glcap").write_text("there before")
        first = self.start("--start-paused")
        self.assertMentions(self.ctl("stop", status=DIFFERED), "nothing to stop")
        self.ctl("start")
        self.assertMentions(self.ctl("start", status=DIFFERED), "already")
        self.check_part(self.ctl("stop").stdout.strip())
        self.check_part(self.ctl("snapshot", "4").stdout.strip(), 4)
        self.assertEqual((self.dir / "x-1.glcap").read_text(), "there before")
        second = self.start("--start-paused")
        self.assertMentions(self.ctl("status", status=USAGE), "--pid", str(first.pid), str(second.pid))
        second.terminate()
        second.wait(30)
        self.recorder = first
        self.assertEqual(self.end(), 0)
        self.assertMentions(self.ctl("status", status=DIFFERED), "no recording")

    def test_program_that_another_one_starts(self):
        serving = self.start_program(RECORD, "--hash", "--last", "5", "--serve", "served", **self.runtime)
        self.wait_for((self.dir / "playback-record.out").read_text, "its variables")
        variables = dict(line.split("=", 1) for line in (self.dir / "playback-record.out").read_text().splitlines())
        self.run_program(SPINNING, "--pbuffer", "--frames", "30", **variables)
        serving.send_signal(signal.SIGINT)
        self.assertEqual(serving.wait(60), 0)
        capture, = self.dir.glob("served/*.glcap")
        self.assertEqual(self.info(capture)["cutFrom"]["lastFrame"], 30)
        self.verify(capture, "-headless")

    def test_signals_and_keys(self):
        terminal, program_side = pty.openpty()
        self.start("--start-paused", "--keys", "--snapshot", "3", stdin=program_side)

        def send(what):
            os.write(terminal, what) if isinstance(what, bytes) else self.recorder.send_signal(what)

        for part, (start, stop, snapshot) in ((1, (signal.SIGUSR1, signal.SIGUSR2, signal.SIGRTMIN)), (3, (b"r", b"s", b"f"))):
            send(start)
            self.wait_for(lambda: "recording since" in self.ctl("status").stdout, "the recording")
            send(stop)
            self.wait_for((self.dir / f"x-{part}.glcap").exists, "what was recorded")
            send(snapshot)
            self.wait_for((self.dir / f"x-{part + 1}.glcap").exists, "the last frames")
            self.check_part(f"x-{part}.glcap")
            self.check_part(f"x-{part + 1}.glcap", 3)
        self.assertEqual(self.end(), 0)

    def test_last_frames_of_a_program_that_is_killed(self):
        self.start("--last", "20")
        # More than are kept until the rest is let go of, more than once.
        self.wait_for(lambda: self.frames(self.recorder) > 2500, "2500 frames")
        newest = self.frames(self.recorder)
        self.check_part(self.ctl("snapshot", "5").stdout.strip(), 5)
        os.kill(int(re.search(r"process (\d+)", self.ctl("status").stdout)[1]), signal.SIGKILL)
        self.assertEqual(self.recorder.wait(60), 128 + signal.SIGKILL)
        self.assertGreater(self.check_part("x.glcap", 20)[0], newest - 20)
        self.assertIn("SIGKILL", self.run_program(INFO, "x.glcap").stdout)


if __name__ == "__main__":
    unittest.main()
