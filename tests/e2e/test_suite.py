"""A folder of captures is compared as a whole, for CI and for people."""

import json
import re
import shutil
import unittest
import xml.etree.ElementTree

from harness import (COMPARE, DIFFERED, DONE, FAMILIES, FAULTY_DRIVER, NO_DRIVER, PLAYBACK, SPINNING, UNREADABLE, USAGE,
                     EndToEndTest)

# Text of a capture that is markup, and no UTF-8.
HOSTILE = b"<b>&\"'\x01\xff]]>.glcap"


class Suite(EndToEndTest):
    def suite(self, *options, status=DONE, **environment):
        return self.run_program(COMPARE, "--suite", "captures", "--junit", "junit.xml", "--page", "page.html", *options,
                                status=status, **environment)

    def junit(self):
        """The counts of the file, and the message of each case: None where all is equal."""
        root = xml.etree.ElementTree.parse(self.dir / "junit.xml").getroot()
        suite, = root
        self.assertEqual(root.attrib | {"name": ""}, suite.attrib | {"name": ""})
        return ([int(root.get(name)) for name in ("tests", "failures", "errors")],
                {case.get("name"): next((problem.get("message") for problem in case), None) for case in suite})

    def damage(self, capture):
        """Stores references of a driver that makes a mistake under the name of the system's."""
        self.run_program(PLAYBACK, "-driver", FAULTY_DRIVER, "-writehashes", "damaged.glcap", "-hashes", "draws",
                         "-referencepictures", "1", capture, PLAYBACK_FAULT="draw:2")
        shutil.move(self.dir / "damaged.glcap", self.dir / capture)

    def fill(self, count):
        (self.dir / "captures/more").mkdir(parents=True)
        one = self.record(SPINNING, "--frames", "3", "--pbuffer", compositor=False)
        other = self.record(FAMILIES, "vertex-arrays", "--pbuffer", capture="other.glcap", compositor=False)
        for i in range(count):
            folder = "captures/more" if i % 5 == 4 else "captures"
            shutil.copy(self.dir / (other if i % 2 else one), self.dir / folder / f"{i:02}.glcap")

    def test_two_damaged_references_of_twenty(self):
        self.fill(20)
        for name in "03.glcap", "more/14.glcap":
            self.damage(f"captures/{name}")
        result = self.suite("--jobs", "2", "--json", "all.json", status=DIFFERED)
        self.assertTrue(result.stdout.endswith("\n2 of 20 captures differ\n"), result)
        counts, cases = self.junit()
        self.assertEqual(counts, [20, 2, 0])
        self.assertEqual({name for name, message in cases.items() if message}, {"03.glcap", "more/14.glcap"})
        self.assertRegex(cases["03.glcap"], r"^draw \d+ \(glDraw\w+, call \d+ of frame 1\), colour of default framebuffer")
        page = (self.dir / "page.html").read_text()
        self.assertEqual(page.count("<section"), 2)
        self.assertEqual(page.count('src="data:image/png;base64,'), 2 * 3)
        self.assertIsNone(re.search(r"<script|(src|href)\s*=\s*[\"']?(https?:)?//", page))
        verdicts = [one["verdict"] for one in json.loads((self.dir / "all.json").read_text())]
        self.assertEqual((verdicts.count("different"), verdicts.count("equal")), (2, 18))
        # Each capture is in one part of three.
        parts = []
        for part in 1, 2, 3:
            self.suite("--shard", f"{part}/3", "--quiet", status={DONE, DIFFERED})
            parts += self.junit()[1]
        self.assertEqual(sorted(parts), sorted(cases))

    def test_against_a_second_side(self):
        self.fill(2)
        self.suite("--b-env", "LP_NUM_THREADS=1")
        self.assertEqual(self.junit()[0], [2, 0, 0])
        self.suite("--b-driver", FAULTY_DRIVER, "--b-env", "PLAYBACK_FAULT=draw:2", status=DIFFERED)
        self.assertEqual(self.junit()[0], [2, 2, 0])
        self.assertIn(", difference</figcaption>", (self.dir / "page.html").read_text())

    def test_a_driver_that_never_comes_back_holds_up_nobody(self):
        self.fill(1)
        result = self.suite("--b-driver", FAULTY_DRIVER, "--b-env", "PLAYBACK_FAULT=hang:1", "--timelimit", "3",
                            status=NO_DRIVER)
        self.assertIn("did not answer within the time limit", self.junit()[1]["00.glcap"])
        self.assertEqual(self.junit()[0], [1, 0, 1], result)

    def test_text_of_captures_stays_text(self):
        self.fill(1)
        shutil.copy(self.dir / "captures/00.glcap", bytes(self.dir / "captures") + b"/" + HOSTILE)
        (self.dir / "captures/broken.glcap").write_text("<script>alert(1)</script>")
        self.suite(status=UNREADABLE)
        counts, cases = self.junit()
        self.assertEqual(counts, [3, 0, 1])
        self.assertIn("<b>&\"'\ufffd\ufffd]]>.glcap", cases)
        page = (self.dir / "page.html").read_text()
        self.assertNotIn("<b>", page)
        self.assertIn("&lt;b&gt;&amp;&quot;&#39;\ufffd\ufffd]]&gt;.glcap", page)

    def test_what_cannot_be_compared(self):
        self.assertMentions(self.suite(status=UNREADABLE), "captures: cannot be read")
        (self.dir / "captures").mkdir()
        self.assertMentions(self.suite(status=UNREADABLE), "has no captures")
        self.run_program(COMPARE, "--suite", "captures", "--shard", "4/3", status=USAGE)
        self.run_program(COMPARE, "--junit", "x.xml", "x.glcap", status=USAGE)
        self.run_program("cp", self.record(SPINNING, "--frames", "2", "--pbuffer", compositor=False), "captures/a.glcap")
        self.suite("--a-driver", self.dir, status=NO_DRIVER)
        self.assertEqual(self.junit()[0], [1, 0, 1])


if __name__ == "__main__":
    unittest.main()
