#include "Playback/Surfaces/EGLOffscreenSurface.h"

#include <vector>

#include <EGL/egl.h>
#include <GLES3/gl3.h>

#include "Interfaces/GLState.h"
#include "Playback/Calls/LiveCall.h"
#include "Playback/Windows/WindowManager.h"

namespace Playback {

unsigned int EGLOffscreenSurface::SwapBuffers(void* display)
{
    if (IsLive() && m_windowManager && LiveGLES.glGetIntegerv && LiveGLES.glBindFramebuffer && LiveGLES.glReadBuffer &&
        LiveGLES.glReadPixels)
        ReadBack(display);
    return EGLPbufferSurface::SwapBuffers(display);
}

void EGLOffscreenSurface::ReadBack(void* display)
{
    constexpr std::size_t BytesPerPixel = 4;
    int width = 0;
    int height = 0;
    QuerySurface(display, EGL_WIDTH, &width);
    QuerySurface(display, EGL_HEIGHT, &height);
    if (!m_windowManager->GetActiveWindow() || width <= 0 || height <= 0)
        return;
    std::vector<unsigned char> pixels(BytesPerPixel * static_cast<std::size_t>(width) *
                                      static_cast<std::size_t>(height));
    {
        // glReadBuffer came with OpenGL ES 3.0.
        constexpr Core::ContextVersion Version = 30;
        const auto framebuffer = Core::BindScoped(LiveGLES, LiveGLES.glBindFramebuffer, Core::ReadFramebuffer, 0);
        const auto source = Core::ReadBufferScoped(LiveGLES, GL_BACK);
        const Core::PackedRows rows(LiveGLES, Core::PixelTransfer::Read, Version);
        LiveGLES.glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    }
    PLAYBACK_LOG(Error, General, "src/Playback/EGLOffscreenSurface",
                 "Pbuffer surface content cannot be displayed on screen: platform not supported.");
}

} // namespace Playback
