#include "Host/OffscreenSurfaceFactory.h"

#include "FakeDriver/FakeDriver.h"
#include "Playback/EGLPbufferSurfaceFactory.h"

namespace {

using testing::Contains;
using testing::StartsWith;

// The engine's factory sends windows of the newer entry point to the driver, which has none off screen.
TEST_F(FakeDriverTest, WindowsOfThePlatformEntryPointBecomePbuffersToo)
{
    Host::OffscreenSurfaceFactory<Playback::EGLPbufferSurfaceFactory> factory;
    void* const display = reinterpret_cast<void*>(1);
    const long attribs[] = {EGL_GL_COLORSPACE_KHR, EGL_GL_COLORSPACE_SRGB_KHR, EGL_NONE};
    Playback::EGLProxySurface* surface =
        factory.CreateWindowSurface64(display, reinterpret_cast<void*>(22), nullptr, attribs);
    ASSERT_NE(surface, nullptr);
    surface->SetSize(30, 20);
    EXPECT_TRUE(surface->MakeCurrent(display, surface, nullptr));
    EXPECT_THAT(driver.Log(),
                Contains(StartsWith("eglCreatePbufferSurface(1, 22, {EGL_GL_COLORSPACE: 12425, EGL_WIDTH: 30, "
                                    "EGL_HEIGHT: 20,")));
    EXPECT_EQ(surface->GetOriginalType(), Playback::EGLProxySurface::OriginalWindow);
    factory.DestroySurface(display, surface);
}

} // namespace
