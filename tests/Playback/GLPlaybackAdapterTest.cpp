// OpenGL ES calls as the reader delivers them, as far as whole programs on another driver do not show what becomes of
// them.

#include "Playback/GLPlaybackAdapter.h"

#include <vector>

#include "FakeDriver/FakeDriver.h"
#include "Playback/PlaybackSettings.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace Playback {
namespace {

/// Captured contents of a pointer argument.
template <class Container> class Contents {
public:
    explicit Contents(Container values) : m_values(std::move(values))
    {
        m_data.SetContents(m_values.data(), static_cast<std::uint32_t>(m_values.size()), sizeof m_values[0], 0x1000);
    }
    Data::PointerData* operator&() { return &m_data; }
    Data::PointerData* operator->() { return &m_data; }

private:
    Container m_values;
    Data::PointerData m_data;
};

/// Takes no pictures, only notes which were asked for.
class NotingScreenshotHandler : public Util::GLScreenshotHandler {
public:
    NotingScreenshotHandler() : GLScreenshotHandler(Util::ImageFormat::Bmp, false) {}
    void TakeScreenshot(const std::string& name, unsigned int mask) override
    {
        names.push_back(name + ":" + std::to_string(mask));
    }
    std::vector<std::string> names;
};

class GLPlaybackAdapterTest : public FakeDriverTest {
protected:
    GLPlaybackAdapterTest()
    {
        settings.InitDefaultSettings();
        settings.m_screenshotPath.clear();
        table.SetCurrentContext(1, 2, 2, 3);
    }
    ~GLPlaybackAdapterTest() override { settings.InitDefaultSettings(); }

    PlaybackEnvironment& settings = *PlaybackEnvironment::Instance();
    GLResourceTable table;
    GLPlaybackAdapter adapter{&table};
    Data::PointerData null;
};

TEST_F(GLPlaybackAdapterTest, LocationsFollowTheProgramInUse)
{
    Contents name(std::string("place"));
    for (const unsigned int program : {5, 6}) {
        adapter.Process_glCreateProgram(program);
        adapter.Process_glGetUniformLocation(40, program, &name);
        adapter.Process_glGetProgramResourceLocation(9, program, GL_PROGRAM_INPUT, &name);
    }
    adapter.Process_glGetAttribLocation(9, 5, &name);
    adapter.Process_glBindAttribLocation(6, 9, &name);
    const auto live = [&](unsigned int program) {
        return std::to_string(table.GetValueGLUniformLocation(program, 40));
    };
    const auto attrib = std::to_string(table.GetValueGLAttribLocation(5, 9));
    ASSERT_NE(live(5), live(6));
    ASSERT_NE(attrib, "9");
    EXPECT_EQ(table.GetValueGLUniformLocation(5, 9), 9) << "an input is no uniform";
    driver.ClearLog();
    for (const unsigned int program : {5, 6}) {
        adapter.Process_glUseProgram(program);
        adapter.Process_glUniform1i(40, 1);
        adapter.Process_glEnableVertexAttribArray(9);
        adapter.Process_glProgramUniform1i(5, 40, 2);
    }
    EXPECT_THAT(driver.Log(),
                ElementsAre("glUseProgram(901)", "glUniform1i(" + live(5) + ", 1)",
                            "glEnableVertexAttribArray(" + attrib + ")", "glProgramUniform1i(901, " + live(5) + ", 2)",
                            "glUseProgram(902)", "glUniform1i(" + live(6) + ", 1)", "glEnableVertexAttribArray(9)",
                            "glProgramUniform1i(901, " + live(5) + ", 2)"));
}

TEST_F(GLPlaybackAdapterTest, OutputsGetTheRoomThatTheDriverMayFill)
{
    driver.Answer("glGetIntegerv", [](const Fake::Arguments& a) {
        if (a.Get<GLenum>(0) == GL_NUM_COMPRESSED_TEXTURE_FORMATS) {
            *a.Get<GLint*>(1) = 50;
        } else {
            std::fill_n(a.Get<GLint*>(1), 50, 1);
        }
        return Fake::Word{0};
    });
    Contents formats(std::vector<GLint>{1, 2});
    adapter.Process_glGetIntegerv(GL_COMPRESSED_TEXTURE_FORMATS, &formats);
    EXPECT_EQ(formats->GetCount(), 50);

    Contents log(std::string("a long information log"));
    for (const int room : {8, 4096}) {
        adapter.Process_glGetProgramInfoLog(5, room, &null, &log);
        EXPECT_EQ(log->GetCount(), room);
    }
    Data::PointerData offset;
    offset.SetValue(64, 1);
    adapter.Process_glReadnPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, 400, &offset);
    EXPECT_EQ(offset.GetPointer(), reinterpret_cast<void*>(64)) << "an offset into the pack buffer stays one";

