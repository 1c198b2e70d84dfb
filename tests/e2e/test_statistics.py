"""What a capture uses, told without a driver."""

import shutil
import unittest
import xml.etree.ElementTree as xml

from harness import PLAYBACK, SAMPLE, USAGE, EndToEndTest

TEXT_FILES = ["eglstats.txt", "glstats.txt", "stats.txt"]


class Stats(EndToEndTest):
    def test_reports_appear_where_it_is_said_and_no_driver_is_looked_for(self):
        (self.dir / "folder").mkdir()
        capture = shutil.copy(SAMPLE, self.dir / "folder/sample.glcap")
        result = self.run_program(PLAYBACK, "-stats", "-driver", "nowhere", "folder/sample.glcap", LD_DEBUG="libs")
        self.assertIn("find library=libPlayback", result.stderr)
        for library in ("libEGL", "libGLES", "libGL."):
            self.assertNotIn(library, result.stderr)
        self.assertMentions(result, "folder/sample.glcap.xml", "folder/sample.glcap_flat.xml", "glstats.txt")
        self.assertEqual(sorted(path.name for path in self.dir.iterdir() if path.is_file()), TEXT_FILES)

        grouped = xml.parse(f"{capture}.xml").getroot()
        flat = {key.tag: key.text.strip() for key in xml.parse(f"{capture}_flat.xml").getroot()}
        self.assertEqual({key.tag: key.text.strip() for category in grouped for key in category}, flat)
        self.assertEqual(grouped.attrib, {"category": "ESXCapture"})
        self.assertEqual((flat["NonBlocking_eglSwapBuffers_Times"], flat["Vertex_Shader_Used"], flat["Total_Surfaces"]),
                         ("120", "True", "1"))

    def test_values_that_are_not_counted_are_listed_when_asked_for(self):
        capture = shutil.copy(SAMPLE, self.dir / "sample.glcap")
        self.assertNotIn("Unhandled", self.run_program(PLAYBACK, "-stats", capture).stderr)
        self.assertMentions(self.run_program(PLAYBACK, "-stats", "-loglevel", "warning", capture), "Unhandled texture = 1")

    def test_files_that_cannot_be_written_are_named(self):
        capture = shutil.copy(SAMPLE, self.dir / "sample.glcap")
        (self.dir / "sample.glcap_flat.xml").mkdir()
        self.assertMentions(self.run_program(PLAYBACK, "-stats", capture, status=USAGE),
                            "cannot write", "sample.glcap_flat.xml", "Is a directory")


if __name__ == "__main__":
    unittest.main()
