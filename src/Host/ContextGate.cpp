#include "Host/ContextGate.h"

#include <EGL/eglext.h>

namespace Host {

ContextGate::ContextGate(Playback::GLResourceTable* table, Playback::WindowManager* windows,
                         Playback::EGLProxySurfaceFactory* surfaces, Tell tell)
    : EGLPlaybackAdapter(table, windows, surfaces), m_table(table), m_tell(std::move(tell))
{
    m_tell(false);
}

bool ContextGate::IsLive() const
{
    unsigned int capturedDisplay = 0;
    unsigned int capturedContext = 0;
    if (!m_table->GetCurrentContextInfo(&capturedDisplay, nullptr, nullptr, &capturedContext) || capturedContext == 0) {
        return false;
    }
    const EGLContext context = FindContext(capturedDisplay, capturedContext);
    const auto getCurrent = Core::KHRLayer::EGLProc().eglGetCurrentContext;
    return context && (!getCurrent || getCurrent() == context);
}

EGLContext ContextGate::FindContext(std::uint32_t capturedDisplay, std::uint32_t capturedContext) const
{
    const auto* display = m_table->GetDisplayResource(capturedDisplay);
    if (!display) {
        return EGL_NO_CONTEXT;
    }
    const auto context = display->contexts.find(capturedContext);
    return context != display->contexts.end() ? context->second : EGL_NO_CONTEXT;
}

void ContextGate::SetCurrentThread(std::uint32_t threadId)
{
    EGLPlaybackAdapter::SetCurrentThread(threadId);
    m_tell(IsLive());
}

void ContextGate::Process_eglMakeCurrent(std::int32_t captured, std::uint32_t dpy, std::uint32_t draw,
                                         std::uint32_t read, std::uint32_t ctx)
{
    EGLPlaybackAdapter::Process_eglMakeCurrent(captured, dpy, draw, read, ctx);
    m_tell(IsLive());
}

void ContextGate::Process_eglCreateContext(std::uint32_t captured, std::uint32_t dpy, std::uint32_t config,
                                           std::uint32_t share_context, Data::PointerData* attrib_list)
{
    EGLPlaybackAdapter::Process_eglCreateContext(captured, dpy, config, share_context, attrib_list);
    m_tell(IsLive());
}

void ContextGate::Process_eglDestroyContext(std::int32_t captured, std::uint32_t dpy, std::uint32_t ctx)
{
    EGLPlaybackAdapter::Process_eglDestroyContext(captured, dpy, ctx);
    m_tell(IsLive());
}

void ContextGate::Process_eglReleaseThread(std::int32_t captured)
{
    EGLPlaybackAdapter::Process_eglReleaseThread(captured);
    m_tell(IsLive());
}

void ContextGate::Process_eglTerminate(std::int32_t captured, std::uint32_t dpy)
{
    EGLPlaybackAdapter::Process_eglTerminate(captured, dpy);
    m_tell(IsLive());
}

void ContextGate::Process_eglCreateImageKHR(std::uint32_t captured, std::uint32_t dpy, std::uint32_t ctx,
                                            std::int32_t target, std::uint32_t buffer, Data::PointerData* attrib_list)
{
    // The targets of EGL_KHR_gl_image, one number after the other.
    const bool isOfGL = target >= EGL_GL_TEXTURE_2D_KHR && target <= EGL_GL_RENDERBUFFER_KHR;
    if (isOfGL && !FindContext(dpy, ctx)) {
        Core::Log::Print(Core::LogWarning, Core::ZoneGeneral, __LINE__, "src/Host/ContextGate", true,
                         "eglCreateImageKHR is skipped: there is no context %u for its object", ctx);
        return;
    }
    EGLPlaybackAdapter::Process_eglCreateImageKHR(captured, dpy, ctx, target, buffer, attrib_list);
}

} // namespace Host
