#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl3.h>

#include "EGLReplay.h"
#include "Playback/Surfaces/EGLProxySurface.h"

namespace Playback {
namespace {

using testing::_;
using testing::Contains;
using testing::ElementsAre;
using testing::InSequence;
using testing::Not;
using testing::StartsWith;

using EGLPlaybackAdapterTest = EGLReplay;

TEST_F(EGLPlaybackAdapterTest, TheDisplayComesFromTheWindowAndIsInitialisedOnce)
{
    adapter->Process_eglSwapInterval(1, 1, 0);
    adapter->Process_eglSwapInterval(1, 1, 1);
    EXPECT_THAT(Calls(), ElementsAre("eglGetDisplay(81) = 11", "eglInitialize(11) = 1, [1], [5]",
                                     "eglSwapInterval(11, 0) = 1", "eglSwapInterval(11, 1) = 1"));
    EXPECT_THAT(log.Take(), Contains("Forced initialization of EGL 1.5"));
    adapter->Process_eglTerminate(1, 1);
    adapter->Process_eglGetPlatformDisplay(2, EGL_PLATFORM_WAYLAND_EXT, 71, Null());
    EXPECT_THAT(Calls(), ElementsAre("eglTerminate(11) = 1", "eglGetDisplay(81) = 11"));
    EXPECT_EQ(table.GetValueEGLVoidPtr(71), Handle(StubWindow::Display));
    EXPECT_EQ(table.GetValueEGLDisplay(2), Handle(11));
    EXPECT_THAT(log.Take(), Not(Contains("EGLPlaybackAdapter changed display.")));

    Replay(&factory, nullptr);
    adapter->Process_eglGetDisplay(3, 72);
    EXPECT_THAT(Calls(), ElementsAre("eglGetDisplay(0) = 11"));
}

TEST_F(EGLPlaybackAdapterTest, ContextsAreMadeForVersion2AtLeast)
{
    const std::string promoted = "Promoting OpenGL ES 1.1 context to 2.0";
    const struct {
        Data::PointerData* recorded;
        std::string live;
        bool isPromoted;
    } cases[] = {
        {Null(), "EGL_CONTEXT_CLIENT_VERSION: 2", true},
        {In({EGL_CONTEXT_CLIENT_VERSION, 1, EGL_NONE}), "EGL_CONTEXT_CLIENT_VERSION: 2", true},
        {In({EGL_CONTEXT_PRIORITY_LEVEL_IMG, 7, EGL_NONE}),
         "EGL_CONTEXT_PRIORITY_LEVEL_IMG: 7, EGL_CONTEXT_CLIENT_VERSION: 2", true},
        {In({EGL_CONTEXT_CLIENT_VERSION, 3, EGL_CONTEXT_MINOR_VERSION, 1, EGL_NONE}),
         "EGL_CONTEXT_CLIENT_VERSION: 3, EGL_CONTEXT_MINOR_VERSION: 1", false},
        // The whole version says that no other one will do.
        {In({EGL_CONTEXT_CLIENT_VERSION, 1, EGL_CONTEXT_MINOR_VERSION, 1, EGL_NONE}), "EGL_CONTEXT_CLIENT_VERSION: 1",
         false},
    };
    Initialize();
    for (const auto& each : cases) {
        log.Take();
        adapter->Process_eglCreateContext(3, 1, 5, 0, each.recorded);
        EXPECT_EQ(testing::Value(log.Take(), Contains(promoted)), each.isPromoted) << each.live;
        EXPECT_THAT(Calls(), Contains(StartsWith("eglCreateContext(11, 21, 0, {" + each.live + "})")));
    }
    adapter->Process_eglCreateContext(4, 1, 5, 3, Null());
    adapter->Process_eglCreateContext(0, 1, 5, 3, Null());
    EXPECT_THAT(Calls(), Contains(StartsWith("eglCreateContext(11, 21, 505, ")));
    // Without a config, for surfaces of any, where the driver can do that.
    driver->Set("EGL_EXTENSIONS", "EGL_KHR_no_config_context");
    adapter->Process_eglCreateContext(6, 1, 0, 0, Null());
    EXPECT_THAT(Calls(), Contains(StartsWith("eglCreateContext(11, 0, 0, ")));
    EXPECT_EQ(table.GetSharedResourceIndex(4), 3u);
    EXPECT_EQ(table.GetSharedResourceIndex(0), 0u) << "no context joins no group";
    adapter->Process_eglDestroyContext(1, 1, 4);
    EXPECT_EQ(table.GetSharedContextAssociation(4), 0u);
}

TEST_F(EGLPlaybackAdapterTest, MakeCurrentWithoutADrawSurfaceIsOnlyRemembered)
{
    Initialize();
    MakeContext(3);
    MakeWindowSurface(7);
    Forget();
    adapter->Process_eglMakeCurrent(1, 1, 7, 7, 3);
    adapter->Process_eglMakeCurrent(1, 1, 0, 0, 3);
    EXPECT_THAT(Calls(), ElementsAre("eglMakeCurrent(11, 502, 502, 501) = 1"));
    unsigned int draw = 99;
    unsigned int context = 99;
    ASSERT_TRUE(table.GetCurrentContextInfo(nullptr, &draw, nullptr, &context));
    EXPECT_EQ(draw, 0u);
    EXPECT_EQ(context, 3u);
}

TEST_F(EGLPlaybackAdapterTest, AWindowIsResizedByForceWhenTheContextChanges)
{
    Initialize();
    MakeContext(3);
    MakeContext(4);
    MakeWindowSurface(7);
    adapter->Process_eglCreatePbufferSurface(8, 1, 5, Null());
    InSequence order;
    for (const bool force : {true, false, true, false, true})
        EXPECT_CALL(window, ProcessResizeRequest(force));
    adapter->Process_eglMakeCurrent(1, 1, 7, 7, 3);
    adapter->Process_eglMakeCurrent(1, 1, 7, 7, 3);
    adapter->Process_eglMakeCurrent(1, 1, 8, 8, 3);
    adapter->Process_eglMakeCurrent(1, 1, 7, 7, 4);
    // Behind a swap of a window; a context that came with the thread counts as changed.
    adapter->Process_eglSwapBuffers(1, 1, 7);
    adapter->Process_eglSwapBuffers(1, 1, 8);
    table.SetCurrentContext(1, 7, 7, 3);
    adapter->Process_eglSwapBuffers(1, 1, 7);
}

TEST_F(EGLPlaybackAdapterTest, TheDriverFollowsTheCapturedThread)
{
    Initialize();
    MakeContext(3);
    MakeWindowSurface(7);
    adapter->SetCurrentThread(100);
    adapter->Process_eglBindAPI(1, EGL_OPENGL_API);
    adapter->Process_eglMakeCurrent(1, 1, 7, 7, 3);
    table.GetValueEGLSurface(7)->SetSize(320, 200);
    Forget();

    adapter->SetCurrentThread(200);
    adapter->SetCurrentThread(200);
    EXPECT_THAT(Calls(), ElementsAre("eglBindAPI(EGL_OPENGL_ES_API) = 1", "eglMakeCurrent(11, 0, 0, 0) = 1"));

    InSequence order;
    EXPECT_CALL(window, EnqueueResizeRequest(320, 200));
    EXPECT_CALL(window, ProcessResizeRequest(true));
    adapter->SetCurrentThread(100);
    EXPECT_THAT(Calls(), ElementsAre("eglBindAPI(EGL_OPENGL_API) = 1", "eglMakeCurrent(11, 502, 502, 501) = 1"));
}

TEST_F(EGLPlaybackAdapterTest, SurfacesAreMadeInTheTitledWindow)
{
    Initialize();
    EXPECT_CALL(window, SetSubTitle("EGLSurface 7"));
    adapter->Process_eglCreateWindowSurface(7, 1, 5, 80, In({EGL_RENDER_BUFFER, EGL_BACK_BUFFER, EGL_NONE}));
    EXPECT_CALL(window, SetSubTitle("EGLSurface 8"));
    adapter->Process_eglCreatePlatformWindowSurface(8, 1, 5, 80, In64({EGL_GL_COLORSPACE, 1, EGL_NONE}));
    const auto calls = Calls();
    EXPECT_THAT(calls, Contains("eglCreateWindowSurface(11, 21, 82, {EGL_RENDER_BUFFER: 12420}) = 501"));
    EXPECT_THAT(calls, Contains("eglCreatePlatformWindowSurface(11, 21, 82, {EGL_GL_COLORSPACE: 1}) = 502"));
    // What the capture did not get is not kept.
    EXPECT_CALL(window, SetSubTitle(_)).Times(2);
    MakeWindowSurface(0);
    MakeWindowSurface(0xFFFFFFFF);
    EXPECT_THAT(Calls(), testing::IsSupersetOf(
                             {StartsWith("eglDestroySurface(11, 503"), StartsWith("eglDestroySurface(11, 504")}));
    EXPECT_EQ(table.GetDisplayResource(1)->surfaces.size(), 2u);
}

TEST_F(EGLPlaybackAdapterTest, AnErrorIsReportedAgainstItsCallAndReplayGoesOn)
{
    Initialize();
    log.Take();
    driver->SetEGLError(EGL_BAD_MATCH);
    adapter->Process_eglSwapInterval(1, 1, 0);
    adapter->Process_eglSwapInterval(1, 1, 1);
    EXPECT_THAT(log.Take(), ElementsAre("eglSwapInterval", "error: eglSwapInterval failed with error EGL_BAD_MATCH",
                                        "eglSwapInterval"));
}

/// Only asked for, not taken.
class StubScreenshots : public Util::GLScreenshotHandler {
public:
    StubScreenshots() : GLScreenshotHandler(Util::ImageFormat::Bmp, false) {}
    MOCK_METHOD(void, TakeScreenshot, (const std::string& name, unsigned int bufferMask), (override));
};

TEST_F(EGLPlaybackAdapterTest, ScreenshotsLeaveTheBoundFramebuffersAndCountersStartAgain)
{
    testing::NiceMock<StubScreenshots> screenshots;
    Initialize();
    MakeContext(3);
    MakeWindowSurface(7);
    adapter->Process_eglMakeCurrent(1, 1, 7, 7, 3);
    adapter->SetScreenshotHandler(&screenshots);
    settings.m_screenshotStartFrame = 1;
    settings.m_screenshotEndFrame = 3;
    // Depth and stencil too, in the frame of the screenshots of draws.
    settings.m_perDrawScreenshotFrame = 3;
    settings.m_perDrawScreenshotLastDraw = 9;
    const std::string none = "glBindFramebuffer(GL_FRAMEBUFFER, 0)";
    const struct {
        GLint draw, read;
        std::vector<std::string> binds;
    } cases[] = {
        {0, 0, {}},
        {5, 5, {none, "glBindFramebuffer(GL_FRAMEBUFFER, 5)"}},
        {5, 6, {none, "glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 5)", "glBindFramebuffer(GL_READ_FRAMEBUFFER, 6)"}}};
    EXPECT_CALL(screenshots, TakeScreenshot(_, GL_COLOR_BUFFER_BIT)).Times(3);
    EXPECT_CALL(screenshots, TakeScreenshot("frame3", GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT));
    for (const auto& bound : cases) {
        driver.Answer("glGetIntegerv", [&](const Fake::Arguments& args) {
            *args.Get<GLint*>(1) = args.Get<GLenum>(0) == GL_DRAW_FRAMEBUFFER_BINDING ? bound.draw : bound.read;
            return Fake::Word{0};
        });
        Forget();
        screenshots.m_draw = 12;
        adapter->Process_eglSwapBuffers(1, 1, 7);
        EXPECT_EQ(screenshots.m_draw, 0u);
        auto calls = driver.Log();
        std::erase_if(calls, [](const std::string& call) { return !call.starts_with("glBindFramebuffer"); });
        EXPECT_EQ(calls, bound.binds) << bound.draw << " and " << bound.read;
    }
    settings.m_swapFbo = 1;
    Forget();
    adapter->Process_eglSwapBuffers(1, 1, 7);
    EXPECT_THAT(Calls(), testing::IsEmpty());
    EXPECT_EQ(screenshots.m_frame, 4u) << "frames are counted where nothing is swapped";
}

} // namespace
} // namespace Playback
