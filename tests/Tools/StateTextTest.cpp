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
    constexpr std::uint32_t blend = 0x0BE2;
    writer->SetThread(1);
    Call(CallId::eglMakeCurrent, 1, 1, 5, 5, 2);
    Call(CallId::glUseProgram, 3);
    Call(CallId::glUniform1f, 0, 0.5);
    Call(CallId::glUniform1f, 1, 0.25);
    Call(CallId::glDisablei, blend, 1);
    Call(CallId::glEnable, blend);
    Call(CallId::glDisablei, blend, 1);
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

} // namespace

} // namespace Tools
