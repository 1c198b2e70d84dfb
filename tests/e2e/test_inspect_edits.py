"""playback-inspect: frames with shaders that were edited, experiments with draws, vertices after the vertex shader."""

import collections
import json
import unittest

import test_inspect
from harness import FAMILIES, SAMPLE, USAGE

RED = "precision mediump float; void main() { gl_FragColor = vec4(1.0, 0.0, 0.0, 1.0); }"
WRONG = "precision mediump float;\n\nvoid main() { gl_FragColor = vec4(colour, 1.0); }\n"
# Draws of the sample's frame 3: a star to a texture, the sky, the cube with that texture, and a veil that is blended.
STAR, SKY, CUBE, VEIL = "3:1", "3:2", "3:3", "3:4"


class Edits(test_inspect.Inspect):
    """Of the sample, through a server."""

    def setUp(self):
        super().setUp()
        self.serve(SAMPLE)
        self.painter, self.cube = (self.get("inputs", at=at)["programs"][0] for at in (SKY, CUBE))

    def set(self, *edits, status=200, at=CUBE):
        body = json.dumps({"edits": edits})
        answer = self.request(f"{self.path}api/edits?at={at}", "POST", body, Content_Type="application/json")
        self.assertEqual(answer[0], status, answer[2])
        return json.loads(answer[2])

    def hash(self, at, **more):
        """Of the first image that the call could write to."""
        return self.get("targets", at=at, **more)["targets"][0]["hash"]

    def pixels(self, at, **more):
        """Of the same, each as four bytes."""
        more = "".join(f"&{name}={value}" for name, value in more.items())
        data = self.request(f"{self.path}api/pixels?at={at}&index=0{more}")[2]
        return [data[i:i + 4] for i in range(0, len(data), 4)]

    def source(self, program, kind):
        shaders = json.loads(self.request(f"{self.path}api/program?at={CUBE}&name={program}")[2])["shaders"]
        return next(shader for shader in shaders if shader["type"] == f"GL_{kind}_SHADER")

    def shader(self, program, source, kind="FRAGMENT"):
        return {"kind": "shader", "program": program, "type": f"GL_{kind}_SHADER", "source": source}

    def test_a_shader_is_replaced_and_comes_back(self):
        places = STAR, SKY, CUBE, VEIL
        recorded = {at: self.hash(at) for at in places}
        self.set(self.shader(self.painter, RED))
        self.assertEqual(self.source(self.painter, "FRAGMENT")["edited"], RED)
        self.assertEqual(set(self.pixels(SKY)), {bytes((255, 0, 0, 255))})
        edited = {at: self.hash(at) for at in places}
        self.assertTrue(all(edited[at] != recorded[at] for at in places))
        self.assertEqual({at: self.hash(at, edited=0) for at in places}, recorded)
        # Another frame has its edits from its own start on.
        self.assertEqual(set(self.pixels("2:2")), {bytes((255, 0, 0, 255))})
        self.set()
        self.assertEqual({at: self.hash(at) for at in reversed(places)}, dict(reversed(recorded.items())))
        self.assertNotIn("edited", self.source(self.painter, "FRAGMENT"))

    def test_what_stands_in_takes_over_values_and_locations(self):
        recorded = {at: self.hash(at) for at in (SKY, CUBE, VEIL)}
        # The same shaders, in another order of what they declare.
        turned = []
        for program in self.painter, self.cube:
            for kind in "VERTEX", "FRAGMENT":
                text = self.source(program, kind)["source"]
                head, main = text.split("void main()")
                precision, *declared = [part.strip() for part in head.split(";") if part.strip()]
                lines = [precision, *reversed(declared)] if kind == "FRAGMENT" else [*reversed(declared), precision]
                turned.append(self.shader(program, ";\n".join(lines) + ";\nvoid main()" + main, kind))
        self.set(*turned)
        self.assertEqual({at: self.hash(at) for at in recorded}, recorded)

    def test_errors_have_their_lines_and_leave_what_was(self):
        recorded = self.hash(CUBE)
        self.set(self.shader(self.painter, RED))
        edited = self.hash(CUBE)
        fault = self.set(self.shader(self.painter, WRONG), status=400)
        self.assertEqual((fault["edit"], fault["type"]), (0, "GL_FRAGMENT_SHADER"))
        self.assertEqual(fault["errors"][0]["line"], 3)
        self.assertIn("colour", fault["errors"][0]["text"])
        for edit in ({"kind": "skipp"}, {"kind": "skip", "at": "999:1"}, self.shader(self.painter, RED, "COMPUTE"),
                     self.shader(self.painter, "attribute vec4 x; void main() { gl_Position = vec4(y); }", "VERTEX")):
            self.set(edit, status=400)
        self.assertEqual(self.hash(CUBE), edited)
        self.set()
        self.assertEqual(self.hash(CUBE), recorded)
        self.assertEqual(self.request(f"{self.path}api/edits?at={CUBE}", "POST", "{", Content_Type="text/plain")[0], 400)
        self.assertEqual(self.request(f"/x/api/edits?at={CUBE}", "POST", "{}")[0], 403)

    def test_experiments_change_what_they_say(self):
        before, recorded = self.pixels(SKY), self.pixels(CUBE)
        drawn = {i for i, pixel in enumerate(recorded) if pixel != before[i]}
        for edit in {"kind": "skip", "at": CUBE}, {"kind": "scissor", "at": CUBE}:
            # The cube does not reach the corner.
            self.set(edit)
            self.assertEqual(self.pixels(CUBE), before)
        self.set({"kind": "simple", "at": CUBE})
        changed = self.pixels(CUBE)
        self.assertEqual({i for i, pixel in enumerate(changed) if pixel != before[i]}, drawn)
        self.assertEqual({changed[i] for i in drawn}, {bytes((255, 0, 255, 255))})
        self.set({"kind": "textures", "at": CUBE})
        changed = self.pixels(CUBE)
        self.assertTrue(all(changed[i][0] == changed[i][1] == changed[i][2] for i in drawn))
        self.assertNotEqual(changed, recorded)
        # For the frame: one pixel of the sky is left.
        self.set({"kind": "scissor"})
        counts = collections.Counter(self.pixels(SKY))
        self.assertEqual(sorted(counts.values()), [1, len(before) - 1])
        veil = self.pixels(VEIL, edited=0)
        self.set({"kind": "no-blending", "at": VEIL})
        self.assertIn(bytes((255, 255, 255, 89)), self.pixels(VEIL))
        self.set()
        self.assertEqual((self.pixels(CUBE), self.pixels(VEIL)), (recorded, veil))

    def test_vertices_after_the_shader_are_what_it_computes(self):
        for at, matrices in ((STAR, ["turn"]), (CUBE, ["view", "model"])):
            values = {read["name"]: read["values"] for read in self.get("inputs", at=at)["inputs"] if read["kind"] == "uniform"}
            given, shaded = self.get("vertices", at=at), self.get("vertices", at=at, shaded=1, first=2)
            self.assertEqual(shaded["arrays"][0]["name"], "gl_Position")
            self.assertEqual(len(shaded["rows"]), given["count"] - 2)
            position = [array["name"] for array in given["arrays"]].index("position")
            for before, after in zip(given["rows"][2:], shaded["rows"]):
                self.assertEqual(before["index"], after["index"])
                expected = (before["values"][position] + [0, 1])[:4] if len(matrices) == 1 else before["values"][position] + [1]
                for matrix in reversed(matrices):
                    expected = product(values[matrix], expected)
                for got, wanted in zip(after["values"][0], expected):
                    self.assertAlmostEqual(got, wanted, 4)
        # Nothing is left behind by asking.
        self.assertEqual(self.hash(VEIL), self.get("targets", at=VEIL, edited=0)["targets"][0]["hash"])
        text = self.source(self.cube, "VERTEX")["source"].replace("view * model", "2.0 * view * model")
        self.set(self.shader(self.cube, text, "VERTEX"))
        doubled, plain = (self.get("vertices", at=CUBE, shaded=1, edited=edited)["rows"][0]["values"][0] for edited in (1, 0))
        self.assertEqual(doubled, [2 * value for value in plain])


