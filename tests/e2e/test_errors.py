"""Errors say what is wrong and end with the status that is promised for them."""

import random
import unittest

from harness import INFO, NO_DRIVER, PLAYBACK, RECORD, SAMPLE, UNREADABLE, USAGE, EndToEndTest


class Usage(EndToEndTest):
    def test_unknown_option(self):
        self.assertMentions(self.run_program(PLAYBACK, "-bogus", SAMPLE, status=USAGE), "-bogus")
        self.assertMentions(self.run_program(RECORD, "--bogus", "--", "true", status=USAGE), "--bogus")
        self.assertMentions(self.run_program(INFO, "--bogus", SAMPLE, status=USAGE), "--bogus")

    def test_missing_value(self):
        self.assertMentions(self.run_program(PLAYBACK, SAMPLE, "-width", status=USAGE), "-width")
        self.assertMentions(self.run_program(RECORD, "-o", status=USAGE), "-o")

    def test_no_file(self):
        self.run_program(PLAYBACK, status=USAGE)
        self.run_program(INFO, status=USAGE)
        self.run_program(RECORD, "--hash", status=USAGE)

    def test_config_value_that_is_too_short(self):
        self.assertMentions(self.run_program(PLAYBACK, "-config", "C32", SAMPLE, status=USAGE), "-config")

    def test_help_and_version_go_to_stdout(self):
        for program, dashes in ((PLAYBACK, "-"), (RECORD, "--"), (INFO, "--")):
            for option in ("help", "version"):
                self.assertTrue(self.run_program(program, dashes + option).stdout.strip())


class Unreadable(EndToEndTest):
    def check(self, name):
        for program in ([PLAYBACK, "-headless"], [INFO]):
            self.assertMentions(self.run_program(*program, name, status=UNREADABLE), name)

    def test_missing_file(self):
        self.check("missing.glcap")

    def test_folder(self):
        (self.dir / "folder").mkdir()
        self.check("folder")

    def test_empty_file(self):
        (self.dir / "empty.glcap").touch()
        self.check("empty.glcap")

    def test_random_bytes(self):
        (self.dir / "random.glcap").write_bytes(random.Random(1).randbytes(100000))
        self.check("random.glcap")


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
