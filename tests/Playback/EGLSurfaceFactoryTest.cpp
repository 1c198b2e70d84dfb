#include <EGL/egl.h>
#include <GLES3/gl3.h>

#include <map>

#include "EGLReplay.h"
#include "Playback/Surfaces/EGLOffscreenSurfaceFactory.h"
#include "Playback/Surfaces/EGLPbufferSurfaceFactory.h"
#include "Playback/Surfaces/EGLProxySurface.h"

namespace Playback {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

/// Factories by themselves, with display 11 and config 21.
class EGLSurfaceFactoryTest : public EGLReplay {
protected:
    EGLSurfaceFactoryTest() { driver.ClearLog(); }

    void* const display = Handle(11);
    void* const config = Handle(21);
    void* const context = Handle(31);
    EGLPbufferSurfaceFactory pbuffers;
};

TEST_F(EGLSurfaceFactoryTest, APbufferIsMadeAtMakeCurrentAndAnewForAnotherSize)
{
    const int attribs[] = {EGL_RENDER_BUFFER, EGL_BACK_BUFFER, EGL_GL_COLORSPACE, EGL_GL_COLORSPACE_SRGB, EGL_NONE};
    auto* surface = pbuffers.CreateWindowSurface(display, config, Handle(StubWindow::Window), attribs);
    EXPECT_EQ(surface->GetOriginalType(), EGLProxySurface::OriginalWindow);
    EXPECT_EQ(surface->SurfaceAttrib(display, EGL_SWAP_BEHAVIOR, EGL_BUFFER_PRESERVED), 1u);
    surface->SetSize(320, 200);
    driver.Returns("eglCreatePbufferSurface", std::uintptr_t{0});
    EXPECT_EQ(surface->MakeCurrent(display, surface, context), 0u);
    driver.Answer("eglCreatePbufferSurface", nullptr);
    Forget();
    EXPECT_EQ(surface->MakeCurrent(display, surface, context), 1u) << "tried again with the same size";
    EXPECT_THAT(Calls(),
                ElementsAre("eglCreatePbufferSurface(11, 21, {EGL_GL_COLORSPACE: 12425, EGL_WIDTH: 320, "
                            "EGL_HEIGHT: 200, EGL_LARGEST_PBUFFER: 1}) = 501",
                            "eglSurfaceAttrib(11, 501, EGL_SWAP_BEHAVIOR, 12436) = 1",
                            "eglQuerySurface(11, 501, EGL_WIDTH) = 1, [320]",
                            "eglQuerySurface(11, 501, EGL_HEIGHT) = 1, [200]", "eglMakeCurrent(11, 501, 501, 31) = 1"));
    surface->SetSize(0, 0);
    surface->SetSize(320, 200);
    surface->MakeCurrent(display, surface, context);
    EXPECT_THAT(Calls(), ElementsAre("eglMakeCurrent(11, 501, 501, 31) = 1"));

    surface->SetSize(0, 240);
    EXPECT_EQ(surface->GetWidth(), 320u);
    EXPECT_EQ(surface->GetHeight(), 240u);
    surface->MakeCurrent(display, surface, context);
    const auto calls = Calls();
    EXPECT_THAT(calls, Contains("eglDestroySurface(11, 501) = 1"));
    EXPECT_THAT(calls, Contains("eglSurfaceAttrib(11, 502, EGL_SWAP_BEHAVIOR, 12436) = 1"));
    EXPECT_THAT(calls.back(), "eglMakeCurrent(11, 502, 502, 31) = 1");
}

TEST_F(EGLSurfaceFactoryTest, ConfigIsReplacedOnceForSurfacesAndContextsWhereItDoesNotServe)
{
    pbuffers.CreateContext(display, config, nullptr, nullptr); // the fake driver's configs have pbuffers
    EXPECT_THAT(Calls(), Contains("eglCreateContext(11, 21, 0, null) = 501"));
    driver.Answer("eglGetConfigAttrib", [](const Fake::Arguments& args) {
        const auto attribute = args.Get<EGLint>(2);
        *args.Get<EGLint*>(3) = attribute == EGL_SURFACE_TYPE ? EGL_WINDOW_BIT | EGL_PIXMAP_BIT : 8;
        return Fake::Word{attribute != EGL_SAMPLES};
    });
    int found = 0;
    driver.Answer("eglChooseConfig", [&](const Fake::Arguments& args) {
        *args.Get<void**>(2) = Handle(22);
        *args.Get<EGLint*>(4) = found;
        return Fake::Word{EGL_TRUE};
    });
    pbuffers.CreateContext(display, Handle(23), nullptr, nullptr);
    EXPECT_THAT(Calls(), Contains(StartsWith("eglCreateContext(11, 23,"))) << "there is no other";
    found = 1;
    pbuffers.CreateContext(display, Handle(24), nullptr, nullptr);
    auto calls = Calls();
    EXPECT_THAT(calls, Contains(StartsWith("eglCreateContext(11, 22,")));
    EXPECT_THAT(calls, Contains(StartsWith("eglChooseConfig(11, {EGL_SURFACE_TYPE: 3, EGL_RENDERABLE_TYPE: 8, "
                                           "EGL_RED_SIZE: 8, EGL_GREEN_SIZE: 8, EGL_BLUE_SIZE: 8, EGL_ALPHA_SIZE: 8, "
                                           "EGL_DEPTH_SIZE: 8, EGL_STENCIL_SIZE: 8, EGL_SAMPLE_BUFFERS: 8}")));
    EXPECT_THAT(log.Take(), ElementsAre("error: Failed to find an EGL config that supports pbuffer surfaces.",
                                        "Overriding EGL config 0x18 with pbuffer-compliant config 0x16 for "
                                        "pbuffer-to-window surface substitution."));
    pbuffers.CreatePixmapSurface(display, Handle(24), nullptr, nullptr);
    EXPECT_THAT(Calls(), ElementsAre(StartsWith("eglCreatePixmapSurface(11, 22,")));
    pbuffers.Terminate(display);
    pbuffers.CreateContext(display, Handle(24), nullptr, nullptr);
    EXPECT_THAT(Calls(), Contains(StartsWith("eglChooseConfig")));
}

TEST_F(EGLSurfaceFactoryTest, AnOffscreenSurfaceIsReadBackBeforeTheSwapAndLeavesTheBindings)
{
    EGLOffscreenSurfaceFactory offscreen(&windows);
    auto* surface = offscreen.CreateWindowSurface(display, config, nullptr, nullptr);
    surface->SetSize(4, 2);
    surface->MakeCurrent(display, surface, context);
    log.Take();
    const auto swap = [&](std::map<GLenum, GLint> bound) {
        driver.Answer("glGetIntegerv", [&](const Fake::Arguments& args) {
            if (const auto value = bound.find(args.Get<GLenum>(0)); value != bound.end())
                *args.Get<GLint*>(1) = value->second;
            return Fake::Word{0};
        });
        Forget();
        surface->SwapBuffers(display);
        auto calls = driver.Log();
        std::erase_if(calls, [](const std::string& call) {
            return call.starts_with("glGet") || call.starts_with("eglQuerySurface");
        });
        return calls;
    };
    EXPECT_THAT(swap({}), ElementsAre(StartsWith("glReadPixels(0, 0, 4, 2, GL_RGBA, GL_UNSIGNED_BYTE"),
                                      "eglSwapBuffers(11, 501) = 1"));
    EXPECT_THAT(log.Take(), ElementsAre("error: Pbuffer surface content cannot be displayed on screen: platform not "
                                        "supported."));
    EXPECT_THAT(swap({{GL_READ_FRAMEBUFFER_BINDING, 9},
                      {GL_READ_BUFFER, GL_COLOR_ATTACHMENT0},
                      {GL_PACK_ROW_LENGTH, 999},
                      {GL_PIXEL_PACK_BUFFER_BINDING, 6}}),
                ElementsAre("glBindFramebuffer(GL_READ_FRAMEBUFFER, 0)", "glReadBuffer(GL_BACK)",
                            "glPixelStorei(GL_PACK_ROW_LENGTH, 0)", "glBindBuffer(GL_PIXEL_PACK_BUFFER, 0)",
                            StartsWith("glReadPixels"), "glBindBuffer(GL_PIXEL_PACK_BUFFER, 6)",
                            "glPixelStorei(GL_PACK_ROW_LENGTH, 999)", "glReadBuffer(GL_COLOR_ATTACHMENT0)",
                            "glBindFramebuffer(GL_READ_FRAMEBUFFER, 9)", StartsWith("eglSwapBuffers")));
}

} // namespace
} // namespace Playback
