"""What is installed works where it was installed, for people and for other projects."""

import re
import unittest

from harness import BUILD, ROOT, SAMPLE, SPINNING, EndToEndTest


class Installation(EndToEndTest):
    def setUp(self):
        super().setUp()
        self.root = self.dir / "root"
        self.run_program("cmake", "--install", BUILD, "--prefix", self.root)

    def test_programs_run_from_there(self):
        programs = self.root / "bin"
        self.run_program(programs / "playback-record", "-o", "x.glcap", "--", SPINNING, "--frames", "3", "--pbuffer")
        self.assertMentions(self.run_program(programs / "playback", "-headless", "x.glcap"), "3 frames in")
        self.assertIn("3", self.run_program(programs / "playback-info", "x.glcap").stdout)

    def test_manual_pages_render_without_warnings(self):
        pages = sorted((self.root / "share/man/man1").iterdir())
        self.assertEqual({page.name.removesuffix(".1.gz") for page in pages},
                         {program.name for program in (self.root / "bin").iterdir()})
        for page in pages:
            rendered = self.run_program("man", "--warnings", "--local-file", page, MANROFFSEQ="", MANWIDTH="80")
            self.assertEqual(rendered.stderr, "")
            self.assertIn("SYNOPSIS", rendered.stdout)

    def test_shell_completes_options_and_captures(self):
        script = (f"source /usr/share/bash-completion/bash_completion; source {self.root}/share/bash-completion/"
                  "completions/playback; touch a.glcap b.txt; COMP_WORDS=(playback \"$1\"); COMP_CWORD=1; "
                  "COMP_LINE=\"playback $1\"; COMP_POINT=${#COMP_LINE}; _playback playback; printf '%s\\n' \"${COMPREPLY[@]}\"")
        path = f"{self.root}/bin:/usr/bin:/bin"
        # Folders too, since a capture may lie in one.
        for word, expected in ("-loopc", ["-loopcount"]), ("", ["a.glcap", "root"]):
            done = self.run_program("bash", "-c", script, "bash", word, PATH=path)
            self.assertEqual(done.stdout.split(), expected)

    def test_another_project_builds_a_host_of_its_own(self):
        # A library with sanitizers needs a program with sanitizers.
        same = re.findall(r"^(CMAKE_CXX_(?:COMPILER|FLAGS)):\w+=(.*)$", (BUILD / "CMakeCache.txt").read_text(), re.M)
        self.run_program("cmake", "-G", "Ninja", "-S", ROOT / "tests/consumer", "-B", "consumer",
                         f"-DCMAKE_PREFIX_PATH={self.root}", *[f"-D{name}={value}" for name, value in same])
        self.run_program("cmake", "--build", "consumer")
        self.assertEqual(self.run_program("consumer/host", SAMPLE).stdout, "120 frames\n")


if __name__ == "__main__":
    unittest.main()
