// The state at moments of a capture that is written call by call, and what differs between them.
#include <gtest/gtest.h>

#include "Tools/Info/StateText.h"
#include "support/TestCapture.h"

namespace Tools {

namespace {

using Data::CallId;

class StateTextTest : public Data::CaptureTest {};

TEST_F(StateTextTest, DifferencesAreToldByObjectNameAndIndex)
{
    constexpr std::uint32_t Blend = 0x0BE2;
    writer->SetThread(1);
    Call(CallId::eglMakeCurrent, 1, 1, 5, 5, 2);
    Call(CallId::glUseProgram, 3);
    Call(CallId::glUniform1f, 0, 0.5);
    Call(CallId::glUniform1f, 1, 0.25);
    Call(CallId::glDisablei, Blend, 1);
    Call(CallId::glEnable, Blend);
    Call(CallId::glDisablei, Blend, 1);
    Call(CallId::glUniform1f, 1, 0.75);
    Call(CallId::glCullFace, 0x0405);
    Call(CallId::glBindTexture, 0x0DE1, 7);
    Call(CallId::glUniform1i, 2, 4);
    Call(CallId::glObjectLabel, 0x82E2u, 3u, -1, "sky\xff");
    Call(CallId::glFlush);
    Finish();
    std::string error;
    const auto source = Data::CaptureSource::Open(path, error);
    ASSERT_TRUE(source) << error;
    Data::Diagnostics diagnostics(path, nullptr);
    const auto at = [&](const char* moment) { return StateAt(*source, diagnostics, ParseMoment(moment)); };
    const auto before = std::get<StateSnapshot>(at("1:7"));
    EXPECT_EQ(ToText(Compare(before, std::get<StateSnapshot>(at("1:11")))),
              "GL_BLEND[1]: true -> false\n"
              "texture[GL_TEXTURE0][GL_TEXTURE_2D]: 0 -> 7\n"
              "programs 3: GL_UNIFORM[1]: 0.25 -> 0.75\n");
    EXPECT_EQ(ToJson(before)["objects"]["programs"]["3"]["GL_UNIFORM[1]"], 0.25);
    EXPECT_TRUE(Compare(before, before).empty());
    const auto after = std::get<StateSnapshot>(at("1:13"));
    EXPECT_EQ(ToText(Compare(std::get<StateSnapshot>(at("1:11")), after)),
              "programs 3: GL_UNIFORM[2]: not set -> 4\nprograms 3: label: not set -> \"sky\xEF\xBF\xBD\"\n");
    EXPECT_EQ(std::get<std::string>(at("1:99")), "frame 1 has 13 calls, expected at least 99");
}

TEST_F(StateTextTest, AttachmentsAndStagesAreValues)
{
    constexpr std::uint32_t Framebuffer = 0x8D40;
    writer->SetThread(1);
    Call(CallId::eglMakeCurrent, 1, 1, 5, 5, 2);
    Call(CallId::glFramebufferTexture2D, Framebuffer, 0x8CE0, 0x0DE1, 4, 0); // refused: the default framebuffer
    Call(CallId::glBindFramebuffer, Framebuffer, 9);
    Call(CallId::glFramebufferTexture2D, Framebuffer, 0x8CE0, 0x8516, 4, 1);
    Call(CallId::glFramebufferTextureLayer, Framebuffer, 0x8CE1, 5, 2, 3);
    Call(CallId::glFramebufferRenderbuffer, Framebuffer, 0x821A, 0x8D41, 6);
    Call(CallId::glUseProgramStages, 7, 3, 8);
    Call(CallId::glActiveShaderProgram, 7, 8);
    Call(CallId::glBindProgramPipeline, 7);
    Call(CallId::glUniform1f, 0, 0.5);
    Call(CallId::glFramebufferRenderbuffer, Framebuffer, 0x8D00, 0x8D41, 0);
    Call(CallId::glDeleteTextures, 1, std::vector<std::uint32_t>{4});
    Call(CallId::glUseProgramStages, 7, 1, 0);
    Call(CallId::glFlush);
    Finish();
    std::string error;
    const auto source = Data::CaptureSource::Open(path, error);
    ASSERT_TRUE(source) << error;
    Data::Diagnostics diagnostics(path, nullptr);
    const auto at = [&](const char* moment, const char* kind, const char* name) {
        return ToJson(
            std::get<StateSnapshot>(StateAt(*source, diagnostics, ParseMoment(moment))))["objects"][kind][name];
    };
    const auto attached = [&](const char* moment, const std::string& point) {
        std::string text;
        for (const char* word :
             {"OBJECT_TYPE", "OBJECT_NAME", "TEXTURE_LEVEL", "TEXTURE_CUBE_MAP_FACE", "TEXTURE_LAYER"})
            text +=
                at(moment, "framebuffers", "9")["GL_FRAMEBUFFER_ATTACHMENT_" + (word + ("[" + point + "]"))].dump() +
                " ";
        return text;
    };
    const std::string none = R"("GL_NONE" 0 0 "GL_NONE" 0 )";
    EXPECT_EQ(attached("1:11", "GL_COLOR_ATTACHMENT0"), R"("GL_TEXTURE" 4 1 "GL_TEXTURE_CUBE_MAP_NEGATIVE_X" 0 )");
    EXPECT_EQ(attached("1:11", "GL_COLOR_ATTACHMENT1"), R"("GL_TEXTURE" 5 2 "GL_NONE" 3 )");
    EXPECT_EQ(attached("1:11", "GL_DEPTH_ATTACHMENT"), R"("GL_RENDERBUFFER" 6 0 "GL_NONE" 0 )");
    EXPECT_EQ(at("1:11", "programPipelines", "7").dump(),
              R"({"GL_ACTIVE_PROGRAM":8,"GL_FRAGMENT_SHADER":8,"GL_VERTEX_SHADER":8})");
    EXPECT_EQ(at("1:11", "programs", "8")["GL_UNIFORM[0]"], 0.5);
    EXPECT_EQ(attached("1:14", "GL_COLOR_ATTACHMENT0"), none);
    const auto end = std::get<StateSnapshot>(StateAt(*source, diagnostics, {1, 14}));
    EXPECT_EQ(end.objects.at({}).count("GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME[GL_COLOR_ATTACHMENT0]"), 0u);
    EXPECT_EQ(attached("1:14", "GL_DEPTH_ATTACHMENT"), none);
    EXPECT_EQ(attached("1:14", "GL_STENCIL_ATTACHMENT"), R"("GL_RENDERBUFFER" 6 0 "GL_NONE" 0 )");
    EXPECT_EQ(at("1:14", "programPipelines", "7")["GL_VERTEX_SHADER"], 0);
}

} // namespace

} // namespace Tools
