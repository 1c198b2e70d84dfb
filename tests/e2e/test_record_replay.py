"""Programs are recorded, and the replay has the same pixels: off screen without a compositor, and in a window."""

import json
import shutil
import unittest

from harness import BUILD, INFO, RECORD, ROOT, SPINNING, TRIM, WITH_WESTON, EndToEndTest


class RecordAndReplay(EndToEndTest):
    def check(self, frames, *program, options=()):
        capture = self.record(*program, options=options)
        self.assertEqual(self.info(capture)["frames"], frames)
        off_screen = self.verify(capture)
        self.assertMentions(off_screen, "off screen")
        self.verify(capture, compositor=True)
        self.verify(capture, "-headless", compositor=True)

    def test_linked_client(self):
        self.check(30, SPINNING, "--frames", "30")

    def test_client_that_resizes_its_window(self):
        self.check(8, SPINNING, "--frames", "8", "--resize", "4")

    def test_client_without_compositor(self):
        capture = self.record(SPINNING, "--frames", "8", "--pbuffer", compositor=False)
        self.verify(capture)

    def test_pixels_are_those_that_the_program_read(self):
        capture = self.record(SPINNING, "--frames", "12", "--readback", "10:frame.raw")
        self.assertTrue(self.ask_bytes("pixels", capture, "at=10:4", "index=0") == (self.dir / "frame.raw").read_bytes())

    def glmark2(self, scene):
        # A scene ends after its duration, in seconds, however few frames there were.
        self.check(30, "glmark2-es2-wayland", "-s", "400x300", "-b", f"{scene}:nframes=30:duration=90")

    def test_glmark2_build(self):
        self.glmark2("build")

    def test_glmark2_texture(self):
        self.glmark2("texture")

    def test_glmark2_shadow(self):
        self.glmark2("shadow")

    def test_es2gears(self):
        self.check(30, "es2gears_wayland", options=["--frames", "30"])

    def test_weston_simple_egl(self):
        self.need("weston-simple-egl")
        self.check(30, "weston-simple-egl", options=["--frames", "30"])

    def test_compositor_nested_in_another_one(self):
        self.need("weston")
        # It paints only when something changes, so a client draws on it.
        self.run_program(WITH_WESTON, "sh", "-c", f"""
            {RECORD} --hash --frames 30 -o recorded.glcap -- \
                weston --backend=wayland-backend.so --socket=inner --no-config &
            recorder=$!
            until [ -S "$XDG_RUNTIME_DIR/inner" ]; do kill -0 $recorder && sleep 0.1 || exit; done
            WAYLAND_DISPLAY=inner weston-simple-egl > client.log &
            client=$!
            wait $recorder; status=$?
            kill $client; exit $status""")
        self.verify("recorded.glcap")
        self.verify("recorded.glcap", compositor=True)


class Stacks(EndToEndTest):
    """Where in the program calls came from."""

    def listed(self, capture, *options):
        lines = self.run_program(INFO, "--dump", "--json", "--stacks", *options, capture).stdout.splitlines()
        return [json.loads(line) for line in lines]

    def assertNamed(self, draw):
        """The innermost function is the one that calls, at the line where it does."""
        place = draw["stack"][0]
        source = (ROOT / "samples/spinning" / place["file"].rpartition("/")[2]).read_text().splitlines()
        self.assertIn(draw["name"], source[place["line"] - 1])
        self.assertTrue(place["function"].endswith("::Draw"), place)
        self.assertIn("main", [frame.get("function") for frame in draw["stack"]])

    def test_of_draws(self):
        program = self.dir / "spinning"
        shutil.copy(SPINNING, program)
        capture = self.record(program, "--frames", "5", "--pbuffer", options=("--stacks", "draws"), compositor=False)
        self.verify(capture)
        program.unlink()
        # The file has another place by now.
        draws = self.listed(capture, "--calls", "glDraw*", "--debug-path", BUILD / "samples")
        self.assertEqual(len(draws), 20)
        for draw in draws:
            self.assertNamed(draw)
        self.assertFalse(any("stack" in call for call in self.listed(capture, "--calls", "glClear")))
        away = self.listed(capture, "--calls", "glDraw*", "--frames", "3")[0]["stack"][0]
        self.assertEqual(away["module"], str(program))
        self.assertNotIn("function", away)

    def test_of_all_calls_and_of_frames_cut_out(self):
        capture = self.record(SPINNING, "--frames", "5", "--pbuffer", options=("--stacks", "all"), compositor=False)
        calls = [call for call in self.listed(capture) if "name" in call]
        self.assertTrue(all("stack" in call for call in calls), [call for call in calls if "stack" not in call])
        self.run_program(TRIM, "--frames", "4-5", "-o", "trimmed.glcap", capture)
        self.verify("trimmed.glcap")
        draws = [call for call in self.listed("trimmed.glcap", "--frames", "2-") if call.get("name", "").startswith("glDraw")]
        self.assertEqual(len(draws), 4)
        for draw in draws:
            self.assertNamed(draw)


if __name__ == "__main__":
    unittest.main()
