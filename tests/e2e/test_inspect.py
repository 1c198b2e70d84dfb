"""playback-inspect: what it answers to scripts, whom it refuses, and its page in a browser."""

import contextlib
import http.client
import json
import unittest
import urllib.parse

from browser import Browser
from harness import (BUILD, FAMILIES, FAULTY_DRIVER, INFO, INSPECT, NO_DRIVER, PATIENCE_S, PLAYBACK, ROOT, SPINNING,
                     UNREADABLE, USAGE, EndToEndTest)
from images import read_png


class Inspect(EndToEndTest):
    server = None

    def tearDown(self):
        self.stop()
        super().tearDown()

    def stop(self):
        """Ends the server, which takes its files and processes with it."""
        if self.server and self.server.poll() is None:
            self.server.terminate()
            self.server.wait(PATIENCE_S)

    def serve(self, capture, *options, **environment):
        """Starts a server: its host, and the path that all its addresses begin with."""
        self.temporary = self.dir / "temporary"
        self.temporary.mkdir(exist_ok=True)
        self.server = self.start_program(INSPECT, *options, capture, TMPDIR=str(self.temporary), **environment)
        output = self.dir / "playback-inspect.out"
        self.wait_for(lambda: output.read_text().endswith("\n"), "the server's address")
        self.address = output.read_text().strip()
        parts = urllib.parse.urlsplit(self.address)
        self.host, self.path = parts.netloc, parts.path

    def request(self, path, method="GET", sent="", **headers):
        """(status, headers, body) of a request to the server, with what is sent after its headers."""
        with contextlib.closing(http.client.HTTPConnection(self.host, timeout=PATIENCE_S)) as connection:
            connection.putrequest(method, path, skip_host="Host" in headers)
            for name, value in headers.items():
                connection.putheader(name.replace("_", "-"), value)
            if sent:
                connection.putheader("Content-Length", len(sent))
            connection.endheaders(sent.encode() or None)
            answer = connection.getresponse()
            return answer.status, answer.headers, answer.read()

    def get(self, name, **parameters):
        status, _, body = self.request(f"{self.path}api/{name}?{urllib.parse.urlencode(parameters)}")
        self.assertEqual(status, 200, body)
        return json.loads(body)


