"""Errors say what is wrong and end with the status that is promised for them."""

import random
import unittest

from harness import INFO, NO_DRIVER, PLAYBACK, RECORD, SAMPLE, UNREADABLE, USAGE, EndToEndTest


class Usage(EndToEndTest):
    def test_wrong_command_lines(self):
        for program, *arguments, named in ((PLAYBACK, "-bogus", SAMPLE, "-bogus"), (INFO, "--bogus", SAMPLE, "--bogus"),
                                           (RECORD, "--bogus", "--", "true", "--bogus"), (RECORD, "-o", "-o"),
                                           (PLAYBACK, SAMPLE, "-width", "-width"), (PLAYBACK, "capture file"), (INFO, ""),
                                           (RECORD, "--hash", ""), (PLAYBACK, "-config", "C32", SAMPLE, "-config")):
            with self.subTest([program, *arguments]):
                self.assertMentions(self.run_program(program, *arguments, status=USAGE), named)

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
