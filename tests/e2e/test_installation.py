"""What is installed works where it was installed, for people and for other projects."""

import pathlib
import re
import shutil
import unittest

from harness import BUILD, PLAYBACK, ROOT, SAMPLE, SPINNING, EndToEndTest


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
        manual = {}
        for page in pages:
            rendered = self.run_program("man", "--warnings", "--local-file", page, MANROFFSEQ="", MANWIDTH="80")
            self.assertEqual(rendered.stderr, "")
            self.assertIn("SYNOPSIS", rendered.stdout)
            manual[page.name.removesuffix(".1.gz")] = rendered.stdout
        # Groups of options are headings below that of all, and each example begins a line.
        self.assertIn("\nOPTIONS\n   Program:\n", manual["playback"])
        examples = re.compile("^ +playback +-", re.M)
        self.assertEqual(len(examples.findall(manual["playback"].partition("\nEXAMPLES\n")[2])),
                         len(examples.findall(self.run_program(PLAYBACK, "-help").stdout)))

    def test_shells_complete_options_values_and_commands(self):
        (self.dir / "a.glcap").touch()
        (self.dir / "b.json").touch()
        environment = {"PATH": f"{self.root}/bin:/usr/bin:/bin", "HOME": str(self.root)}
        bash = (f"source /usr/share/bash-completion/bash_completion; source {self.root}/share/bash-completion/completions/$1; "
                "COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); COMP_LINE=\"$*\"; COMP_POINT=${#COMP_LINE}; _${1//-/_} \"$1\" "
                "\"${@: -1}\" \"${@: -2:1}\" 2>/dev/null; printf '%s\\n' \"${COMPREPLY[@]}\"")
        fish = f"set -p fish_complete_path {self.root}/share/fish/vendor_completions.d; complete -C \"$argv\" | cut -f1"
        # Folders too, since a file may lie in one.
        for line, expected in (("playback -loopc", "-loopcount"), ("playback -pace ", "recorded"),
                               ("playback -screenshotformat p", "png"), ("playback ", "a.glcap root"),
                               ("playback-info --results ", "b.json root"), ("playback-info --report ", "root"),
                               ("playback-record --pref", "--prefer-es"), ("playback-record -o ", "a.glcap root"),
                               ("playback-record --frame-end f", "fence finish flush"),
                               ("playback-record -- xmllin", "xmllint"), ("playback-record --hash -- git chec", "checkout")):
            with self.subTest(line):
                done = self.run_program("bash", "-c", bash, "bash", *line.split(" "), **environment)
                self.assertEqual(sorted(set(done.stdout.split())), expected.split())
                # This one shows what fits first, and the others after it.
                done = self.run_program("fish", "-c", fish, line, **environment)
                self.assertEqual(done.stdout.split()[0], expected.split()[0].replace("root", "root/"))
        self.run_program("zsh", "-n", *(self.root / "share/zsh/vendor-completions").iterdir())

    def test_desktops_know_captures(self):
        share = self.root / "share"
        self.run_program("desktop-file-validate", *(share / "applications").iterdir())
        self.run_program("xmllint", "--noout", *(share / "mime/packages").iterdir(), *(share / "icons").rglob("*.svg"))
        self.run_program("update-mime-database", share / "mime")
        unnamed = shutil.copy(SAMPLE, self.dir / "unnamed")
        for command in (("gio", "info", "-a", "standard::content-type"),
                        ("file", "--mime-type", "-m", share / "playback/playback.magic")):
            found = self.run_program(*command, unnamed, XDG_DATA_DIRS=str(share), XDG_DATA_HOME=str(self.dir)).stdout
            self.assertIn("application/x-playback-capture", found)

    def test_package_config_follows_the_installation(self):
        packages = next(self.root.rglob("playback.pc")).parent
        flags = self.run_program("pkg-config", "--cflags", "--libs", "playback", PKG_CONFIG_PATH=str(packages)).stdout
        folders = {flag[:2]: pathlib.Path(flag[2:]) for flag in flags.split() if flag[:2] in ("-I", "-L")}
        self.assertTrue((folders["-I"] / "Playback/Controller.h").exists() and (folders["-L"] / "libPlayback.so").exists())
        self.assertTrue(all(folder.resolve().is_relative_to(self.root) for folder in folders.values()), flags)

    def test_another_project_builds_a_host_of_its_own(self):
        # A library with sanitizers needs a program with sanitizers.
        same = re.findall(r"^(CMAKE_CXX_(?:COMPILER|FLAGS)):\w+=(.*)$", (BUILD / "CMakeCache.txt").read_text(), re.M)
        self.run_program("cmake", "-G", "Ninja", "-S", ROOT / "tests/consumer", "-B", "consumer",
                         f"-DCMAKE_PREFIX_PATH={self.root}", *[f"-D{name}={value}" for name, value in same])
        self.run_program("cmake", "--build", "consumer")
        self.assertEqual(self.run_program("consumer/host", SAMPLE).stdout, "120 frames\n")


if __name__ == "__main__":
    unittest.main()
