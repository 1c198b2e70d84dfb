#include "Playback/EGLOffscreenSurface.h"

#include <vector>

#include <EGL/egl.h>
#include <GLES3/gl3.h>

#include "Playback/LiveCall.h"
#include "Playback/WindowManager.h"

namespace Playback {

unsigned int EGLOffscreenSurface::SwapBuffers(void* display)
{
    if (IsLive() && m_windowManager && LiveGLES.glGetIntegerv && LiveGLES.glBindFramebuffer && LiveGLES.glReadBuffer &&
        LiveGLES.glReadPixels) {
        ReadBack(display);
    }
    return EGLPbufferSurface::SwapBuffers(display);
}

void EGLOffscreenSurface::ReadBack(void* display)
{
    constexpr std::size_t BytesPerPixel = 4;
    int width = 0;
    int height = 0;
    QuerySurface(display, EGL_WIDTH, &width);
    QuerySurface(display, EGL_HEIGHT, &height);
    if (!m_windowManager->GetActiveWindow() || width <= 0 || height <= 0) {
        return;
    }
    std::vector<unsigned char> pixels(BytesPerPixel * static_cast<std::size_t>(width) *
                                      static_cast<std::size_t>(height));
    int framebuffer = 0;
    LiveGLES.glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &framebuffer);
    if (framebuffer != 0) {
        LiveGLES.glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
    }
    int readBuffer = GL_BACK;
    LiveGLES.glGetIntegerv(GL_READ_BUFFER, &readBuffer);
    if (readBuffer != GL_BACK) {
        LiveGLES.glReadBuffer(GL_BACK);
    }
    LiveGLES.glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    if (readBuffer != GL_BACK) {
        LiveGLES.glReadBuffer(static_cast<GLenum>(readBuffer));
    }
    if (framebuffer != 0) {
        LiveGLES.glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(framebuffer));
    }
    Core::Log::Print(Core::LogError, Core::ZoneGeneral, __LINE__, "src/Playback/EGLOffscreenSurface", true,
                     "Pbuffer surface content cannot be displayed on screen: platform not supported.");
}

} // namespace Playback