class Queries(Inspect):
    def setUp(self):
        super().setUp()
        self.capture = self.record(SPINNING, "--frames", "6", "--pbuffer", compositor=False)

    def test_frames_and_calls_are_those_of_the_capture(self):
        info = self.info(self.capture)
        frames = self.ask("frames", self.capture)
        self.assertEqual((frames["total"] - frames["hasRest"], sum(frames["calls"])), (6, info["callCount"]))
        dump = self.run_program(INFO, "--dump", "--frames", "3", "--calls", "?*", self.capture).stdout.splitlines()
        calls = self.ask("calls", self.capture, "frame=3")
        self.assertEqual(calls["total"], len(dump))
        for row, line in zip(calls["rows"], dump):
            action = f"#{row['number']}" if "number" in row else ""
            self.assertEqual(line, f"3:{row['call']}{action} t{row['thread']} c{row['context']} {row['text']}")
        some = self.ask("calls", self.capture, "frame=3", "filter=DRAW", "around=9999")
        self.assertEqual(some["total"], sum("draw" in line.lower() for line in dump))
        self.assertEqual(some["indexOfCall"], some["total"] - 1)
        draws = [node for node in self.ask("actions", self.capture, "frame=3")["tree"] if node.get("kind") == "draw"]
        self.assertEqual(len(draws), frames["draws"][2])

    def test_state_is_that_in_front_of_the_call(self):
        draw = self.ask("state", self.capture, "at=3:1")
        info = json.loads(self.run_program(INFO, "--state", f"3:{draw['beforeCall']}", self.capture).stdout)
        self.assertEqual({key: draw[key] for key in info}, info)
        earlier = self.ask("state", self.capture, "at=3:1", "against=2:1")
        changed = json.loads(self.run_program(INFO, "--json", "--state", f"3:{draw['beforeCall']}", "--against",
                                              f"2:{self.ask('targets', self.capture, 'at=2:1')['call']}", self.capture).stdout)
        self.assertEqual(earlier["differences"], changed)

    def test_the_call_that_set_a_value_is_named(self):
        values = self.ask("state", self.capture, "at=3:1")["state"]
        setters = self.ask("setters", self.capture, "at=3:1")["state"]
        functions = {"GL_CURRENT_PROGRAM": "glUseProgram", "GL_BLEND_SRC_RGB": "glBlendFunc", "GL_VIEWPORT": "glViewport",
                     "texture[GL_TEXTURE1][GL_TEXTURE_2D]": "glBindTexture"}
        self.assertEqual({name: self.ask("call", self.capture, f"at={setters[name]}")["name"] for name in functions}, functions)
        for name, place in setters.items():
            frame, call = place.split(":c")
            after = self.run_program(INFO, "--state", f"{frame}:{int(call) + 1}", self.capture).stdout
            self.assertEqual(json.loads(after)["state"][name], values[name], f"{name} after {place}")

    def test_pictures_are_those_of_a_replay(self):
        self.run_program(PLAYBACK, "-headless", "-screenshots", "3", "-screenshotformat", "png", self.capture)
        shot = read_png(next(self.dir.glob("*.png")))
        # The frame's last call swaps, which may take the picture away.
        last = self.ask("actions", self.capture, "frame=3")["tree"][-1]
        self.assertEqual(read_png(self.ask_bytes("picture", self.capture, f"at=3:{last['number']}")), shot)

    def test_the_example_finds_what_it_looks_for(self):
        found = self.run_program("python3", ROOT / "docs/examples/without_mipmaps.py", self.capture, 3,
                                 PATH=f"{BUILD}/bin:/usr/bin:/bin").stdout
        inputs = self.ask("inputs", self.capture, "at=3:3")["inputs"]
        ramp = next(read["object"] for read in inputs if read["name"] == "sampler ramp")
        self.assertIn("3:3 glDrawElements(", found)
        self.assertIn(f": sampler ramp, texture {ramp}\n", found)
        # The page asks for pictures that may not be there.
        none = self.ask_bytes("image", self.capture, "at=3:3", f"name={ramp}", "index=99", "format=png", "placeholder=1")
        self.assertEqual(read_png(none)[:2], (1, 1))

    def test_wrong_requests_say_what_is_wrong(self):
        for words, text in ((("state",), "at is missing"), (("state", "at=3:99"), "frame 3 has 7 actions, the last one 4, and"),
                            (("state", "at=x"), "expected a place"), (("targets", "at=99:1"), "there is no frame 99"),
                            (("stat",), 'there is no query "stat"; did you mean state?'),
                            (("pixels", "at=3:1", "index=77"), "index needs a number below"),
                            (("pixel", "at=3:1", "x=5", "y=100000"), "has no pixel 5,100000"),
                            (("texture", "at=3:1", "name=4711"), "no such texture"),
                            (("overlay", "at=3:1", "kind=\udcff"), "there is no overlay")):
            with self.subTest(words):
                name, *parameters = words
                self.assertMentions(self.query(name, self.capture, *parameters, status=USAGE), text)
        (self.dir / "none.glcap").write_text("none")
        self.query("frames", "none.glcap", status=UNREADABLE)

    def test_a_crash_names_its_call_and_costs_the_replay_only(self):
        draws = [node for node in self.ask("actions", self.capture, "frame=1")["tree"]
                 if node.get("text", "").startswith("glDrawArrays(")]
        result = self.query("targets", self.capture, "at=2:1", "--driver", FAULTY_DRIVER, status=NO_DRIVER,
                            PLAYBACK_FAULT=f"crash:{len(draws)}")
        self.assertMentions(result, f"crashed in call 1:{draws[-1]['call']} glDraw")


