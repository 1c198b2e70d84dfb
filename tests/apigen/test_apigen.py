"""The generator: what a description may say, where arguments lie in a record, and the handlers it makes."""

import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).parent
sys.path.insert(0, str(HERE.parents[1] / "tools" / "apigen"))

import apigen  # noqa: E402
import emit_play_gl  # noqa: E402
import model  # noqa: E402


def load_text(*lines):
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder) / "x.api"
        path.write_text("\n".join(lines))
        return model.load([path])


class Description(unittest.TestCase):
    def test_faults_are_refused_with_their_line(self):
        good = "2.0 void glClear(bits mask)"
        faults = {
            "unknown type 'colour'": "2.0 void glClear(colour mask)",
            "unknown element type 'colour'": "2.0 void glClear(in colour[3] mask)",
            "'m' in 'm * 2' is neither": "2.0 void glX(count n, in int[m * 2] v)",
            "no parameter 'p'": "2.0 void glX(uniform(p) location)",
            "unknown note 'quick'": "2.0 void glX(int a) : quick",
            "unknown binding 'shelf'": "2.0 void glX(count n, in blob[n]@shelf v)",
            "glClear is described twice": good,
            "neither a version nor": "newest void glX(int a)",
            "expected TYPE NAME": "2.0 void glX(int)",
            "there is no call glNone": "alias glY = glNone @ GL_EXT_y",
        }
        for message, line in faults.items():
            with self.subTest(line), self.assertRaises(model.ApiError) as caught:
                load_text(good, line)
            self.assertIn(message, str(caught.exception))
            if not line.startswith("alias"):
                self.assertIn("x.api:2:", str(caught.exception))

    def test_arguments_are_aligned_like_a_c_struct_behind_the_record_header(self):
        call = model.parse_call("3.0 enum glX(enum a, bytes b, in? blob[b] c, bool d)")
        self.assertEqual([(p.name, p.at) for p in call.params], [("a", 12), ("b", 16), ("c", 24), ("d", 40)])
        self.assertEqual((call.ret_at, call.fixed_size, call.signature), (8, 48, "eelab"))

    def test_the_shipped_description_has_every_operation_in_its_place(self):
        api = model.load((HERE.parents[1] / "api").glob("*.api"))
        slots = {c.name: number for number, c in enumerate(api.gl, 1)}
        for name, slot in {"glViewport": 142, "glProgramUniform4ui": 273, "glTexStorage3DMultisampleOES": 306,
                           "glEGLImageTargetTexStorageEXT": 500, "glFramebufferTexture": 501}.items():
            self.assertEqual(slots[name], slot)
        self.assertEqual([len(api.egl), api.egl[0].name, api.egl[-1].name],
                         [60, "eglGetError", "eglCreateImageKHRv1"])
        self.assertEqual(len(api.table("GLES")), 358)

    def test_handlers_of_every_shape_are_the_reviewed_ones(self):
        text = emit_play_gl.emit_handlers(model.load([HERE / "shapes.api"]))
        self.assertEqual(text, (HERE / "shapes.expected").read_text())


class Files(unittest.TestCase):
    def test_a_file_whose_text_is_the_same_keeps_its_time(self):
        with tempfile.TemporaryDirectory() as folder:
            arguments = [folder, *map(str, (HERE.parents[1] / "api").glob("*.api"))]
            self.assertEqual(apigen.main(arguments), 0)
            path = Path(folder) / "Interfaces" / "GLAdapter.h"
            before = path.stat().st_mtime_ns
            path.with_name("EGLAdapter.h").write_text("stale")
            self.assertEqual(apigen.main(arguments), 0)
            self.assertEqual(path.stat().st_mtime_ns, before)
            self.assertNotEqual(path.with_name("EGLAdapter.h").read_text(), "stale")


if __name__ == "__main__":
    unittest.main()
