#include <gmock/gmock.h>

#include "Interfaces/Util.h"
#include "Playback/AnnotationWriter.h"
#include "Playback/CommonMetaHandler.h"
#include "Playback/ImageMetaHandler.h"
#include "Playback/PlaybackSettings.h"
#include "Playback/SingleWindowManager.h"
#include "StubWindow.h"

namespace Playback {
namespace {

using testing::_;
using testing::StrictMock;

class StubWriter : public AnnotationWriter {
public:
    MOCK_METHOD(void, WriteTextAscii, (const std::uint8_t*, std::uint64_t), (override));
    MOCK_METHOD(void, WriteTextXML, (const std::uint8_t*, std::uint64_t), (override));
    MOCK_METHOD(void, WriteTextJSON, (const std::uint8_t*, std::uint64_t), (override));
};

TEST(CommonMetaHandlerTest, TextsGoToTheWriterUnlessEmpty)
{
    const std::uint8_t text[] = "abc";
    StrictMock<StubWriter> writer;
    CommonMetaHandler handler(&writer);
    EXPECT_CALL(writer, WriteTextAscii(text, 1));
    EXPECT_CALL(writer, WriteTextXML(text, 2));
    EXPECT_CALL(writer, WriteTextJSON(text, 3));
    handler.ProcessTextAscii(text, 1);
    handler.ProcessTextXML(text, 2);
    handler.ProcessTextJSON(text, 3);
    handler.ProcessTextAscii(nullptr, 1);
    handler.ProcessTextXML(text, 0);
    CommonMetaHandler(static_cast<WindowManager*>(nullptr)).ProcessTextJSON(text, 3);
}

TEST(CommonMetaHandlerTest, MessagesAreShownAsTheyAre)
{
    CommonMetaHandler handler(nullptr, nullptr);
    testing::internal::CaptureStderr();
    handler.ProcessDisplayMessageCommand("100%s done");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("100%s done"));
}

TEST(CommonMetaHandlerTest, TheSurfacesWindowIsAskedToResize)
{
    StrictMock<StubWindow> window;
    SingleWindowManager windows(&window);
    EXPECT_CALL(window, EnqueueResizeRequest(640, 480));
    CommonMetaHandler(&windows).ProcessSetWindowSizeCommand(0, 5, 640, 480);
    SingleWindowManager noWindow(nullptr);
    CommonMetaHandler(&noWindow).ProcessSetWindowSizeCommand(0, 5, 640, 480);
}

class StubScreenshots : public Util::GLScreenshotHandler {
public:
    StubScreenshots() : GLScreenshotHandler(Util::ImageFormat::Png, false) {}
    MOCK_METHOD(bool, WriteScreenshot,
                (const std::string& name, unsigned int width, unsigned int height, const void* data,
                 unsigned int format, unsigned int type),
                (override));
};

class ImageMetaHandlerTest : public testing::Test {
protected:
    ImageMetaHandlerTest()
    {
        Settings().m_dumpDefaultFbo = true;
        Settings().m_screenshotPath = "out/trace_";
    }
    ~ImageMetaHandlerTest() override
    {
        Settings().InitDefaultSettings();
        Settings().m_screenshotPath.clear();
    }

    static PlaybackEnvironment& Settings() { return *PlaybackEnvironment::Instance(); }

    const std::uint8_t pixels[4] = {};
    StrictMock<StubScreenshots> screenshots;
    ImageMetaHandler handler{&screenshots};
};

TEST_F(ImageMetaHandlerTest, EachBufferGetsAFileNamedAfterItsSurface)
{
    EXPECT_CALL(screenshots, WriteScreenshot("out/trace_state_defaultcolor7", 2, 3, pixels, 4, 5));
    EXPECT_CALL(screenshots, WriteScreenshot("out/trace_state_defaultdepth7", 2, 3, pixels, 4, 5));
    EXPECT_CALL(screenshots, WriteScreenshot("out/trace_state_defaultstencil7", 2, 3, pixels, 4, 5));
    handler.ProcessDefaultColorBuffer(1, 7, 2, 3, 4, 5, 4, pixels);
    handler.ProcessDefaultDepthBuffer(1, 7, 2, 3, 4, 5, 4, pixels);
    handler.ProcessDefaultStencilBuffer(1, 7, 2, 3, 4, 5, 4, pixels);
}

TEST_F(ImageMetaHandlerTest, NothingIsWrittenUnlessAskedFor)
{
    handler.ProcessDefaultColorBuffer(1, 7, 2, 3, 4, 5, 4, nullptr);
    Settings().m_dumpDefaultFbo = false;
    handler.ProcessDefaultColorBuffer(1, 7, 2, 3, 4, 5, 4, pixels);
    Settings().m_dumpDefaultFbo = true;
    Settings().m_defaultFbo = false;
    handler.ProcessDefaultColorBuffer(1, 7, 2, 3, 4, 5, 4, pixels);
    Settings().m_defaultFbo = true;
    ImageMetaHandler(nullptr).ProcessDefaultColorBuffer(1, 7, 2, 3, 4, 5, 4, pixels);
}

} // namespace
} // namespace Playback