class Serving(Inspect):
    def setUp(self):
        super().setUp()
        self.capture = self.record(SPINNING, "--frames", "6", "--pbuffer", compositor=False)
        self.serve(self.capture)

    def test_others_are_refused(self):
        good = f"{self.path}api/capture"
        self.assertEqual(self.request(good)[0], 200)
        self.assertEqual(self.request(good, Host="localhost:1234", Origin="http://localhost:1234")[0], 200)
        token = self.path.strip("/")
        other = token[:-1] + ("1" if token.endswith("0") else "0")
        for path, headers in (("/api/capture", {}), (f"/{other}/api/capture", {}), (f"/{token}", {}), ("//api/capture", {}),
                              (good, {"Host": "rebound.example"}), (good, {"Host": "127.0.0.1.rebound.example"}),
                              (good, {"Origin": "http://elsewhere.example"}), (good, {"Origin": "null"}),
                              (good, {"Host": "localhost", "Origin": f"http://{self.host}"})):
            with self.subTest(path=path, **headers):
                status, answer, body = self.request(path, **headers)
                self.assertEqual(status, 403, body)
                self.assertNotIn("Access-Control-Allow-Origin", answer)
        for path in ("../../etc/passwd", "%2e%2e/%2e%2e/etc/passwd", "/etc/passwd", "main.js/../../x", "api/../../x", "Pages.h", "api/"):
            with self.subTest(path):
                status, _, body = self.request(self.path + path)
                self.assertIn(status, (400, 403, 404))
                self.assertNotIn(b"root:", body)
        self.assertEqual(self.request(f"{self.path}api/close", "POST", Origin="http://elsewhere.example")[0], 403)
        self.assertEqual(self.request(good)[0], 200)

    def test_the_page_may_run_its_own_files_only(self):
        status, headers, page = self.request(self.path)
        self.assertEqual((status, headers["X-Content-Type-Options"]), (200, "nosniff"))
        self.assertIn("default-src 'none'; script-src 'self'", headers["Content-Security-Policy"])
        self.assertNotRegex(page.decode(), r"<script(?![^>]*src=\"[a-z]+\.js\")|style=|\son[a-z]+=|https?:")

    def test_it_ends_when_it_is_asked_to(self):
        self.assertEqual(self.request(f"{self.path}api/close", "POST")[0], 200)
        self.assertEqual(self.server.wait(PATIENCE_S), 0)
        self.serve(self.capture)
        self.get("targets", at="3:1")
        self.server.terminate()
        self.assertEqual(self.server.wait(PATIENCE_S), 0)
        self.assertEqual(list(self.temporary.iterdir()), [])

    def test_the_way_back_shows_the_same(self):
        """Also when the frame begins with a snapshot meanwhile."""
        forwards = {at: self.get("targets", at=at) for at in ("4:0.2", "4:1", "4:3")}
        state = self.get("state", at="4:3")

        def has_snapshot():
            # What was asked for is kept, and not replayed again.
            for call in range(1, forwards["4:3"]["call"]):
                self.get("inputs", at=f"4:c{call}")
            return self.get("targets", at="4")["hasSnapshot"]

        self.wait_for(has_snapshot, "a snapshot of the frame")
        for at in ("4:3", "4:1", "4:0.2"):
            call = forwards[at]["call"]
            self.assertEqual(self.get("inputs", at=at), self.ask("inputs", self.capture, f"at={at}"))
            if at == "4:1":
                self.assertEqual(self.get("targets", at=f"4:c{call - 1}")["targets"], forwards["4:0.2"]["targets"])
        whole = self.ask("state", self.capture, "at=4:2")
        self.assertEqual(self.get("state", at="4:2"), whole)
        self.assertEqual(self.get("state", at="4:3"), state)

    def test_history_of_a_pixel_is_what_its_image_shows(self):
        actions = [f"4:{node['number']}" for node in self.get("actions", frame=4)["tree"] if node["type"] == "action"]
        targets = {at: self.get("targets", at=at)["targets"][0] for at in actions}
        width = targets[actions[-1]]["width"]
        actions = [at for at in actions if targets[at]["object"] == "default framebuffer"]
        images = {at: self.request(f"{self.path}api/pixels?at={at}&index=0")[2] for at in actions}
        for x, y in ((0, 0), (width // 2, 60), (width // 3, 100)):
            history = self.get("pixel", at=actions[-1], x=x, y=y)["actions"]
            self.assertEqual([action["at"] for action in history], actions)
            for action in history:
                first = (y * width + x) * 4
                self.assertEqual([round(value * 255) for value in action["after"]], list(images[action["at"]][first:first + 4]))
                self.assertEqual(action["isChanged"], action["before"] != action["after"])

    def test_history_has_what_other_framebuffers_draw(self):
        self.stop()
        self.serve(self.record(FAMILIES, "draw-buffers", "--pbuffer", compositor=False))
        index = [target["what"] for target in self.get("targets", at="4:1")["targets"]].index("colour 1")
        # The upper half is cleared by another framebuffer, the lower one drawn to.
        for y, changed in (40, [True, False]), (10, [False, True]):
            history = self.get("pixel", at="4:1", index=index, x=20, y=y)["actions"]
            self.assertEqual([(action["at"], action["isChanged"]) for action in history],
                             list(zip(("4:0.1", "4:1"), changed)))


class InBrowser(Inspect):
    def setUp(self):
        super().setUp()
        self.browser = Browser()
        self.addCleanup(self.browser.close)

    def show(self, capture, fragment, **how):
        self.serve(capture)
        self.look(fragment, **how)

    def look(self, fragment, **how):
        """At the page of the server that runs."""
        self.browser.open(f"{self.address}#{fragment}", **how)
        self.browser.wait("!document.body.classList.contains('busy') && document.querySelectorAll('.row').length > 0"
                          " && / in \\d+ ms/.test(document.querySelector('#status').textContent)")


class Page(InBrowser):
    def test_a_draw_is_reached_by_keys(self):
        capture = self.record(SPINNING, "--frames", "6", "--pbuffer", compositor=False)
        self.show(capture, "3:1/state")
        self.assertEqual(self.browser.evaluate("document.querySelector('#place').value"), "3:1")
        self.assertEqual(self.browser.evaluate("document.querySelector('[aria-selected=true].row .draw').textContent"),
                         "glDrawArrays")
        self.browser.wait("/GL_CURRENT_PROGRAM/.test(document.querySelector('#detail').innerText)")
        self.browser.press("k")
        self.browser.wait("location.hash == '#3:0.2/state'")
        self.browser.press("]")
        self.browser.wait("location.hash.startsWith('#4:')")
        self.browser.press("2")
        for key in ("ArrowRight", "ArrowUp", "Enter"):
            self.browser.press(key)
        self.browser.wait("document.querySelectorAll('#detail tbody tr').length > 1")
        self.assertEqual(self.browser.console, [])

    def test_a_place_that_is_not_there_is_said_at_once(self):
        capture = self.record(SPINNING, "--frames", "6", "--pbuffer", compositor=False)
        self.show(capture, "3:1/state")
        said = "document.querySelector('#alert').innerText.includes('{}') && !document.body.classList.contains('busy')".format
        for at, text in (("2:99", "Frame 2 has 7 actions, the last one 4, and"), ("99", "there is no frame 99: the capture has")):
            self.browser.evaluate(f"location.hash = '#{at}'")
            self.browser.wait(said(text))
            self.assertEqual(self.browser.evaluate("document.querySelector('#place').value + location.hash"), "3:1#3:1/state")
        # Where nothing is shown yet, the end of the frame is.
        self.stop()
        self.show(capture, "2:99")
        self.browser.wait(said("found 2:99"))
        self.assertRegex(self.browser.evaluate("document.querySelector('#place').value"), "^2:c")

    def test_every_view_fits_a_phone_and_a_wide_screen(self):
        capture = self.record(SPINNING, "--frames", "6", "--pbuffer", compositor=False)
        for width, dark in ((420, False), (1600, True)):
            for view in ("calls", "output", "state", "inputs", "mesh", "shaders", "resources", "pixel"):
                with self.subTest(view, width=width):
                    self.show(capture, f"4:1/{view}", width=width, dark=dark)
                    self.assertLessEqual(self.browser.evaluate("document.documentElement.scrollWidth"), width)
                    unnamed = ("[...document.querySelectorAll('button,input,select')].filter(one => !one.labels?.length && "
                               "!(one.ariaLabel || one.textContent.trim() || one.title)).map(one => one.outerHTML)")
                    self.assertEqual(self.browser.evaluate(unnamed), [])
                    self.stop()
        self.assertEqual([line for line in self.browser.console if "ERR_CONNECTION" not in line], [])

    def test_text_of_a_capture_stays_text(self):
        capture = self.record("bash", "-c", f"exec -a '<script>document.title=\"owned\"</script>' {FAMILIES} debug-labels --pbuffer",
                              compositor=False)
        program = max(self.ask("resources", capture, "at=2:1")["objects"]["programs"], key=int)
        for fragment in ("2:1/state", f"2:1/resources/programs/{program}"):
            self.show(capture, fragment)
            self.browser.wait("/onerror/.test(document.querySelector('#tree').textContent)")
            self.assertEqual(self.browser.evaluate("document.title").split()[0], "2:1")
            self.assertEqual(self.browser.evaluate("document.querySelectorAll('#tree img, #detail script').length"), 0)
            self.stop()


if __name__ == "__main__":
    unittest.main()
