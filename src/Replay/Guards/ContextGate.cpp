#include "Replay/Guards/ContextGate.h"

#include <EGL/eglext.h>

#include "Replay/Driver/ConfigRequests.h"

namespace Replay {

ContextGate::ContextGate(Playback::GLResourceTable* table, Playback::WindowManager* windows,
                         Playback::EGLProxySurfaceFactory* surfaces, Tell tell)
    : SharedDisplays(table, windows, surfaces), m_table(table), m_tell(std::move(tell))
{
    m_tell(false);
}

bool ContextGate::IsLive() const
{
    unsigned int capturedDisplay = 0;
    unsigned int capturedContext = 0;
    if (!m_table->GetCurrentContextInfo(&capturedDisplay, nullptr, nullptr, &capturedContext) || capturedContext == 0)
        return false;
    const auto getCurrent = Core::KHRLayer::EGLProc().eglGetCurrentContext;
    const EGLContext context = m_survivor && capturedContext == m_capturedSurvivor
                                   ? m_survivor
                                   : FindContext(capturedDisplay, capturedContext);
    return context && (!getCurrent || getCurrent() == context);
}

void ContextGate::TellAnew()
{
    m_survivor = EGL_NO_CONTEXT;
    m_tell(IsLive());
}

EGLContext ContextGate::FindContext(std::uint32_t capturedDisplay, std::uint32_t capturedContext) const
{
    const auto* display = m_table->GetDisplayResource(capturedDisplay);
    if (!display)
        return EGL_NO_CONTEXT;
    const auto context = display->contexts.find(capturedContext);
    return context != display->contexts.end() ? context->second : EGL_NO_CONTEXT;
}

void ContextGate::SetCurrentThread(std::uint32_t threadId)
{
    SharedDisplays::SetCurrentThread(threadId);
    TellAnew();
}

void ContextGate::Process_eglMakeCurrent(std::int32_t captured, std::uint32_t dpy, std::uint32_t draw,
                                         std::uint32_t read, std::uint32_t ctx)
{
    SharedDisplays::Process_eglMakeCurrent(captured, dpy, draw, read, ctx);
    TellAnew();
}

void ContextGate::Process_eglCreateContext(std::uint32_t captured, std::uint32_t dpy, std::uint32_t config,
                                           std::uint32_t share_context, Data::PointerData* attrib_list)
{
    SharedDisplays::Process_eglCreateContext(captured, dpy, config, share_context, attrib_list);
    TellAnew();
}

void ContextGate::Process_eglChooseConfig(std::int32_t captured, std::uint32_t dpy, Data::PointerData* attrib_list,
                                          Data::PointerData* configs, std::int32_t config_size,
                                          Data::PointerData* num_config)
{
    const QuietConfigRequests quiet;
    SharedDisplays::Process_eglChooseConfig(captured, dpy, attrib_list, configs, config_size, num_config);
}

void ContextGate::Process_eglDestroyContext(std::int32_t captured, std::uint32_t dpy, std::uint32_t ctx)
{
    SharedDisplays::Process_eglDestroyContext(captured, dpy, ctx);
    TellAnew();
}

void ContextGate::Process_eglReleaseThread(std::int32_t captured)
{
    SharedDisplays::Process_eglReleaseThread(captured);
    TellAnew();
}

void ContextGate::Process_eglTerminate(std::int32_t captured, std::uint32_t dpy)
{
    // What is current stays so, whatever becomes of its display.
    const auto getCurrent = Core::KHRLayer::EGLProc().eglGetCurrentContext;
    if (getCurrent && IsLive()) {
        m_table->GetCurrentContextInfo(nullptr, nullptr, nullptr, &m_capturedSurvivor);
        m_survivor = getCurrent();
    }
    SharedDisplays::Process_eglTerminate(captured, dpy);
    m_tell(IsLive());
}

void ContextGate::Process_eglCreateImageKHR(std::uint32_t captured, std::uint32_t dpy, std::uint32_t ctx,
                                            std::int32_t target, std::uint32_t buffer, Data::PointerData* attrib_list)
{
    // The targets of EGL_KHR_gl_image, one number after the other, and those that the engine knows. For others a driver
    // follows pointers, and some crash.
    const bool isOfGL = target >= EGL_GL_TEXTURE_2D_KHR && target <= EGL_GL_RENDERBUFFER_KHR;
    constexpr std::int32_t TavoImage = 0x3120;
    if (!isOfGL && target != EGL_NATIVE_BUFFER_ANDROID && target != EGL_LINUX_DMA_BUF_EXT && target != TavoImage) {
        PLAYBACK_LOG(
            Warning, General, "src/Replay/ContextGate",
            "eglCreateImageKHR is skipped: expected an object of GL, a native buffer or a dma-buf, found target 0x%x",
            static_cast<unsigned int>(target));
        return;
    }
    if (isOfGL && !FindContext(dpy, ctx)) {
        PLAYBACK_LOG(Warning, General, "src/Replay/ContextGate",
                     "eglCreateImageKHR is skipped: there is no context %u for its object", ctx);
        return;
    }
    SharedDisplays::Process_eglCreateImageKHR(captured, dpy, ctx, target, buffer, attrib_list);
}

} // namespace Replay