    Contents upload(std::vector<std::uint8_t>{1, 2, 3, 4});
    adapter.Process_glBufferSubData(GL_ARRAY_BUFFER, 64, 0, &upload);
    EXPECT_EQ(upload->GetCount(), 64) << "an empty upload grows its payload to the offset";
    adapter.Process_glGenBuffers(2, &null);
    EXPECT_EQ(table.GetValueGLBuffer(7), 0u) << "nothing to record";
}

TEST_F(GLPlaybackAdapterTest, LabelsFindTheirObjects)
{
    Contents label(std::string("wall"));
    table.AddIdGLBuffer(3, 33);
    driver.ClearLog();
    adapter.Process_glLabelObjectEXT(GL_BUFFER_OBJECT_EXT, 3, 0, &label);
    adapter.Process_glObjectLabel(GL_BUFFER, 3, -1, &label);
    EXPECT_THAT(driver.Log(), ElementsAre(StartsWith("glLabelObjectEXT(GL_BUFFER_OBJECT_EXT, 33,"),
                                          StartsWith("glObjectLabel(GL_BUFFER, 0,")))
        << "core identifiers are not among those that find an object";
}

TEST_F(GLPlaybackAdapterTest, EachErrorIsReportedOnce)
{
    driver->SetError(GL_INVALID_ENUM);
    ::testing::internal::CaptureStderr();
    adapter.Process_glClear(1);
    adapter.Process_glClear(1);
    const std::string report = ::testing::internal::GetCapturedStderr();
    EXPECT_THAT(report, ::testing::HasSubstr("glClear failed with error GL_INVALID_ENUM"));
    EXPECT_EQ(report.find("failed"), report.rfind("failed"));
}

TEST_F(GLPlaybackAdapterTest, PicturesAreTakenOfTheSelectedDrawsAndBlits)
{
    settings.m_perDrawScreenshotFrame = 3;
    settings.m_perDrawScreenshotFirstDraw = 2;
    settings.m_perDrawScreenshotLastDraw = 4;
    NotingScreenshotHandler screenshots;
    screenshots.m_frame = 2;
    adapter.SetScreenshotHandler(&screenshots);
    const auto draw = [this] { adapter.Process_glDrawArrays(GL_TRIANGLES, 0, 3); };
    draw();
    adapter.Process_glBlitFramebuffer(0, 0, 1, 1, 0, 0, 1, 1, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    draw();
    adapter.Process_glDrawElementsBaseVertex(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, &null, 0);
    draw();
    EXPECT_THAT(screenshots.names, ElementsAre("frame3_blit1:16384", "frame3_draw2:17664", "frame3_draw3:17664"));

    screenshots.names.clear();
    settings.m_perDrawScreenshotLastDraw = 0;
    draw();
    EXPECT_THAT(screenshots.names, IsEmpty()) << "a lower bound alone selects nothing";
    settings.m_perDrawScreenshotFirstDraw = 0;
    draw();
    screenshots.m_frame = 3;
    draw();
    EXPECT_EQ(screenshots.names.size(), 1u) << "another frame";
}

} // namespace
} // namespace Playback
