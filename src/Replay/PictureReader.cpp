#include "Replay/PictureReader.h"

#include <cinttypes>
#include <cstdio>

#include "Data/BackBuffer.h"
#include "Interfaces/Core.h"

namespace Replay {

namespace {

/// The whole tables: functions that are skipped for the replay still serve here.
Data::BackBufferFunctions LiveFunctions()
{
    const Core::GLESProcTable& gl = Core::KHRLayer::GLESProc();
    return {gl.glGetString,
            gl.glGetIntegerv,
            gl.glPixelStorei,
            gl.glBindBuffer,
            gl.glBindFramebuffer,
            gl.glReadBuffer,
            gl.glReadPixels,
            gl.glGetError,
            gl.glIsFramebuffer,
            gl.glCheckFramebufferStatus,
            gl.glGetFramebufferAttachmentParameteriv,
            gl.glBindRenderbuffer,
            gl.glGetRenderbufferParameteriv,
            gl.glBindTexture,
            gl.glGetTexLevelParameteriv};
}

std::uint32_t QuerySurface(EGLDisplay display, EGLSurface surface, EGLint attribute)
{
    const auto query = Core::KHRLayer::EGLProc().eglQuerySurface;
    EGLint value = 0;
    return query && query(display, surface, attribute, &value) && value > 0 ? static_cast<std::uint32_t>(value) : 0;
}

} // namespace

Picture PictureReader::Read(unsigned int framebuffer)
{
    if (framebuffer == 0)
        return ReadBackBuffer();
    const auto found = Data::HashFramebuffer(LiveFunctions(), framebuffer, m_pixels);
    return found ? Picture{found->width, found->height, found->hash} : Picture();
}

Picture PictureReader::ReadBackBuffer()
{
    const Core::EGLProcTable& egl = Core::KHRLayer::EGLProc();
    if (!egl.eglGetCurrentDisplay || !egl.eglGetCurrentSurface)
        return {};
    const EGLDisplay display = egl.eglGetCurrentDisplay();
    const EGLSurface surface = egl.eglGetCurrentSurface(EGL_DRAW);
    if (display == EGL_NO_DISPLAY || surface == EGL_NO_SURFACE)
        return {};
    const std::uint32_t width = QuerySurface(display, surface, EGL_WIDTH);
    const std::uint32_t height = QuerySurface(display, surface, EGL_HEIGHT);
    return {width, height, Data::HashBackBuffer(LiveFunctions(), width, height, m_pixels)};
}

std::string Picture::Text() const
{
    if (!hash)
        return "no frame to read";
    char text[64];
    std::snprintf(text, sizeof text, "%" PRIu32 "x%" PRIu32 " hash %016" PRIx64, width, height, *hash);
    return text;
}

} // namespace Replay
