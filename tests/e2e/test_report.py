"""The report page of a capture, opened in a browser: what it shows, and that it can be used."""

import html
import json
import re
import unittest

from harness import INFO, PLAYBACK, SPINNING, USAGE, EndToEndTest

# Put after the page's own script: hovers over the first plot, and tells what came of it.
USE_IT = """<script>
window.addEventListener("load", () => setTimeout(() => {
    const plot = document.querySelector("#times .plot");
    const canvas = [...plot.querySelectorAll("canvas")].pop();
    const box = canvas.getBoundingClientRect();
    canvas.dispatchEvent(new MouseEvent("mousemove", { bubbles: true, view: window,
        clientX: box.left + box.width / 2, clientY: box.top + box.height / 2 }));
    const seen = document.createElement("output");
    seen.id = "seen";
    document.querySelector("#picture img").click();
    const larger = document.querySelector("#viewer[open] img");
    const dearest = [...document.querySelectorAll("#dearest .value")].map(value => parseFloat(value.textContent));
    seen.textContent = JSON.stringify({ hovered: document.querySelector("#times .legend").textContent,
        frames: document.querySelectorAll("#frames img").length,
        textures: document.querySelectorAll("#textures img").length,
        broken: [...document.images].filter(image => !image.naturalWidth).length,
        calls: document.querySelectorAll("#calls tbody tr").length,
        verdict: document.getElementById("verdict").textContent,
        width: larger.naturalWidth,
        passes: document.querySelectorAll("#gpu details").length,
        isSorted: dearest.length === 7 && dearest.every((ms, i) => i === 0 || ms <= dearest[i - 1]),
        made: document.querySelector("#made").textContent,
        source: document.querySelector("#programs pre").textContent });
    document.body.append(seen);
}, 200));
</script></body>"""


class Report(EndToEndTest):
    def setUp(self):
        super().setUp()
        self.capture = self.record(SPINNING, "--frames", "30", "--pbuffer", compositor=False)

    def browse(self, page):
        """What a browser without a network makes of a page."""
        return self.run_program("chromium", "--headless", "--no-sandbox", "--disable-gpu", "--enable-logging=stderr",
                                "--host-resolver-rules=MAP * ~NOTFOUND", "--virtual-time-budget=5000",
                                f"--user-data-dir={self.dir}/browser", "--dump-dom", page)

    def test_page_shows_the_capture_and_its_replay(self):
        self.run_program(PLAYBACK, "-headless", "-json", "results.json", "-timecalls", "-timegpu", "draws",
                         "-measureframes", "20", "-verify", "-screenshots", "10*", "-screenshotformat", "png",
                         self.capture)
        self.run_program(INFO, "--report", "report", "--results", "results.json", self.capture)
        page = self.dir / "report/index.html"
        used = self.dir / "report/used.html"
        used.write_text(page.read_text().replace("</body>", USE_IT))
        self.assertIsNone(re.search(r"(src|href)\s*=\s*[\"']?(https?:)?//", page.read_text()))

        result = self.browse(used)
        self.assertNotIn("CONSOLE", result.stderr)
        seen = json.loads(html.unescape(re.search(r'id="seen">(.*?)</output>', result.stdout)[1]))
        self.assertRegex(seen["hovered"], r"20: wall ms:\s.*CPU ms:\s.*GPU ms:\s")
        self.assertEqual(seen["verdict"], "Verified: 30 of 30 frames equal")
        self.assertEqual((seen["width"], seen["passes"], seen["isSorted"]), (320, 2, True))
        self.assertIn("glDrawArrays", seen["made"])
        self.assertEqual((seen["frames"], seen["broken"]), (3, 0))
        self.assertEqual(seen["calls"], len(self.info(self.capture)["calls"]))
        self.assertGreater(seen["textures"], 0)
        self.assertIn("gl_Position", seen["source"])

    def test_text_of_a_capture_stays_text(self):
        self.run_program(INFO, "--report", "report", self.capture)
        page = (self.dir / "report/index.html").read_text()
        hostile = page.replace("gl_Position", "\\u003c/script>\\u003cscript>document.title='owned'\\u003c/script>", 1)
        (self.dir / "report/index.html").write_text(hostile)
        self.assertIn("<title>recorded.glcap</title>", self.browse(self.dir / "report/index.html").stdout)

    def test_results_that_are_none(self):
        (self.dir / "x.json").write_text('{"frames": 3}')
        result = self.run_program(INFO, "--report", "report", "--results", "x.json", self.capture, status=USAGE)
        self.assertMentions(result, "x.json: expected the results that playback -json writes")


if __name__ == "__main__":
    unittest.main()
