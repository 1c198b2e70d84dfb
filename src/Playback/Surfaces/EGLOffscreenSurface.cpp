#include "Playback/Surfaces/EGLOffscreenSurface.h"

#include <utility>
#include <vector>

#include <EGL/egl.h>
#include <GLES3/gl3.h>

#include "Playback/Calls/LiveCall.h"
#include "Playback/Windows/WindowManager.h"

namespace Playback {

namespace {

/// While it lives, glReadPixels writes rows one after the other to memory, however the capture arranged its own
/// reading: that would write elsewhere, or beyond the pixels.
class PlainPacking {
public:
    PlainPacking()
    {
        // The values that contexts begin with.
        for (const auto& [name, plain] : {std::pair{GL_PACK_ALIGNMENT, 4}, std::pair{GL_PACK_ROW_LENGTH, 0},
                                          std::pair{GL_PACK_SKIP_PIXELS, 0}, std::pair{GL_PACK_SKIP_ROWS, 0}}) {
            int value = plain;
            LiveGLES.glGetIntegerv(static_cast<GLenum>(name), &value);
            if (value != plain) {
                m_changed.emplace_back(name, value);
                CallLive(LiveGLES.glPixelStorei, name, plain);
            }
        }
        LiveGLES.glGetIntegerv(GL_PIXEL_PACK_BUFFER_BINDING, &m_buffer);
        if (m_buffer != 0) {
            CallLive(LiveGLES.glBindBuffer, GL_PIXEL_PACK_BUFFER, 0);
        }
    }
    ~PlainPacking()
    {
        if (m_buffer != 0) {
            CallLive(LiveGLES.glBindBuffer, GL_PIXEL_PACK_BUFFER, m_buffer);
        }
        for (const auto& [name, value] : m_changed) {
            CallLive(LiveGLES.glPixelStorei, name, value);
        }
    }
    PlainPacking(const PlainPacking&) = delete;
    PlainPacking& operator=(const PlainPacking&) = delete;

private:
    std::vector<std::pair<int, int>> m_changed;
    int m_buffer = 0;
};

} // namespace

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
    {
        const PlainPacking packing;
        LiveGLES.glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    }
    if (readBuffer != GL_BACK) {
        LiveGLES.glReadBuffer(static_cast<GLenum>(readBuffer));
    }
    if (framebuffer != 0) {
        LiveGLES.glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(framebuffer));
    }
    PLAYBACK_LOG(Error, General, "src/Playback/EGLOffscreenSurface",
                 "Pbuffer surface content cannot be displayed on screen: platform not supported.");
}

} // namespace Playback
