"""Errors say what is wrong and end with the status that is promised for them."""

import os
import random
import subprocess
import unittest

from harness import INFO, NO_DRIVER, NOT_WRITTEN, PLAYBACK, RECORD, SAMPLE, UNREADABLE, USAGE, EndToEndTest


class Usage(EndToEndTest):
    def test_wrong_command_lines(self):
        # The engine reads characters 1, 2, 4 and 5 of a config without looking at its length.
        for program, *arguments, said in (
                (PLAYBACK, "-bogus", SAMPLE, "-bogus"), (INFO, "--bogus", SAMPLE, "--bogus"),
                (RECORD, "--bogus", "--", "true", "--bogus"), (RECORD, "-o", "-o"), (RECORD, "--hash", ""),
                (PLAYBACK, SAMPLE, "-width", "-width needs a value"), (PLAYBACK, "no capture file given"), (INFO, ""),
                (PLAYBACK, SAMPLE, "second.glcap", "found a second one: second.glcap"),
                (PLAYBACK, "-config", "", SAMPLE, "-config needs components"),
                (PLAYBACK, "-config", "C32", SAMPLE, 'found "C32"'),
                (PLAYBACK, "-stopframe", "ten", SAMPLE, '-stopframe needs a whole number, found "ten"'),
                (PLAYBACK, "-width", "0", SAMPLE, "-width needs 1 to 32767 pixels"),
                *((PLAYBACK, "-screenshots", value, SAMPLE, said) for value, said in (
                    ("all", "-screenshots needs frames (N,"), ("30:2", "write 30:2-2 for draw 2"),
                    ("30-31:1", "draws of one frame"), ("10-5", "B not below A"), ("0", "from 1"), ("0*", "above 0"),
                    ("-5", "write 1-5"), ("30:0-3", "draws from 1"), ("1,30:2-3", "not a list with draws"))),
                *((PLAYBACK, option, value, SAMPLE, f"option {option} {said}") for option, value, said in (
                    ("-config", "garbage", "needs components"), ("-config", "C32D20", "needs components"),
                    ("-loglevel", "9", "needs none,"), ("-logzone", "64", "needs all"),
                    ("-screenshotformat", "jpg", "needs bmp"), ("-perdrawscreenshotsfilter", "foo", "needs rtv"),
                    ("-skipapi", "glClear,glDrawArray", "knows no function glDrawArray; did you mean glDrawArrays?"),
                    ("-skipstateapi", "glFoo*", "knows no function glFoo*"), ("-swapfbo", "3:4", "needs a framebuffer"),
                    ("-thread", "1,a", "needs numbers"), ("-pauseframe", "0", "counts frames from 1"))),
                (PLAYBACK, "-stopframe", "5", "-measureframes", "30-40", SAMPLE, "after the last frame"),
                (PLAYBACK, "-stats", "-verify", SAMPLE, "-stats draws no frame that -verify could")):
            with self.subTest([program, *arguments]):
                self.assertMentions(self.run_program(program, *arguments, status=USAGE), said)

    def test_help_and_version_go_to_stdout(self):
        for program, dashes in ((PLAYBACK, "-"), (RECORD, "--"), (INFO, "--")):
            for option in ("help", "version"):
                self.assertTrue(self.run_program(program, dashes + option).stdout.strip())


class Unreadable(EndToEndTest):
    def test_what_is_no_capture(self):
        (self.dir / "folder").mkdir()
        (self.dir / "empty.glcap").touch()
        (self.dir / "random.glcap").write_bytes(random.Random(1).randbytes(100000))
        for name in "missing.glcap", "folder", "empty.glcap", "random.glcap":
            for program in ([PLAYBACK, "-headless"], [INFO]):
                with self.subTest([program[0], name]):
                    self.assertMentions(self.run_program(*program, name, status=UNREADABLE), name)


class NotWritten(EndToEndTest):
    def test_listings_on_a_full_disk(self):
        for option in "--dump", "--json", "--csv", "--help":
            with self.subTest(option):
                result = self.run_program("sh", "-c", 'exec "$0" "$@" > /dev/full', INFO, option, SAMPLE,
                                          status=NOT_WRITTEN)
                self.assertMentions(result, "standard output: No space left on device")

    def test_a_reader_that_has_enough_is_no_error(self):
        read, write = os.pipe()
        os.close(read)
        # Python starts programs with SIGPIPE ignored when told to.
        done = subprocess.run([INFO, "--dump", SAMPLE], stdout=write, stderr=subprocess.PIPE, restore_signals=False,
                              check=False)
        os.close(write)
        self.assertEqual((done.returncode, done.stderr), (0, b""))


class NoDriver(EndToEndTest):
    def test_folder_without_libraries(self):
        (self.dir / "empty").mkdir()
        result = self.run_program(PLAYBACK, "-headless", "-driver", "empty", SAMPLE, status=NO_DRIVER)
        self.assertMentions(result, "empty/libEGL.so.1")

    def test_nothing_is_recorded_from_a_program_without_gl(self):
        result = self.run_program(RECORD, "-o", "none.glcap", "--", "true", status=1)
        self.assertMentions(result, "NOTHING WAS RECORDED")


if __name__ == "__main__":
    unittest.main()
