#include "Playback/ForceFlushBlockEventHandler.h"

#include "Interfaces/Core.h"

namespace Playback {
namespace {

bool HasCurrentContext()
{
    const auto getCurrentContext = Core::KHRLayer::EGLProc().eglGetCurrentContext;
    return getCurrentContext && getCurrentContext() != EGL_NO_CONTEXT;
}

void Flush()
{
    const auto flush = Core::KHRLayer::GLESProc().glFlush;
    if (flush && HasCurrentContext())
        flush();
}

void Swap()
{
    const Core::EGLProcTable& egl = Core::KHRLayer::EGLProc();
    if (!egl.eglGetCurrentDisplay || !egl.eglGetCurrentSurface || !egl.eglSwapBuffers || !HasCurrentContext())
        return;
    const EGLDisplay display = egl.eglGetCurrentDisplay();
    const EGLSurface surface = egl.eglGetCurrentSurface(EGL_DRAW);
    if (display != EGL_NO_DISPLAY && surface != EGL_NO_SURFACE)
        egl.eglSwapBuffers(display, surface);
}

} // namespace

void ForceFlushBlockEventHandler::BlockEnd(Data::BlockType type)
{
    if (type == Data::BlockType::Frame && m_flushAtFrameEnd)
        Flush();
    else if (type == Data::BlockType::State && m_swapAtStateEnd)
        Swap();
}

} // namespace Playback
