// OpenGL ES calls as the reader delivers them, and what arrives at the driver.

#include "Playback/GLPlaybackAdapter.h"

#include <array>
#include <initializer_list>
#include <memory>
#include <vector>

#include "FakeDriver/FakeDriver.h"
#include "Playback/PlaybackSettings.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace Playback {
namespace {

/// Captured contents of a pointer argument.
template <class T> class Contents {
public:
    Contents(std::initializer_list<T> values) : m_values(values)
    {
        m_data.SetContents(m_values.data(), static_cast<std::uint32_t>(m_values.size()), sizeof(T), 0x1000);
    }
    Data::PointerData* operator&() { return &m_data; }
    Data::PointerData* operator->() { return &m_data; }

private:
    std::vector<T> m_values;
    Data::PointerData m_data;
};

/// A captured C string, or room for one.
class Text {
public:
    explicit Text(std::string text) : m_text(std::move(text))
    {
        m_data.SetContents(m_text.data(), static_cast<std::uint32_t>(m_text.size() + 1), 1, 0x1000);
    }
    Data::PointerData* operator&() { return &m_data; }
    Data::PointerData* operator->() { return &m_data; }

private:
    std::string m_text;
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

    std::vector<std::string> Played()
    {
        auto log = driver.Log();
        driver.ClearLog();
        return log;
    }

    PlaybackEnvironment& settings = *PlaybackEnvironment::Instance();
    GLResourceTable table;
    GLPlaybackAdapter adapter{&table};
    Data::PointerData null;
};

TEST_F(GLPlaybackAdapterTest, NamesAreTranslatedFromCreationToDeletion)
{
    Contents<GLuint> captured{7, 8};
    adapter.Process_glGenTextures(2, &captured);
    adapter.Process_glBindTexture(GL_TEXTURE_2D, 8);
    adapter.Process_glDeleteTextures(2, &captured);
    adapter.Process_glBindTexture(GL_TEXTURE_2D, 8);
    EXPECT_THAT(Played(), ElementsAre("glGenTextures(2) = [901, 902]", "glBindTexture(GL_TEXTURE_2D, 902)",
                                      "glDeleteTextures(2, [901, 902])", "glBindTexture(GL_TEXTURE_2D, 8)"));
    EXPECT_EQ(captured->As<GLuint>()[0], 7u) << "captured names must survive the call";

    adapter.Process_glGenBuffers(0, &captured);
    adapter.Process_glGenBuffers(2, &null);
    EXPECT_THAT(Played(), ElementsAre(StartsWith("glGenBuffers(0"), StartsWith("glGenBuffers(2")));
    EXPECT_EQ(table.GetValueGLBuffer(7), 0u) << "nothing to record";
}

TEST_F(GLPlaybackAdapterTest, LocationsFollowTheProgramInUse)
{
    Text color("color"), position("position");
    adapter.Process_glCreateProgram(5);
    adapter.Process_glCreateProgram(6);
    adapter.Process_glGetUniformLocation(40, 5, &color);
    adapter.Process_glGetUniformLocation(40, 6, &color);
    adapter.Process_glBindAttribLocation(6, 3, &position);
    adapter.Process_glGetAttribLocation(9, 5, &position);
    const int inFive = table.GetValueGLUniformLocation(5, 40);
    const int inSix = table.GetValueGLUniformLocation(6, 40);
    const int attrib = table.GetValueGLAttribLocation(5, 9);
    ASSERT_NE(inFive, inSix);
    Played();

    adapter.Process_glUseProgram(5);
    adapter.Process_glUniform1i(40, 1);
    adapter.Process_glEnableVertexAttribArray(9);
    adapter.Process_glUseProgram(6);
    adapter.Process_glUniform1i(40, 1);
    adapter.Process_glEnableVertexAttribArray(3);
    adapter.Process_glProgramUniform1i(5, 40, 2);
    const auto five = std::to_string(table.GetValueGLProgram(5));
    const auto six = std::to_string(table.GetValueGLProgram(6));
    EXPECT_THAT(Played(),
                ElementsAre("glUseProgram(" + five + ")", "glUniform1i(" + std::to_string(inFive) + ", 1)",
                            "glEnableVertexAttribArray(" + std::to_string(attrib) + ")", "glUseProgram(" + six + ")",
                            "glUniform1i(" + std::to_string(inSix) + ", 1)", "glEnableVertexAttribArray(3)",
                            "glProgramUniform1i(" + five + ", " + std::to_string(inFive) + ", 2)"));
}

TEST_F(GLPlaybackAdapterTest, OnlyUniformsAreRecordedFromResourceLocations)
{
    Text name("thing");
    adapter.Process_glCreateProgram(5);
    adapter.Process_glGetProgramResourceLocation(11, 5, GL_PROGRAM_INPUT, &name);
    EXPECT_EQ(table.GetValueGLUniformLocation(5, 11), 11);
    adapter.Process_glGetProgramResourceLocation(11, 5, GL_UNIFORM, &name);
    EXPECT_NE(table.GetValueGLUniformLocation(5, 11), 11);
}

TEST_F(GLPlaybackAdapterTest, ClientVerticesGoToTheTranslatedIndex)
{
    Text position("position");
    adapter.Process_glCreateProgram(5);
    adapter.Process_glGetAttribLocation(9, 5, &position);
    adapter.Process_glUseProgram(5);
    const auto live = std::to_string(table.GetValueGLAttribLocation(5, 9));
    Played();
    std::array<std::uint8_t, 12> vertices{};
    adapter.ProcessVertexAttribData(9, 3, GL_FLOAT, 0, 0, vertices.data(), 0, 1);
    EXPECT_THAT(Played(), ElementsAre(StartsWith("glVertexAttribPointer(" + live + ", 3, GL_FLOAT,")));
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
    Contents<GLint> formats{1, 2};
    adapter.Process_glGetIntegerv(GL_COMPRESSED_TEXTURE_FORMATS, &formats);
    EXPECT_EQ(formats->GetCount(), 50);

    Text log("a long information log");
    adapter.Process_glGetProgramInfoLog(5, 8, &null, &log);
    EXPECT_EQ(log->GetCount(), 8);
    adapter.Process_glGetProgramInfoLog(5, 4096, &null, &log);
    EXPECT_EQ(log->GetCount(), 4096);

    Data::PointerData offset;
    offset.SetValue(64, 1);
    adapter.Process_glReadnPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, 400, &offset);
    EXPECT_EQ(offset.GetPointer(), reinterpret_cast<void*>(64)) << "an offset into the pack buffer stays one";

