"""Captures of programs that were ended are replayed up to their end."""

import os
import re
import signal
import time
import unittest

from harness import RECORD, SPINNING, EndToEndTest


class EndedEarly(EndToEndTest):
    """The recorded program draws for ever; something ends it."""

    def start(self):
        recorder = self.start_program(RECORD, "--hash", "-o", "ended.glcap", "--", SPINNING, "--pbuffer", "--frames",
                                      "0", "--sleep", "1")
        self.addCleanup(lambda: self.spinning_of(recorder) and os.kill(self.spinning_of(recorder), signal.SIGKILL))
        # The capture gets its name when the recording ends.
        self.wait_for(lambda: any(path.stat().st_size for path in self.dir.glob("ended.recording-*/*")) and
                      self.spinning_of(recorder), "the recording")
        time.sleep(2)
        return recorder

    def spinning_of(self, recorder):
        """Process of the recorded program: a child of the recorder's, or the recorder's own when it was replaced."""
        for pid in filter(str.isdigit, os.listdir("/proc")):
            try:
                status = open(f"/proc/{pid}/status").read()
            except OSError:
                continue
            if re.search(r"^Name:\s+spinning$", status, re.M) and (
                    int(pid) == recorder.pid or re.search(rf"^PPid:\s+{recorder.pid}$", status, re.M)):
                return int(pid)
        return None

    def test_sigkill_leaves_a_capture_up_to_the_last_whole_chunk(self):
        recorder = self.start()
        os.kill(self.spinning_of(recorder), signal.SIGKILL)
        recorder.wait(20)
        result = self.verify("ended.glcap")
        frames = self.info("ended.glcap")["frames"]
        self.assertGreater(frames, 0)
        self.assertMentions(result, f"{frames} frames")

    def test_signals_end_the_capture_cleanly(self):
        for number in signal.SIGINT, signal.SIGTERM:
            with self.subTest(number):
                recorder = self.start()
                recorder.send_signal(number)
                recorder.wait(20)
                self.assertNotIn("warning", self.verify("ended.glcap").stderr.lower())
                (self.dir / "ended.glcap").unlink()


if __name__ == "__main__":
    unittest.main()
