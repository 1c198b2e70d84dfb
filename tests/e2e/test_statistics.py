"""What a capture uses, told without a driver."""

import csv
import io
import json
import re
import shutil
import unittest
import xml.etree.ElementTree as xml
from collections import Counter

from harness import FAKE_DRIVER, FAMILIES, INFO, NOT_WRITTEN, PLAYBACK, SAMPLE, USAGE, EndToEndTest

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
        self.assertMentions(self.run_program(PLAYBACK, "-stats", capture, status=NOT_WRITTEN),
                            "cannot write", "sample.glcap_flat.xml", "Is a directory")
        self.run_program(PLAYBACK, "-stats", "-statsdir", "reports", capture)
        self.assertEqual(sorted(path.name for path in (self.dir / "reports").iterdir()),
                         ["sample.glcap.xml", "sample.glcap_flat.xml"])
        for name in "glstats.txt", "sample.glcap.xml":
            (self.dir / name).unlink(missing_ok=True)
            (self.dir / name).symlink_to("/dev/full")
        (self.dir / "sample.glcap_flat.xml").rmdir()
        self.assertMentions(self.run_program(PLAYBACK, "-stats", "sample.glcap", status=NOT_WRITTEN),
                            "cannot write glstats.txt: No space", "cannot write sample.glcap.xml: No space")


class Info(EndToEndTest):
    """The numbers of playback-info against those of a driver that was asked the same."""

    def compare(self, capture, left_out=()):
        self.run_program(PLAYBACK, "-headless", "-skiperrorcheck", "-framesinflight", "0", "-driver", FAKE_DRIVER, capture,
                         PLAYBACK_FAKE_LOG=f"{capture}.log")
        frames = [Counter(re.findall(r"^(\w+)\(", part, re.M))
                  for part in (self.dir / f"{capture}.log").read_text().split("eglSwapBuffers(")]
        statistics = self.info(capture)["statistics"]
        self.assertEqual(statistics["refusedCalls"], 0)
        self.assertEqual(len(statistics["frames"]), len(frames) - 1)
        listed = Counter(re.findall(r"^(\d+):[\d#.]+ .*?(\w+)\(", self.run_program(INFO, "--dump", capture).stdout, re.M))
        for number, (frame, seen) in enumerate(zip(statistics["frames"], frames), 1):
            counts = [*(frame[kind]["byCall"] for kind in ("draws", "clears", "blits", "stateChanges")),
                      *frame["extensions"].values()]
            # Replay points at client memory anew in front of each draw: these calls the list of all calls counts.
            seen.update({call: listed[str(number), call] - seen[call] for call in ("glVertexAttribPointer", "glVertexAttribIPointer")})
            counted = {call: count["calls"] if isinstance(count, dict) else count for by_call in counts
                       for call, count in by_call.items() if call not in left_out}
            self.assertEqual(counted, {call: seen[call] for call in counted})
            missed = {call for call in seen if re.match(r"glDraw[AER]|glClear$|glClearBuffer|glBlit|gl\w+(EXT|KHR)$", call)}
            self.assertEqual(missed - set(counted), set())
        return statistics["total"]

    def test_state_at_a_moment_and_what_differs_from_another(self):
        capture = self.record(FAMILIES, "vertex-arrays", "--pbuffer", compositor=False)
        self.assertEqual(json.loads(self.run_program(INFO, "--state", "1:2", capture).stdout)["context"], 0)
        state = json.loads(self.run_program(INFO, "--state", "2:28", capture).stdout)
        self.assertEqual((state["state"]["GL_VIEWPORT"], state["objects"]["vertexArrays"]["2"]["GL_ELEMENT_ARRAY_BUFFER_BINDING"]),
                         ([128] * 4, 3))
        lines = self.run_program(INFO, "--state", "2:28", "--against", "1:30", capture).stdout.splitlines()
        self.assertIn("GL_VERTEX_ARRAY_BINDING: 1 -> 0", lines)
        self.assertIn("vertexArrays 0: GL_VERTEX_ATTRIB_ARRAY_TYPE[0]: GL_FLOAT -> GL_SHORT", lines)
        self.assertEqual(self.run_program(INFO, "--state", "2:28", "--against", "2:28", capture).stdout, "")
        self.assertMentions(self.run_program(INFO, "--state", "2:999", capture, status=USAGE), "frame 2 has 29 calls", "999")

    def test_sample(self):
        shutil.copy(SAMPLE, self.dir / "sample.glcap")
        total = self.compare("sample.glcap")
        self.assertEqual(total["draws"]["byCall"]["glDrawElements"], {"calls": 120, "instances": 120, "vertices": 4320, "unknown": 0})
        # Two attributes of three shapes, each at an address of its own in front of each draw.
        self.assertNotIn("glVertexAttribPointer", total["stateChanges"]["redundant"]["byCall"])

    def test_families(self):
        for family in ("buffer-maps", "client-arrays", "compute", "debug-labels", "multisample", "persistent-maps", "pixel-buffers", "queries",
                       "samplers", "textures", "transform-feedback", "uniform-buffers", "vertex-arrays"):
            with self.subTest(family):
                capture = self.record(FAMILIES, family, "--pbuffer", capture=f"{family}.glcap", compositor=False)
                # Its programs lack a uniform that they ask for; to the fake driver every name is one.
                self.compare(capture, ["glUniform1f"] if family == "textures" else [])
                described, counted = (self.run_program(INFO, *option, capture) for option in ([], ["--recount"]))
                self.assertEqual((described.stdout, described.stderr), (counted.stdout, ""))

    def test_table_says_the_same(self):
        lines, part = (self.run_program(INFO, "--csv", *frames, SAMPLE).stdout.splitlines()
                       for frames in ([], ["--frames", "30-34"]))
        self.assertEqual(part, [lines[0], *lines[30:35]])
        statistics = self.info(SAMPLE)["statistics"]
        rows = list(csv.DictReader(io.StringIO(self.run_program(INFO, "--csv", SAMPLE).stdout)))
        self.assertEqual([row["frame"] for row in rows], [str(i) for i in range(1, 121)] + ["rest"])
        for row, frame in zip(rows, [*statistics["frames"], statistics["rest"]]):
            self.assertEqual([int(row[name]) for name in ("calls", "vertices", "clears", "redundantStateChanges", "readPixelBytes")],
                             [frame["calls"], frame["draws"]["vertices"], frame["clears"]["calls"],
                              frame["stateChanges"]["redundant"]["calls"], frame["readBacks"]["pixelBytes"]])
            self.assertEqual(int(row["texturesAlive"]), frame["objects"].get("textures", {}).get("alive", 0))
        self.assertEqual(sum(int(row["calls"]) for row in rows), statistics["total"]["calls"])
        self.run_program(INFO, "--csv", "--json", SAMPLE, status=USAGE)


if __name__ == "__main__":
    unittest.main()