def product(matrix, vector):
    """Column by column; a 2x2 matrix turns the first two."""
    side = 2 if len(matrix) == 4 else 4
    turned = [sum(matrix[column * side + row] * vector[column] for column in range(side)) for row in range(side)]
    return turned + vector[side:]


class Kinds(test_inspect.Inspect):
    """Of what the sample does not do."""

    def capture(self, family):
        return self.record(FAMILIES, family, "--pbuffer", compositor=False)

    def draws(self, capture, frame=2):
        return [f"{frame}:{node['number']}" for node in self.ask("actions", capture, f"frame={frame}")["tree"]
                if node.get("kind") == "draw"]

    def test_pipelines_and_blocks(self):
        for family in "pipelines", "uniform-buffers":
            capture = self.capture(family)
            for at in self.draws(capture)[:2]:
                programs = self.ask("inputs", capture, f"at={at}")["programs"]
                self.assertTrue(programs)
                recorded = self.ask("targets", capture, f"at={at}")["targets"][0]["hash"]
                for program in programs:
                    for shader in self.ask("program", capture, f"at={at}", f"name={program}")["shaders"]:
                        (self.dir / "same").write_text(shader["source"] + "\n")
                        (self.dir / "none").write_text(shader["source"].replace("void main() {", "void main() { if (true) return;"))
                        stage = shader["type"].removeprefix("GL_").removesuffix("_SHADER").lower()
                        same, none = (self.ask("targets", capture, f"at={at}", "--edit", f"{program}:{stage}={self.dir / file}")
                                      ["targets"][0]["hash"] for file in ("same", "none"))
                        self.assertEqual(same, recorded)
                        self.assertNotEqual(none, recorded)

    def test_instances_are_told_apart(self):
        capture = self.capture("uniform-buffers")
        at = next(at for at in self.draws(capture) if "Instanced" in self.ask("targets", capture, f"at={at}")["function"])
        corners = []
        for instance in range(2):
            rows = self.ask("vertices", capture, f"at={at}", "shaded=1", f"instance={instance}")["rows"]
            across = [row["values"][0][0] for row in rows]
            corners.append([x - sum(across) / len(across) for x in across])
        # Sizes of 0.3 and 0.5.
        for small, large in zip(*corners):
            self.assertAlmostEqual(3 * large, 5 * small, 4)
        self.assertMentions(self.query("vertices", capture, f"at={at}", "shaded=1", "instance=99", status=USAGE), "instance 99")

    def test_uniforms_of_blocks_are_read_from_their_buffers(self):
        capture = self.capture("uniform-buffers")
        at = self.draws(capture)[0]
        program = self.ask("inputs", capture, f"at={at}")["programs"][0]
        values = {one["name"]: one for one in self.ask("program", capture, f"at={at}", f"name={program}")["uniforms"]}
        self.assertEqual(values["sizes[0]"]["block"], "Place")
        for name, expected in (("sizes[0]", [0.3, 0.5, 0.7]), ("offset", [0.3 * values["turn"]["values"][1], -0.2]),
                               ("Paint.colour", [0.9, 0.3, 0.2, 1])):
            for got, wanted in zip(values[name]["values"], expected, strict=True):
                self.assertAlmostEqual(got, wanted, 5)

    def test_binaries_have_no_sources(self):
        capture = self.capture("program-binaries")
        at = self.draws(capture)[1]
        program = self.ask("inputs", capture, f"at={at}")["programs"][0]
        self.assertEqual(self.ask("program", capture, f"at={at}", f"name={program}")["shaders"], [])
        self.assertMentions(self.query("vertices", capture, f"at={at}", "shaded=1", status=USAGE), "loaded from a binary")

    def test_feedback_goes_on_around_what_is_caught(self):
        capture = self.capture("transform-feedback")
        draws = self.draws(capture)
        self.assertMentions(self.query("vertices", capture, f"at={draws[0]}", "shaded=1", status=USAGE), "a query counts")
        caught = self.ask("vertices", capture, f"at={draws[3]}", "shaded=1")
        self.assertEqual([array["name"] for array in caught["arrays"]], ["gl_Position", "corner", "paint"])
        self.assertEqual(caught["rows"][0]["values"][0], [2, 2, 0, 1])


