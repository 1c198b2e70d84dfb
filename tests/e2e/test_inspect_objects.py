"""playback-inspect: what is taken out of a capture, what became of objects, and a second driver."""

import json
import struct
import unittest

from harness import COMPARE, DIFFERED, FAMILIES, FAULTY_DRIVER, NO_DRIVER, PLAYBACK, SPINNING, TRIM, UNREADABLE, USAGE
from test_inspect import InBrowser, Inspect

ACTIONS = {"textures", "draw-buffers", "compute", "client-arrays", "multisample"}
KTX_HEADER = struct.Struct("<12s13I")


class Exports(Inspect):
    def export(self, capture, at, what="call"):
        self.query("export", capture, f"at={at}", f"what={what}", "-o", "part.glcap")
        return "part.glcap"

    def hashes(self, capture, at):
        return [(target["what"], target.get("hash")) for target in self.ask("targets", capture, f"at={at}")["targets"]]

    def test_a_call_alone_shows_the_same(self):
        for family in sorted(ACTIONS):
            capture = self.record(FAMILIES, family, "--pbuffer", compositor=False, capture=f"{family}.glcap")
            whole = self.info(capture)["callCount"]
            actions = [node for node in self.ask("actions", capture, "frame=5")["tree"] if node["type"] == "action"]
            # Each is exported, replayed and looked at by processes of its own.
            for node in [actions[0], actions[len(actions) // 2], actions[-1]]:
                with self.subTest(family, action=node["text"]):
                    part = self.export(capture, f"5:{node['number']}")
                    last = [one for one in self.ask("actions", part, "frame=1")["tree"] if one["type"] == "action"][-1]
                    self.assertEqual(last["text"], node["text"])
                    self.assertEqual(self.hashes(part, f"1:c{last['call']}"), self.hashes(capture, f"5:{node['number']}"))
                    self.assertLess(self.info(part)["callCount"], whole)
                    self.assertEqual(self.info(part)["frames"], 1)
                    self.run_program(PLAYBACK, "-headless", part)

    def test_what_a_draw_does_not_depend_on_is_left_out(self):
        capture = self.record(FAMILIES, "textures", "--pbuffer", compositor=False)
        draws = [node for node in self.ask("actions", capture, "frame=5")["tree"] if node.get("kind") == "draw"]
        at = f"5:{draws[-1]['number']}"
        sampled = {read["object"] for read in self.ask("inputs", capture, f"at={at}")["inputs"] if read["kind"] == "texture"}
        every = set(self.ask("resources", capture, f"at={at}")["objects"]["textures"])
        part = self.export(capture, at)
        uses = self.ask("uses", part, "frame=1")["objects"]["textures"]
        written = {int(name) for name, calls in uses.items() if any("wrote" in call["does"] for call in calls)}
        self.assertLessEqual(written, sampled)
        self.assertGreater(len(every), len(sampled), "the family has textures that the draw does not sample")
        self.assertEqual(sum(name.startswith("glDraw") for _, _, name, _, _ in self.actions(part)), 1)

    def test_a_frame_alone_and_wrong_requests(self):
        capture = self.record(SPINNING, "--frames", "6", "--pbuffer", compositor=False)
        self.verify(self.export(capture, "4", "frame"), "-headless")
        bind = next(row for row in self.ask("calls", capture, "frame=4")["rows"] if row["text"].startswith("glBind"))
        for words, text in ((("export", f"at=4:c{bind['call']}"), "is no draw, clear, blit, dispatch or copy"),
                            (("export", "at=4:1", "what=all"), "what needs call or frame"),
                            (("vertices", "at=4:1", "format=stl"), "format needs obj or gltf"),
                            (("texture", "at=4:1", "name=1", "format=dds"), "format needs json or ktx")):
            with self.subTest(words):
                self.assertMentions(self.query(*words[:1], capture, *words[1:], status=USAGE), text)
        for words, text in ((["--call", "4"], "--call needs FRAME:CALL"), (["--call", "4:0"], "--call needs FRAME:CALL"),
                            (["--call", "4:1", "--frames", "4"], "do not go together"),
                            (["--call", "99:1"], "expected at least 99")):
            with self.subTest(words):
                self.assertMentions(self.run_program(TRIM, capture, *words, "-o", "x.glcap", status=USAGE), text)
        result = self.run_program(TRIM, capture, "--call", "4:9999", "-o", "x.glcap", status=UNREADABLE)
        self.assertMentions(result, "call 4:9999")
        self.assertFalse((self.dir / "x.glcap").exists())

    def test_files_of_textures_and_meshes(self):
        capture = self.record(SPINNING, "--frames", "4", "--pbuffer", compositor=False)
        inputs = self.ask("inputs", capture, "at=3:3")["inputs"]
        ramp = next(read["object"] for read in inputs if read["name"] == "sampler ramp")
        texture = self.ask("texture", capture, "at=3:3", f"name={ramp}")
        file = self.ask_bytes("texture", capture, "at=3:3", f"name={ramp}", "format=ktx")
        pixels = self.ask_bytes("image", capture, "at=3:3", f"name={ramp}")
        magic, endian, *_, width, height, _, _, faces, levels, keys = KTX_HEADER.unpack_from(file)
        self.assertEqual((magic, endian, faces), (b"\xabKTX 11\xbb\r\n\x1a\n", 0x04030201, 1))
        self.assertEqual(levels, len(texture["images"]))
        self.assertEqual(width * height * 4, len(pixels))
        begin = KTX_HEADER.size + keys
        self.assertEqual(file[begin:begin + 4 + len(pixels)], struct.pack("<I", len(pixels)) + pixels)
        vertices = self.ask("vertices", capture, "at=3:3")
        obj = self.query("vertices", capture, "at=3:3", "format=obj").stdout.splitlines()
        self.assertEqual(sum(line.startswith("v ") for line in obj), vertices["count"])
        gltf = self.ask("vertices", capture, "at=3:3", "format=gltf")
        self.assertEqual(len(gltf["meshes"][0]["primitives"][0]["attributes"]), len(vertices["arrays"]))


class Objects(Inspect):
    def setUp(self):
        super().setUp()
        self.capture = self.record(SPINNING, "--frames", "6", "--pbuffer", compositor=False)

    def test_what_calls_did_with_objects(self):
        inputs = self.ask("inputs", self.capture, "at=3:3")["inputs"]
        draw = self.ask("targets", self.capture, "at=3:3")["call"]
        for read in inputs:
            kind = {"texture": "textures", "buffer": "buffers", "uniform": "programs"}[read["kind"]]
            uses = self.ask("uses", self.capture, "frame=3", f"kind={kind}", f"name={read['object']}")["calls"]
            here = next(use for use in uses if use["call"] == draw)
            self.assertIn("read", here["does"])
            self.assertIn(read["name"] if kind != "programs" else "program", here["as"])
            self.assertEqual([use["call"] for use in uses], sorted(use["call"] for use in uses))
        every = self.ask("uses", self.capture, "frame=3")["objects"]
        rows = self.ask("calls", self.capture, "frame=3", "filter=glUniform")["rows"]
        changes = {use["call"] for uses in every["programs"].values() for use in uses if "changed" in use["does"]}
        self.assertEqual(changes, {row["call"] for row in rows})
        # The same when everything is made in the frame.
        first = self.ask("uses", self.capture, "frame=1")["objects"]
        made = [use["function"] for use in first["programs"][max(first["programs"])] if "made" in use["does"]]
        self.assertEqual(made, ["glCreateProgram"])

    def test_buffers_are_read_by_what_they_mean(self):
        array = next(array for array in self.ask("vertices", self.capture, "at=3:3")["arrays"] if array["buffer"])
        name = f"name={array['buffer']}"
        table = self.ask("buffer", self.capture, "at=3:3", name, "as=vertices")
        vertices = self.ask("vertices", self.capture, "at=3:3")
        column = next(i for i, one in enumerate(table["columns"]) if one["name"] == array["name"])
        place = vertices["arrays"].index(array)
        for row in vertices["rows"]:
            self.assertEqual(table["rows"][row["index"]]["values"][column], row["values"][place])
        declared = self.ask("buffer", self.capture, "at=3:3", name, "as=layout(packed) float all[];", "layout=packed", "count=3")
        numbers = struct.unpack_from("<3f", self.ask_bytes("buffer", self.capture, "at=3:3", name))
        self.assertEqual([row["values"][0][0] for row in declared["rows"]],
                         [float(f"{number:.9g}") if number else 0 for number in numbers])
        for words, text in ((["as=vec3 a; vec9 b;"], 'line 1, column 9: expected a type, found "vec9"'),
                            (["as=float a;", "layout=std999"], "layout needs std140, std430 or packed"),
                            (["as=block:Camera"], "has no block")):
            with self.subTest(words):
                self.assertMentions(self.query("buffer", self.capture, "at=3:3", name, *words, status=USAGE), text)

    def test_blocks_lie_where_the_driver_has_them(self):
        capture = self.record(FAMILIES, "uniform-buffers", "--pbuffer", compositor=False, capture="blocks.glcap")
        draw = next(node for node in self.ask("actions", capture, "frame=3")["tree"] if node.get("kind") == "draw")
        at = f"at=3:{draw['number']}"
        program = self.ask("program", capture, at, f"name={draw['program']}")
        reads = [read for read in self.ask("inputs", capture, at)["inputs"] if read["name"].startswith("block ")]
        self.assertTrue(reads and program["blocks"])
        for read in reads:
            name = read["name"].removeprefix("block ")
            block = next(one for one in program["blocks"] if one["name"] == name)
            table = self.ask("buffer", capture, at, f"name={read['object']}", f"as=block:{name}")
            offsets = {column["name"].replace("[0]", ""): column["offset"] for column in table["columns"]}
            for variable in block["variables"]:
                self.assertEqual(offsets[variable["name"].replace("[0]", "")], variable["offset"])
            self.assertTrue(all(table["rows"][0]["values"]))

    def test_state_against_another_capture_and_what_is_unused(self):
        other = self.record(SPINNING, "--frames", "3", "--pbuffer", compositor=False, capture="other:1.glcap")
        state = self.ask("state", self.capture, "at=3:1", "against=other:1.glcap:3:1", "--against", other)
        self.assertEqual((state["againstFile"], state["against"]), (other, "3:1"))
        self.assertEqual([one for one in state["differences"] if not one.get("object")], [])
        # Only what the command line names is read.
        self.assertMentions(self.query("state", self.capture, "at=3:1", f"against={self.dir}/other:1.glcap:3:1", status=USAGE),
                            "expected a place")
        unused = {one["state"]: one["why"] for one in self.ask("unused", self.capture, "at=3:1")["unused"]
                  if "object" not in one}
        state = self.ask("state", self.capture, "at=3:1")["state"]
        self.assertLessEqual(set(unused), set(state))
        self.assertTrue(all("clear" in why for name, why in unused.items() if "CLEAR_VALUE" in name))
        self.assertNotIn("GL_CURRENT_PROGRAM", unused)


class SecondDriver(Inspect):
    def setUp(self):
        super().setUp()
        self.capture = self.record(FAMILIES, "textures", "--pbuffer", compositor=False)
        self.side = ("--b-driver", FAULTY_DRIVER, "--b-env", "PLAYBACK_FAULT=draw:7")

    def test_the_first_wrong_draw_is_found_and_shown(self):
        answer = self.ask("wrong", self.capture, *self.side)
        self.run_program(COMPARE, *self.side, "--json", "result.json", self.capture, status=DIFFERED)
        wrong = json.loads((self.dir / "result.json").read_text())["firstWrong"]
        self.assertEqual(answer["at"], f"{wrong['frame']}:{wrong['number']}")
        here = self.ask("difference", self.capture, f"at={answer['at']}", *self.side)
        self.assertEqual(here["pixels"], wrong["difference"]["pixels"])
        before = self.ask("difference", self.capture, f"at=1:c{wrong['lastRight']['call']}", *self.side)
        self.assertEqual((before["pixels"], before["a"]), (0, before["b"]))
        sides = [self.ask("targets", self.capture, f"at={answer['at']}", f"side={side}", *self.side) for side in "ab"]
        self.assertNotEqual(sides[0]["targets"][0]["hash"], sides[1]["targets"][0]["hash"])
        equal = self.ask("wrong", self.capture, "--b-env", "NOTHING=1")
        self.assertEqual((equal["result"]["verdict"], "at" in equal), ("equal", False))

    def test_what_is_wrong_with_a_second_driver_is_said(self):
        for words, status, text in ((["difference", self.capture, "at=1:1"], USAGE, "there is no second driver"),
                                    (["targets", self.capture, "at=1:1", "side=c"], USAGE, "side needs a or b"),
                                    (["targets", self.capture, "at=1:1", "side=b", "--b-driver", "nowhere"], NO_DRIVER, "nowhere"),
                                    (["wrong", self.capture, "--b-driver", "nowhere"], NO_DRIVER, "nowhere"),
                                    (["capture", self.capture, "--b-env", "novalue"], USAGE, "--b-env needs NAME=VALUE")):
            with self.subTest(words):
                self.assertMentions(self.query(*words, status=status), text)

    def test_the_search_goes_on_in_the_background(self):
        self.serve(self.capture, *self.side)
        answer = self.get("wrong")
        while not answer["isDone"]:
            answer = self.get("wrong")
        self.assertRegex(answer["at"], r"^1:")
        self.assertEqual(self.request(f"{self.path}api/picture?at={answer['at']}&side=b")[0], 200)


class Page(InBrowser):
    def detail(self):
        return self.browser.evaluate("document.querySelector('#detail').innerText")

    def test_an_object_leads_to_its_calls_and_back(self):
        capture = self.record(SPINNING, "--frames", "6", "--pbuffer", compositor=False)
        ramp = next(read["object"] for read in self.ask("inputs", capture, "at=4:3")["inputs"] if read["name"] == "sampler ramp")
        self.serve(capture)
        self.look(f"4:3/resources/textures/{ramp}")
        self.browser.wait("document.querySelectorAll('ol.uses li').length > 0")
        uses = json.loads(self.request(f"{self.path}api/uses?frame=4&kind=textures&name={ramp}")[2])["calls"]
        self.assertEqual(self.browser.evaluate("[...document.querySelectorAll('ol.uses button')].map(one => one.textContent)"),
                         [f"c{use['call']} {use['function']}" for use in uses])
        self.browser.evaluate("document.querySelector('ol.uses button').click()")
        self.browser.wait(f"document.querySelector('#place').value == '{self.get('targets', at='4:c%d' % uses[0]['call'])['at']}'")
        # A name that one gives is kept, and shown where the object is named.
        self.browser.wait("document.querySelector('[aria-label=\"Your name for the object\"]') !== null")
        self.browser.evaluate("(field => { field.value = 'my ramp'; field.dispatchEvent(new Event('change')); })"
                              "(document.querySelector('[aria-label=\"Your name for the object\"]'))")
        self.look("4:3/inputs")
        self.browser.wait("/my ramp/.test(document.querySelector('#detail').innerText)")
        self.assertEqual(self.browser.console, [])

    def test_both_drivers_are_shown_and_the_wrong_draw_is_gone_to(self):
        capture = self.record(FAMILIES, "textures", "--pbuffer", compositor=False)
        self.serve(capture, "--b-driver", FAULTY_DRIVER, "--b-env", "PLAYBACK_FAULT=draw:7")
        self.look("1:1/compare")
        self.browser.wait("/Both are the same/.test(document.querySelector('#detail').innerText)")
        self.browser.evaluate("[...document.querySelectorAll('#detail button')].find(one => one.textContent == 'First wrong draw').click()")
        self.browser.wait("/pixels .* differ/.test(document.querySelector('#detail').innerText)")
        wrong = self.get("wrong", wait=1)["at"]
        self.assertEqual(self.browser.evaluate("document.querySelector('#place').value"), wrong)
        self.browser.wait("[...document.querySelectorAll('.pair img')].every(one => one.naturalWidth > 0)")
        self.assertEqual(self.browser.console, [])

    def test_buffers_by_a_declaration_and_exports(self):
        capture = self.record(SPINNING, "--frames", "6", "--pbuffer", compositor=False)
        array = next(one for one in self.ask("vertices", capture, "at=4:3")["arrays"] if one["buffer"])
        self.serve(capture)
        self.look(f"4:3/resources/buffers/{array['buffer']}")
        choose = "(field => { field.value = '%s'; field.dispatchEvent(new Event('change')); })(document.querySelector('[aria-label=\"What the bytes mean\"]'))"
        self.browser.wait("document.querySelector('[aria-label=\"What the bytes mean\"]') !== null")
        self.browser.evaluate(choose % "vertices")
        self.browser.wait(f"document.querySelector('#detail').innerText.includes('{array['name']}')")
        self.browser.evaluate(choose % "declaration")
        self.browser.wait("document.querySelector('#detail textarea') !== null")
        self.browser.evaluate("document.querySelector('#detail textarea').value = 'vec9 wrong;'; "
                              "[...document.querySelectorAll('#detail button')].find(one => one.textContent == 'Show').click()")
        self.browser.wait("/line 1, column 1: expected a type/.test(document.querySelector('#detail').innerText)")
        self.browser.press("w")
        self.browser.wait("document.querySelector('#exports').open")
        self.browser.evaluate("[...document.querySelectorAll('#exports button')].find(one => one.textContent == 'This call alone').click()")
        self.browser.wait("/4-3.glcap, \\d+ bytes/.test(document.querySelector('#exports').innerText)")
        # The declaration that was refused is all that the console has.
        self.assertTrue(all("400" in line for line in self.browser.console), self.browser.console)

    def test_text_of_a_capture_stays_text_wherever_it_is_shown(self):
        """Labels, markers, shader sources and the command line hold markup."""
        capture = self.record("bash", "-c", f"exec -a '<script>document.title=\"owned\"</script>' {FAMILIES} debug-labels --pbuffer",
                              compositor=False)
        labels = self.ask("labels", capture)["labels"]
        kind, name = next((kind, name) for kind, names in labels.items() for name, label in names.items() if "onerror" in label)
        program = max(self.ask("resources", capture, "at=2:1")["objects"]["programs"], key=int)
        self.serve(capture)
        for fragment, text in ((f"2:1/resources/{kind}/{name}", "onerror"), (f"2:1/resources/programs/{program}", "gl_Position"),
                               ("2:1/state", "GL_"), ("2:1/call", "glDraw"), ("2:1/compare", "no second driver")):
            with self.subTest(fragment):
                self.look(fragment)
                self.browser.wait(f"document.querySelector('#detail').innerText.includes('{text}')")
                self.assertEqual(self.browser.evaluate("document.title").split()[0], "2:1")
                self.assertEqual(self.browser.evaluate("document.querySelectorAll('img[src=x], body script').length"), 0)
        self.assertEqual(self.browser.console, [])


class Refusals(Inspect):
    def test_nothing_but_the_capture_is_read(self):
        """Paths of a request are names of what the server knows, and not of files."""
        capture = self.record(SPINNING, "--frames", "3", "--pbuffer", compositor=False)
        self.serve(capture)
        base = f"{self.path}api"
        for path in ("state?at=1:1&against=/etc/passwd:1:1", "state?at=1:1&against=../recorded.glcap:1:1", "export?at=1:1&what=/etc/passwd",
                     "call?at=/etc/passwd", "..%2f..%2fetc%2fpasswd", "%2e%2e/main.js", "state%00?at=1:1", "buffer?at=1:1&name=../1",
                     "image?at=1:1&name=1&index=-1", "pixels?at=1:1&index=99999999999999999999", "targets?at=1:1&side=../b"):
            with self.subTest(path):
                status, _, body = self.request(f"{base}/{path}")
                self.assertIn(status, (400, 404), body)
                self.assertNotIn(b"root:", body)
        for method in ("POST", "PUT", "DELETE", "OPTIONS"):
            for path in ("export?at=1:1", "state?at=1:1"):
                self.assertEqual(self.request(f"{base}/{path}", method, Content_Length="0")[0], 404)
        self.assertEqual(self.request(f"{base}/close", "POST", Origin="null")[0], 403)
        self.assertEqual(self.request("/0123/api/close", "POST")[0], 403)
        self.assertEqual(self.request(f"{base}/capture")[0], 200)


if __name__ == "__main__":
    unittest.main()