    Contents<std::uint8_t> upload{1, 2, 3, 4};
    adapter.Process_glBufferSubData(GL_ARRAY_BUFFER, 64, 0, &upload);
    EXPECT_EQ(upload->GetCount(), 64) << "an empty upload grows its payload to the offset";
}

TEST_F(GLPlaybackAdapterTest, SyncObjectsAndLabelsFindTheirObjects)
{
    driver.Returns("glFenceSync", reinterpret_cast<void*>(0x77));
    adapter.Process_glFenceSync(4, GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    EXPECT_EQ(table.GetValueGLVoidPtr(4), reinterpret_cast<void*>(0x77));
    adapter.Process_glDeleteSync(4);
    EXPECT_EQ(table.GetValueGLVoidPtr(4), nullptr);
    Played();

    Text label("wall");
    table.AddIdGLBuffer(3, 33);
    adapter.Process_glLabelObjectEXT(GL_BUFFER_OBJECT_EXT, 3, 0, &label);
    adapter.Process_glObjectLabel(GL_BUFFER, 3, -1, &label);
    EXPECT_THAT(Played(), ElementsAre(StartsWith("glLabelObjectEXT(GL_BUFFER_OBJECT_EXT, 33,"),
                                      StartsWith("glObjectLabel(GL_BUFFER, 0,")))
        << "core identifiers are not among those that find an object";
}

TEST_F(GLPlaybackAdapterTest, EachErrorIsReportedOnceAndNoneIsAskedForWithoutChecks)
{
    driver->SetError(GL_INVALID_ENUM);
    ::testing::internal::CaptureStderr();
    adapter.Process_glClear(1);
    adapter.Process_glClear(1);
    const std::string report = ::testing::internal::GetCapturedStderr();
    EXPECT_THAT(report, ::testing::HasSubstr("glClear failed with error GL_INVALID_ENUM"));
    EXPECT_EQ(report.find("failed"), report.rfind("failed"));

    settings.m_skipErrorCheck = true;
    driver.ClearLog();
    adapter.Process_glClear(1);
    EXPECT_THAT(driver->Log(), ElementsAre(StartsWith("glClear("))) << "error queries included";
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
    const auto blit = [this] {
        adapter.Process_glBlitFramebuffer(0, 0, 1, 1, 0, 0, 1, 1, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    };
    draw();
    blit();
    draw();
    adapter.Process_glDrawElementsBaseVertex(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, &null, 0);
    draw();
    draw();
    EXPECT_THAT(screenshots.names, ElementsAre("frame3_blit1:16384", "frame3_draw2:17664", "frame3_draw3:17664"));

    screenshots.names.clear();
    settings.m_perDrawScreenshotLastDraw = 0;
    draw();
    EXPECT_THAT(screenshots.names, IsEmpty()) << "a lower bound alone selects nothing";
    settings.m_perDrawScreenshotFirstDraw = 0;
    draw();
    EXPECT_EQ(screenshots.names.size(), 1u);
    screenshots.m_frame = 3;
    draw();
    EXPECT_EQ(screenshots.names.size(), 1u) << "another frame";
}

} // namespace
} // namespace Playback