class Page(test_inspect.InBrowser):
    def wait(self, script):
        self.browser.wait(f"!document.body.classList.contains('busy') && {script}")

    def click(self, name):
        self.browser.evaluate(f"[...document.querySelectorAll('#detail button')].find(one => (one.ariaLabel ?? one.textContent) === '{name}').click()")

    def type(self, text):
        self.browser.evaluate(f"document.querySelector('.CodeMirror').CodeMirror.setValue({json.dumps(text)})")

    def test_a_shader_is_edited_and_experiments_are_tried(self):
        self.show(SAMPLE, f"{SKY}/shaders")
        changes = "document.querySelector('#edited').textContent"
        middle = "[...document.querySelector('#view canvas').getContext('2d').getImageData(200, 150, 1, 1).data].join()"
        self.wait("!!document.querySelector('.CodeMirror-line')")
        self.type(WRONG)
        self.click("Apply")
        self.wait("/line 3/.test(document.querySelector('.faults')?.textContent)")
        self.assertEqual(self.browser.evaluate("[...document.querySelectorAll('.wrong .CodeMirror-linenumber')].map(one => one.textContent)"), ["3"])
        self.type(RED)
        self.click("Apply")
        self.wait(f"{changes} === '1 change' && {middle} === '255,0,0,255'")
        self.click("Skip it, this call")
        self.wait(f"{changes} === '2 changes' && {middle} !== '255,0,0,255'")
        self.click("Measure")
        self.wait("/^this call\\t\\d+\\.\\d+\\t0\\.000/m.test(document.querySelector('.costs').innerText)")
        # What is below the sky has one colour, whereas the sky's depends on the place.
        is_sky = f"{middle} !== '255,0,0,255' && {middle} !== '{self.browser.evaluate(middle)}'"
        self.browser.evaluate("document.querySelector('#detail').focus()")
        self.browser.press("p")
        self.wait(f"{changes} === '2 changes, not shown' && {is_sky}")
        self.browser.press("u")
        self.wait(f"document.querySelector('#edited').hidden && {is_sky}")
        # The browser notes that the server refused the wrong source, and how this test reads its canvas.
        self.assertEqual([line for line in self.browser.console if "status of 400" not in line and "Canvas2D" not in line], [])

    def test_a_mesh_is_shown_before_and_after_the_shader(self):
        self.show(SAMPLE, f"{CUBE}/mesh")
        self.wait("/position/.test(document.querySelector('.mesh thead')?.textContent)")
        self.click("After it")
        self.wait("/gl_Position/.test(document.querySelector('.mesh thead')?.textContent)")
        self.assertRegex(self.browser.evaluate("""(() => {
            const canvas = document.querySelector("canvas.mesh"), { x, y, width, height } = canvas.getBoundingClientRect();
            for (let clientY = y; clientY < y + height; clientY += 8)
                for (let clientX = x; clientX < x + width; clientX += 8) {
                    canvas.dispatchEvent(new PointerEvent("pointermove", { clientX, clientY }));
                    if (/index/.test(canvas.nextSibling.textContent)) return canvas.nextSibling.textContent;
                }
        })()"""), r"^vertex \d+, index \d+, instance 0: -?\d")
        self.assertNotIn("false", self.browser.evaluate("document.querySelector('#detail').innerText"))
        self.assertEqual(self.browser.console, [])


if __name__ == "__main__":
    unittest.main()
