#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl3.h>

#include "EGLReplay.h"
#include "Playback/EGLProxySurface.h"

namespace Playback {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::InSequence;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using EGLDisplayTest = EGLReplay;

TEST_F(EGLDisplayTest, InitialisesOnceWhereTheCaptureDoesNot)
{
    adapter->Process_eglSwapInterval(1, 1, 0);
    adapter->Process_eglSwapInterval(1, 1, 1);
    EXPECT_THAT(Calls(), ElementsAre("eglGetDisplay(81) = 11", "eglInitialize(11) = 1, [1], [5]",
                                     "eglSwapInterval(11, 0) = 1", "eglSwapInterval(11, 1) = 1"));
    EXPECT_THAT(log.Take(), Contains("Forced initialization of EGL 1.5"));
}

TEST_F(EGLDisplayTest, ComesFromTheWindowAndIsRememberedByItsCapturedNumber)
{
    adapter->Process_eglGetDisplay(1, 70);
    adapter->Process_eglGetPlatformDisplay(2, EGL_PLATFORM_WAYLAND_EXT, 71, Null());
    EXPECT_THAT(Calls(), ElementsAre("eglGetDisplay(81) = 11", "eglGetDisplay(81) = 11"));
    EXPECT_EQ(table.GetValueEGLVoidPtr(70), Handle(NativeDisplay));
    EXPECT_EQ(table.GetValueEGLDisplay(1), Handle(11));
    EXPECT_EQ(table.GetValueEGLDisplay(2), Handle(11));

    Replay(&factory, nullptr);
    adapter->Process_eglGetDisplay(3, 72);
    EXPECT_THAT(Calls(), ElementsAre("eglGetDisplay(0) = 11"));
}

TEST_F(EGLDisplayTest, IsForgottenWhenTerminated)
{
    Initialize();
    adapter->Process_eglTerminate(1, 1);
    adapter->Process_eglGetDisplay(1, 70);
    EXPECT_THAT(Calls(), ElementsAre("eglTerminate(11) = 1", "eglGetDisplay(81) = 11"));
    EXPECT_THAT(log.Take(), Not(Contains("EGLPlaybackAdapter changed display.")));
}

TEST_F(EGLDisplayTest, ShutdownReleasesAndTerminates)
{
    Initialize();
    MakeContext(3);
    Forget();
    adapter.reset();
    EXPECT_THAT(Calls(), ElementsAre("eglDestroyContext(11, 501) = 1", "eglMakeCurrent(11, 0, 0, 0) = 1",
                                     "eglTerminate(11) = 1"));
    EXPECT_THAT(log.Take(), Contains("Calling eglTerminate on shutdown"));
    EXPECT_EQ(Core::KHRLayer::playbackEGLProcTable.eglMakeCurrent, nullptr);
}

using EGLContextTest = EGLReplay;

TEST_F(EGLContextTest, IsMadeForVersion2AtLeast)
{
    Initialize();
    const std::string promoted = "Promoting OpenGL ES 1.1 context to 2.0";
    log.Take();
    for (auto* attribs : {Null(), In({EGL_NONE}), In({EGL_CONTEXT_CLIENT_VERSION, 1, EGL_NONE}),
                          In({EGL_CONTEXT_PRIORITY_LEVEL_IMG, 7, EGL_NONE})}) {
        adapter->Process_eglCreateContext(3, 1, 5, 0, attribs);
        EXPECT_THAT(log.Take(), Contains(promoted));
    }
    adapter->Process_eglCreateContext(3, 1, 5, 0,
                                      In({EGL_CONTEXT_CLIENT_VERSION, 3, EGL_CONTEXT_MINOR_VERSION, 1, EGL_NONE}));
    EXPECT_THAT(log.Take(), Not(Contains(promoted)));
    auto calls = Calls();
    std::erase_if(calls, [](const std::string& call) { return !call.starts_with("eglCreateContext"); });
    EXPECT_THAT(
        calls,
        ElementsAre(
            "eglCreateContext(11, 21, 0, {EGL_CONTEXT_CLIENT_VERSION: 2}) = 501",
            "eglCreateContext(11, 21, 0, {EGL_CONTEXT_CLIENT_VERSION: 2}) = 502",
            "eglCreateContext(11, 21, 0, {EGL_CONTEXT_CLIENT_VERSION: 2}) = 503",
            "eglCreateContext(11, 21, 0, {EGL_CONTEXT_PRIORITY_LEVEL_IMG: 7, EGL_CONTEXT_CLIENT_VERSION: 2}) = 504",
            "eglCreateContext(11, 21, 0, {EGL_CONTEXT_CLIENT_VERSION: 3, EGL_CONTEXT_MINOR_VERSION: 1}) = 505"));
}

TEST_F(EGLContextTest, SharesWithTheLiveContext)
{
    Initialize();
    MakeContext(3);
    const auto* first = table.GetValueEGLContext(3);
    Forget();
    adapter->Process_eglCreateContext(4, 1, 5, 3, Null());
    adapter->Process_eglCreateContext(0, 1, 5, 3, Null());
    EXPECT_EQ(table.GetSharedResourceIndex(4), 3u);
    EXPECT_EQ(table.GetSharedResourceIndex(0), 0u) << "no context joins no group";
    EXPECT_THAT(Calls(), Contains(testing::HasSubstr(std::to_string(reinterpret_cast<std::uintptr_t>(first)))));

    adapter->Process_eglDestroyContext(1, 1, 4);
    EXPECT_EQ(table.GetSharedContextAssociation(4), 0u);
    EXPECT_EQ(table.GetValueEGLContext(4), nullptr);
}

TEST_F(EGLContextTest, MakeCurrentWithoutADrawSurfaceIsOnlyRemembered)
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

TEST_F(EGLContextTest, AWindowIsResizedByForceWhenTheContextChanges)
{
    Initialize();
    MakeContext(3);
    MakeContext(4);
    MakeWindowSurface(7);
    adapter->Process_eglCreatePbufferSurface(8, 1, 5, Null());
    {
        InSequence order;
        EXPECT_CALL(window, ProcessResizeRequest(true));
        EXPECT_CALL(window, ProcessResizeRequest(false));
        EXPECT_CALL(window, ProcessResizeRequest(true));
    }
    adapter->Process_eglMakeCurrent(1, 1, 7, 7, 3);
    adapter->Process_eglMakeCurrent(1, 1, 7, 7, 3);
    adapter->Process_eglMakeCurrent(1, 1, 8, 8, 3);
    adapter->Process_eglMakeCurrent(1, 1, 7, 7, 4);
}

TEST_F(EGLContextTest, FollowsTheCapturedThread)
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

using EGLSurfaceTest = EGLReplay;

TEST_F(EGLSurfaceTest, IsMadeInTheTitledWindow)
{
    Initialize();
    EXPECT_CALL(window, SetSubTitle("EGLSurface 7"));
    adapter->Process_eglCreateWindowSurface(7, 1, 5, 80, In({EGL_RENDER_BUFFER, EGL_BACK_BUFFER, EGL_NONE}));
    EXPECT_CALL(window, SetSubTitle("EGLSurface 8"));
    adapter->Process_eglCreatePlatformWindowSurface(8, 1, 5, 80, In64({EGL_GL_COLORSPACE, 1, EGL_NONE}));
    auto calls = Calls();
    std::erase_if(calls, [](const std::string& call) { return !call.starts_with("eglCreate"); });
    EXPECT_THAT(calls, ElementsAre("eglCreateWindowSurface(11, 21, 82, {EGL_RENDER_BUFFER: 12420}) = 501",
                                   "eglCreatePlatformWindowSurface(11, 21, 82, {EGL_GL_COLORSPACE: 1}) = 502"));
    EXPECT_EQ(table.GetValueEGLSurface(7)->GetOriginalType(), EGLProxySurface::OriginalWindow);
}

TEST_F(EGLSurfaceTest, LeavesNothingBehindThatTheCaptureDidNotGet)
{
    Initialize();
    for (const unsigned int none : {0u, 0xFFFFFFFFu}) {
        MakeWindowSurface(none);
        auto calls = Calls();
        std::erase_if(calls, [](const std::string& call) { return call.starts_with("eglChooseConfig"); });
        EXPECT_THAT(calls, ElementsAre(StartsWith("eglCreateWindowSurface"), StartsWith("eglDestroySurface")));
    }
    EXPECT_EQ(table.GetDisplayResource(1)->surfaces.size(), 0u);
}

using EGLErrorTest = EGLReplay;

TEST_F(EGLErrorTest, IsReportedAgainstItsCallAndReplayGoesOn)
{
    Initialize();
    log.Take();
    driver->SetEGLError(EGL_BAD_MATCH);
    adapter->Process_eglSwapInterval(1, 1, 0);
    adapter->Process_eglSwapInterval(1, 1, 1);
    EXPECT_THAT(log.Take(), ElementsAre("eglSwapInterval", "error: eglSwapInterval failed with error EGL_BAD_MATCH",
                                        "eglSwapInterval"));
}

TEST_F(EGLErrorTest, IsNotAskedForWhenChecksAreOff)
{
    settings.m_skipErrorCheck = true;
    Initialize();
    MakeContext(3);
    MakeWindowSurface(7);
    adapter->Process_eglMakeCurrent(1, 1, 7, 7, 3);
    adapter->Process_eglSwapBuffers(1, 1, 7);
    EXPECT_THAT(driver->Log(), Not(Contains(StartsWith("eglGetError"))));
}

} // namespace
} // namespace Playback
