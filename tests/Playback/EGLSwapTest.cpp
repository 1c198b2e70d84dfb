#include <GLES3/gl3.h>

#include "EGLReplay.h"

namespace Playback {
namespace {

using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

/// Writes down what it is asked to save, between the driver's calls.
class StubScreenshots : public Util::GLScreenshotHandler {
public:
    StubScreenshots() : GLScreenshotHandler(Util::ImageFormat::Bmp, false) {}
    MOCK_METHOD(void, TakeScreenshot, (const std::string& name, unsigned int bufferMask), (override));
};

class EGLSwapTest : public EGLReplay {
protected:
    EGLSwapTest()
    {
        Initialize();
        MakeContext(3);
        MakeWindowSurface(7);
        adapter->Process_eglMakeCurrent(1, 1, 7, 7, 3);
        adapter->SetScreenshotHandler(&screenshots);
        Forget();
    }
    void Swap(int times = 1)
    {
        for (int i = 0; i < times; ++i) {
            adapter->Process_eglSwapBuffers(1, 1, 7);
        }
    }
    /// The framebuffers that the application left bound at the swap.
    void Bind(GLint draw, GLint read)
    {
        driver.Answer("glGetIntegerv", [draw, read](const Fake::Arguments& args) {
            *args.Get<GLint*>(1) = args.Get<GLenum>(0) == GL_DRAW_FRAMEBUFFER_BINDING ? draw : read;
            return Fake::Word{0};
        });
    }

    testing::NiceMock<StubScreenshots> screenshots;
};

TEST_F(EGLSwapTest, ScreenshotsComeAtTheIntervalAndInTheRange)
{
    settings.m_screenshotPath = "out/cube_";
    Swap();
    settings.m_screenshotInterval = 3;
    settings.m_screenshotStartFrame = 4;
    settings.m_screenshotEndFrame = 5;
    for (const char* name : {"out/cube_frame3", "out/cube_frame4", "out/cube_frame5", "out/cube_frame6"}) {
        EXPECT_CALL(screenshots, TakeScreenshot(name, GL_COLOR_BUFFER_BIT));
    }
    Swap(7);
    EXPECT_EQ(screenshots.m_frame, 8u);
}

TEST_F(EGLSwapTest, ScreenshotComesBeforeTheSwapAndCountersStartAgain)
{
    settings.m_screenshotInterval = 1;
    screenshots.m_draw = 12;
    screenshots.m_blit = 3;
    EXPECT_CALL(screenshots, TakeScreenshot(_, _)).WillOnce([this] { EXPECT_THAT(Calls(), IsEmpty()); });
    Swap();
    EXPECT_THAT(Calls(), ElementsAre(StartsWith("eglSwapBuffers")));
    EXPECT_EQ(screenshots.m_draw, 0u);
    EXPECT_EQ(screenshots.m_blit, 0u);
}

TEST_F(EGLSwapTest, DepthAndStencilComeInTheFrameOfTheDrawScreenshots)
{
    settings.m_screenshotInterval = 1;
    settings.m_perDrawScreenshotFrame = 2;
    settings.m_perDrawScreenshotLastDraw = 9;
    EXPECT_CALL(screenshots, TakeScreenshot(_, GL_COLOR_BUFFER_BIT)).Times(3);
    EXPECT_CALL(screenshots, TakeScreenshot("frame2", GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT));
    Swap(3);
    settings.m_perDrawScreenshotFrame = 4;
    settings.m_perDrawScreenshotFirstDraw = 1;
    EXPECT_CALL(screenshots, TakeScreenshot("frame4", GL_COLOR_BUFFER_BIT));
    Swap();
}

TEST_F(EGLSwapTest, ScreenshotLeavesTheBoundFramebuffers)
{
    settings.m_screenshotInterval = 1;
    const struct {
        GLint draw;
        GLint read;
        std::vector<std::string> binds;
    } cases[] = {
        {0, 0, {}},
        {5, 5, {"glBindFramebuffer(GL_FRAMEBUFFER, 0)", "glBindFramebuffer(GL_FRAMEBUFFER, 5)"}},
        {0,
         6,
         {"glBindFramebuffer(GL_FRAMEBUFFER, 0)", "glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 0)",
          "glBindFramebuffer(GL_READ_FRAMEBUFFER, 6)"}},
        {5,
         0,
         {"glBindFramebuffer(GL_FRAMEBUFFER, 0)", "glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 5)",
          "glBindFramebuffer(GL_READ_FRAMEBUFFER, 0)"}},
    };
    for (const auto& bound : cases) {
        Bind(bound.draw, bound.read);
        Forget();
        Swap();
        auto calls = driver.Log();
        std::erase_if(calls, [](const std::string& call) { return !call.starts_with("glBindFramebuffer"); });
        EXPECT_EQ(calls, bound.binds) << bound.draw << " and " << bound.read;
    }
}

TEST_F(EGLSwapTest, CountsFramesWithoutSwapping)
{
    settings.m_swapFbo = 1;
    EXPECT_CALL(window, ProcessResizeRequest(_)).Times(0);
    Swap(2);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(screenshots.m_frame, 2u);
}

TEST_F(EGLSwapTest, ResizesTheWindowBehindTheSwap)
{
    EXPECT_CALL(window, ProcessResizeRequest(false)).WillOnce([this](bool) {
        EXPECT_THAT(Calls(), ElementsAre(StartsWith("eglSwapBuffers")));
    });
    Swap();
    adapter->Process_eglCreatePbufferSurface(8, 1, 5, Null());
    adapter->Process_eglSwapBuffers(1, 1, 8);
    adapter->Process_eglSwapBuffers(1, 1, 6); // never created
}

TEST_F(EGLSwapTest, AContextThatCameWithTheThreadCountsAsChanged)
{
    MakeContext(4);
    table.SetCurrentContext(1, 7, 7, 4);
    EXPECT_CALL(window, ProcessResizeRequest(true));
    Swap();
    EXPECT_CALL(window, ProcessResizeRequest(false));
    Swap();
}

} // namespace
} // namespace Playback
