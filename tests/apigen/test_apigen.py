"""The generator: what a description may say, where arguments lie in a record, and the handlers it makes."""

import re
import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).parent
sys.path.insert(0, str(HERE.parents[1] / "tools" / "apigen"))

import apigen  # noqa: E402
import emit_call_table  # noqa: E402
import emit_context_state  # noqa: E402
import emit_decode  # noqa: E402
import emit_enum_names  # noqa: E402
import emit_fake_driver  # noqa: E402
import emit_function_forms  # noqa: E402
import emit_info  # noqa: E402
import emit_interfaces  # noqa: E402
import emit_needs  # noqa: E402
import emit_play_gl  # noqa: E402
import emit_record  # noqa: E402
import emit_state  # noqa: E402
import emit_statistics  # noqa: E402
import model  # noqa: E402


def load_text(*lines):
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder) / "x.api"
        path.write_text("\n".join(lines))
        return model.load([path])


class EnumNames(unittest.TestCase):
    def test_core_wins_over_vendors_and_enums_over_bits_and_marks_are_no_enums(self):
        core = "#define GL_VERSION_2_0 1\n#define GL_A_BIT 0x0004\n#define GL_TRIANGLES   0x0004\n#define GL_B 0x8001\n"
        vendor = ("#define GL_EXT_marks 1\n#define GL_B_BIT0_QCOM 0x8001\n#define GL_C_OES 0x9001\n"
                  "#define GL_C_EXT 0x9001\n#define GL_TIMEOUT 0xFFFFFFFFFFFFFFFFull\n")
        self.assertEqual(emit_enum_names.enum_names([core, vendor]),
                         {4: "GL_TRIANGLES", 0x8001: "GL_B", 0x9001: "GL_C_OES"})


