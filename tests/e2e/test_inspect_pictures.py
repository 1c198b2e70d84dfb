"""What playback-inspect lays over pictures and makes of them: overlays, shaders, thumbnails, times."""

import json
import unittest
import urllib.parse

from harness import FAMILIES, SPINNING, USAGE, Probe
from images import read_png
from test_inspect import InBrowser, Inspect

SIDE = 256  # of the pictures of the family
KINDS = ("touched", "small", "wireframe", "depth", "stencil", "scissor")


class Overlays(Inspect):
    def overlay(self, at, kind):
        """The overlay's bytes."""
        status, headers, body = self.request(f"{self.path}api/overlay?{urllib.parse.urlencode({'at': at, 'kind': kind})}")
        self.assertEqual(status, 200, body)
        self.assertEqual((headers["Playback-Width"], headers["Playback-Height"]), (str(SIDE), str(SIDE)))
        return body

    def assert_overlay(self, at, kind, expected):
        """`expected` tells the value of a pixel from its column and row."""
        found = self.overlay(at, kind)
        wanted = bytes(expected(x, y) for y in range(SIDE) for x in range(SIDE))
        wrong = [(i % SIDE, i // SIDE, found[i], wanted[i]) for i in range(len(wanted)) if found[i] != wanted[i]]
        self.assertEqual(wrong[:4], [], f"{kind} at {at}")

    def test_they_tell_where_fragments_went(self):
        self.serve(self.record(FAMILIES, "fragment-tests", "--pbuffer", compositor=False))
        half, box = SIDE // 2, SIDE // 4
        # The second draw is hidden by the first one, the third one cut by the scissor box, the fourth one by the stencil.
        self.assert_overlay("3:1", "touched", lambda x, y: x < half)
        self.assert_overlay("3:2", "touched", lambda x, y: x >= half)
        self.assert_overlay("3:2", "depth", lambda x, y: 2 if x < half else 1)
        self.assert_overlay("3:3", "touched", lambda x, y: x < box)
        self.assert_overlay("3:3", "scissor", lambda x, y: 1 if x < box else 2)
        self.assert_overlay("3:4", "touched", lambda x, y: x < box)
        self.assert_overlay("3:4", "stencil", lambda x, y: 1 if x < box else 2)
        # What the shader throws away is no fragment.
        self.assert_overlay("3:5", "touched", lambda x, y: y % 2 == 0)
        self.assert_overlay("3:7", "touched", lambda x, y: box <= x < SIDE - box)
        self.assert_overlay("3:6", "touched", lambda x, y: y % 2 == 0)
        self.assert_overlay("3:5", "overdraw", lambda x, y: 1 + 2 * (x < box) + (y % 2 == 0))
        # Two triangles as large as that are not small; of a mesh as fine as the picture all are.
        self.assert_overlay("3:7", "small", lambda x, y: 0)
        self.assert_overlay("3:8", "small", lambda x, y: x < 16 and y < 16)
        lines = self.overlay("3:7", "wireframe")
        # Around two triangles: along the edges and the diagonal, and not inside.
        self.assertTrue(lines[SIDE // 3 * SIDE + box] or lines[SIDE // 3 * SIDE + box - 1])
        self.assertEqual(lines[SIDE // 3 * SIDE + box + 5], 0)
        self.assertLess(sum(map(bool, lines)), 5 * SIDE)
        status, _, body = self.request(f"{self.path}api/overlay?at=3:0.1&kind=touched")
        self.assertEqual((status, json.loads(body)["error"]), (400, '3:0.1 has no overlay "touched": this call is no draw'))

    def test_they_leave_the_replay_as_it_was(self):
        asked = told = 0
        for family in ("fragment-tests", "client-arrays", "transform-feedback", "queries", "pipelines", "multisample",
                       "draw-buffers", "compute", "vertex-arrays", "viewport-arrays"):
            with self.subTest(family):
                capture = f"{family}.glcap"
                self.record(FAMILIES, family, "--pbuffer", capture=capture, compositor=False)
                probe = Probe(self, capture)
                for frame in (1, 2, 3, 4):
                    for node in self.ask("actions", capture, f"frame={frame}")["tree"]:
                        if node.get("kind") != "draw":
                            continue
                        probe.ask("go", frame=frame, call=node["call"])
                        before = [target.get("hash") for target in probe.ask("targets")["targets"]]
                        for kind in KINDS:
                            answer = probe.ask("overlay", kind=kind)
                            asked += 1
                            told += "problem" not in answer
                            self.assertTrue(answer["data"] or answer["problem"], answer)
                        probe.ask("show", index=0, shader="vec4 show(ivec2 at) { return vec4(0.0); }")
                        self.assertEqual([target.get("hash") for target in probe.ask("targets")["targets"]], before)
                    end = probe.ask("frame", frame=frame, pictures=True)
                    self.assertEqual(end["failed"], 0)
                    for picture in end["pictures"]:
                        self.assertEqual(picture["hash"], picture["recorded"], f"{family}, frame {frame}")
        # Most can be told.
        self.assertGreater(told, asked / 2)


class Pictures(Inspect):
    SHADER = "vec4 show(ivec2 at) { vec4 p = texelFetch(image, at, 0); return vec4(p.g, 1.0 - p.r, at.x % 2, 1.0); }"

    def setUp(self):
        super().setUp()
        self.capture = self.record(SPINNING, "--frames", "6", "--pbuffer", compositor=False)

    def test_a_shader_shows_an_image(self):
        self.serve(self.capture)
        parameters = urllib.parse.urlencode({"at": "3:1", "index": 0, "shader": self.SHADER})
        pixels = self.request(f"{self.path}api/pixels?{parameters}")[2]
        status, headers, shown = self.request(f"{self.path}api/show?{parameters}")
        self.assertEqual((status, headers["Playback-Components"]), (200, "unorm8"))
        width = int(headers["Playback-Width"])
        for pixel in range(0, len(pixels) // 4, 97):
            red, green = pixels[4 * pixel:4 * pixel + 2]
            self.assertEqual(tuple(shown[4 * pixel:4 * pixel + 4]), (green, 255 - red, 255 * (pixel % width % 2), 255))
        # Depth has one number; a texture is shown by the same means; errors have the lines of the text.
        self.query("show", self.capture, "at=3:3", "index=1", "format=png",
                   "shader=vec4 show(ivec2 at) { return vec4(texelFetch(image, at, 0).r); }")
        result = self.query("show", self.capture, "at=3:1", "shader=\n\nvec4 show(ivec2 at) { return colour; }", status=USAGE)
        self.assertMentions(result, ":3(", "colour")

    def test_thumbnails_show_frames_and_what_actions_changed(self):
        strip = self.ask("thumbnails", self.capture)
        # What comes after the last frame counts as one.
        self.assertEqual((strip["failed"], strip["pictures"], strip["isDone"]), ([0] * 7, [1, 2, 3, 4, 5, 6], True))
        actions = self.ask("thumbnails", self.capture, "frame=3")
        self.assertEqual((actions["isDone"], actions["failed"]), (True, []))
        self.serve(self.capture)
        tree = [node for node in self.get("actions", frame=3)["tree"] if node["type"] == "action"]
        self.assertEqual([action["call"] for action in actions["actions"]], [node["call"] for node in tree])
        by_call = {action["call"]: action for action in actions["actions"]}
        for node in tree:
            targets = self.get("targets", at=f"3:{node['number']}")["targets"]
            before = self.get("targets", at=f"3:c{node['call'] - 1}")["targets"]
            if node["kind"] == "draw" and targets[0]["object"] == before[0]["object"]:
                self.assertEqual(by_call[node["call"]]["width"] > 0, targets[0]["hash"] != before[0]["hash"], node)
        for parameter in ("frame=3", f"at=3:{tree[-1]['number']}"):
            width, height, _ = read_png(self.ask_bytes("thumbnail", self.capture, parameter))
            self.assertLessEqual(max(width, height), 144)

    def test_the_times_are_those_of_the_actions(self):
        times = self.ask("times", self.capture, "frame=3")
        tree = self.ask("actions", self.capture, "frame=3")["tree"]
        self.assertEqual([time["call"] for time in times["actions"]], [node["call"] for node in tree if node["type"] == "action"])
        for one in times["actions"]:
            self.assertGreater(one["doneMs"], 0)
            self.assertGreaterEqual(one["gpuMs"] or 0, 0)
        self.assertEqual(times["failed"], [])


class PicturePage(InBrowser):
    def test_overlays_shaders_times_and_thumbnails_by_keys(self):
        self.show(self.record(FAMILIES, "fragment-tests", "--pbuffer", compositor=False), "3:2/output")
        self.browser.press("2")
        legend = "document.querySelector('#legend').textContent"
        half = SIDE * SIDE // 2
        for key, text in (("x", f"{half} touched"), ("x", "0 of 2 triangles are smaller"), ("x", "on a line"), ("x", f"{half} passed{half} failed"), ("x", "the stencil test is off"),
                          ("x", "the scissor test is off"), ("x", "1\u00D7"), ("x", "differ"), ("X", "1\u00D7")):
            self.browser.press(key)
            self.browser.wait(f"{legend}.includes({json.dumps(text)})")
        # Of another draw it is the same overlay.
        self.browser.press("j")
        self.browser.wait(f"{legend}.includes('{SIDE * SIDE // 4} 2\u00D7')")
        self.browser.press("d")
        self.browser.wait("document.activeElement.id == 'shader-text'")
        self.browser.evaluate("document.activeElement.value = 'vec4 show(ivec2 at) { return vec4(0.0, 1.0, 0.0, oops); }'")
        self.browser.evaluate("document.querySelector('#shader-apply').click()")
        self.browser.wait("/oops/.test(document.querySelector('#shader-log').textContent)")
        self.browser.evaluate("document.querySelector('#shader-text').value = 'vec4 show(ivec2 at) { return vec4(0.0, 1.0, 0.0, 1.0); }'")
        self.browser.evaluate("document.querySelector('#shader-apply').click()")
        self.browser.wait("document.querySelector('#shader-log').hidden && /by the shader/.test(document.querySelector('#value').textContent)")
        self.browser.evaluate("document.querySelector('#tree').focus()")
        self.browser.press("c")
        self.browser.wait("document.querySelectorAll('.row .time').length > 6")
        self.browser.evaluate("document.querySelector('#dearest').click()")
        self.browser.wait("[...document.querySelectorAll('.row.action .time')].map(one => parseFloat(one.textContent))"
                          ".every((ms, i, all) => !i || ms <= all[i - 1]) && !document.querySelector('.row.pass')")
        self.browser.wait("document.querySelectorAll('.row .thumb').length > 5")
        self.browser.wait("document.querySelectorAll('#strip img').length > 7")
        self.assertEqual([line for line in self.browser.console if "400" not in line], [])


if __name__ == "__main__":
    unittest.main()