class FunctionForms(unittest.TestCase):
    def test_each_member_of_a_group_can_serve_for_the_others_its_own_name_first(self):
        api = load_text("3.0 void glX(int a)", "GL_OES_x void glXOES(int a)", "2.0 void glOther(int a)",
                        "alias glXOES = glX @ GL_OES_x", "alias glXEXT = glX @ GL_EXT_x|GL_NV_x")
        forms = {call.name: f for call, f in emit_function_forms.forms(api).items()}
        core, oes, ext = ("glX", "3.0"), ("glXOES", "GL_OES_x"), ("glXEXT", "GL_EXT_x|GL_NV_x")
        self.assertEqual(forms, {"glX": [core, oes, ext], "glXOES": [oes, core, ext], "glOther": [("glOther", "2.0")]})

    def test_a_call_of_another_version_has_its_name_there_ahead_of_other_names(self):
        api = load_text("2.0 void glX(int a)", "also 1.1 : glX", "alias glXOES = glX @ GL_OES_x")
        self.assertEqual(list(emit_function_forms.forms(api).values()),
                         [[("glX", "2.0"), ("glX", "1.1"), ("glXOES", "GL_OES_x")]])


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
            "but there is no such call": "count Blocking glNone",
            "'count' is not followed": "count Sometimes glClear",
            "'set' is not followed": "set glClear : colour[] = mask",
            "expected object TYPE": "object texture : nobody, textures",
        }
        for message, line in faults.items():
            with self.subTest(line), self.assertRaises(model.ApiError) as caught:
                load_text(good, line)
            self.assertIn(message, str(caught.exception))
            if not line.startswith("alias") and "glNone" not in line:
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
        self.assertEqual([len(api.egl), api.egl[0].name, api.egl[59].name],
                         [66, "eglGetError", "eglCreateImageKHRv1"])
        self.assertEqual(len(api.table("GLES")), 443)
        page = (HERE.parents[1] / "docs/hidden-extensions.md").read_text().split("\n## ")[0]
        self.assertEqual(sorted(re.findall(r"`(E?GL_\w+)`", page)), sorted(api.hidden))

    def test_notes_decide_what_a_handler_does(self):
        text = emit_play_gl.emit_handlers(load_text(
            "2.0 void glDrop(count n, in buffer[n] things) : deletes", "2.0 void glSet(uniform location, int v)",
            "2.0 void glLog(count bufSize, out string[bufSize] log)",
            "3.0 void glRead(count bufSize, out blob[bufSize]@pixel_pack data) : resize"))
        for parts in (["GetValueGLBuffer(captured)", "function(n,", "RemoveIdGLBuffer(captured)"],
                      ["GetValueGLUniformLocation(m_resourceTable->GetCurrentProgram(), location)"],
                      ["SizeString(log, bufSize)", "function(bufSize, log"],
                      ["SizeArray(data, bufSize)", "function(bufSize, data"]):
            self.assertRegex(text, "(?s)" + ".*".join(map(re.escape, parts)))

    def test_a_new_call_with_a_new_state_is_two_lines_that_everything_knows(self):
        api = load_text("2.0 void glSparkle(enum face, float glow) : track", "state sparkle as GL_SPARKLE = 1",
                        "set glSparkle : sparkle[face_of] = glow when face is not GL_FRONT")
        self.assertIn("    Sparkle,\n", emit_state.emit_states(api))
        table = emit_state.emit_table(api).splitlines()
        self.assertEqual([line.strip() for line in table if "parkle" in line or "Source::Parameter" in line], [
            '{"sparkle", noObject, false, noObject, false, {Counted::None, Counted::Face}, "f", {"GL_SPARKLE"}, 1, {1}},',
            "{Source::Parameter, 1, 0, 0},",
            "{State::Sparkle, ChangeKind::Set, {Source::Context, 0, 0, 0}, {Source::Number, 0, 0, 0}, "
            "{Source::FacesOf, 0, 0, 0}, {1, StateChange::IsNot, 0x0404}, noObject, 0, 1},",
            "{0, 1, false, false, false, {Source::Number, 0, 0, 0}, {}}, // glSparkle"])
        self.assertIn("decoder.Follow();", emit_decode.emit(api))
        self.assertIn("Changed(CallId::glSparkle);", emit_info.emit_calls(lambda a: a.gl)(api))
        for emitter in (emit_call_table, emit_fake_driver, emit_interfaces, emit_play_gl, emit_record):
            self.assertTrue(any("glSparkle" in emit(api) for emit in emitter.OUTPUTS.values()), emitter.__name__)
        # A third line where it says what pointers mean.
        api.states.memory.append("sparkle")
        self.assertIn("    if (face != 0x0404)\n        SetSparkle(glow);\n", emit_context_state.emit_definitions(api))

    def test_notes_and_patterns_say_what_calls_make_need_and_leave_alone(self):
        api = load_text("object texture : group, textures, made_up, labels GL_TEXTURE", "entry glLightOES",
                        "2.0 void glLight(count n, out texture[n] lights) : makes",
                        "2.0 void glGetLights(count n, out texture[n] lights)", "nothing glGet*", "need lamp : glL*")
        table = emit_state.emit_table(api)
        self.assertIn("{ObjectAction::Make, ObjectKind::Texture, 2}}, // glLight", table)
        self.assertRegex(table, r"\{0, 0, true, .*\{\}\}, // glGetLights")
        self.assertIn("case Data::CallId::glLight:\n    return Need::Lamp;\n", emit_needs.emit_cases(api))
        self.assertIn("case Data::ObjectKind::Texture:\n    Record::glLight(", emit_record.emit_generation(api))
        self.assertIn("RECORDER_ENTRY(glLightOES)", emit_record.emit_entries(api))
        with self.assertRaisesRegex(model.ApiError, "needs something, but there is no such call"):
            load_text("need lamp : glDark*")

    def test_statistics_count_calls_and_notice_extensions_also_of_functions_that_are_no_calls(self):
        api = load_text("2.0 enum glX(int a)", "2.0 void glY()", "count Blocking glX as glXx", "by hand : glY",
                        "extension GL_EXT_y : glY glZ", "extension GL_EXT_w without handler : glW")
        self.assertEqual(emit_statistics.emit_handlers("gl")(api).splitlines()[1:], [
            '    void Process_glX(std::uint32_t, std::int32_t) override { LogBlockingCallUsed("glXx"); }',
            "    template <class... Arguments> void Process_glZ(const Arguments&...)",
            "    {",
            '        LogExtensionCall("Process_glZ");',
            "    }"])
        self.assertEqual(emit_statistics.emit_extensions("gl")(api).splitlines()[1:],
                         ['{"GlY", "GL_EXT_y"},', '{"GlZ", "GL_EXT_y"},', '{"GlW", "GL_EXT_w"},'])


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
