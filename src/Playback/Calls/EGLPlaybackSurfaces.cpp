// The part of EGLPlaybackAdapter that makes surfaces and swaps them.
#include "Playback/Calls/EGLPlaybackAdapter.h"

#include <GLES3/gl3.h>

#include "Interfaces/GLState.h"
#include "Playback/Calls/LiveCall.h"
#include "Playback/PlaybackSettings.h"
#include "Playback/Surfaces/EGLProxySurface.h"
#include "Playback/Surfaces/EGLProxySurfaceFactory.h"
#include "Playback/Windows/Window.h"
#include "Playback/Windows/WindowManager.h"

namespace Playback {

namespace {

/// Captured handles that a failed creation returned.
bool IsNoSurface(std::uint32_t captured)
{
    return captured == 0 || captured == 0xFFFFFFFF;
}

} // namespace

void* EGLPlaybackAdapter::GetNativeWindow(std::uint32_t, std::uint32_t capturedSurface)
{
    if (!m_windowManager)
        return nullptr;
    m_windowManager->AddWindow(capturedSurface);
    void* native = nullptr;
    if (auto* window = m_windowManager->GetWindow(capturedSurface)) {
        window->SetSubTitle("EGLSurface " + std::to_string(capturedSurface));
        window->GetNativeHandle(Window::NativeHandle::EGLWindow, &native);
    }
    return native;
}

template <class Make>
void EGLPlaybackAdapter::CreateSurface(const char* name, bool available, std::uint32_t captured, std::uint32_t dpy,
                                       std::uint32_t config, Make make)
{
    Trace(name, __LINE__);
    if (!available)
        return;
    const EGLDisplay display = GetDisplay(dpy);
    const EGLConfig liveConfig = GetConfig(dpy, config);
    EGLProxySurface* surface = m_surfaceFactory ? make(display, liveConfig) : nullptr;
    CheckErrorState(name);
    if (surface && IsNoSurface(captured)) {
        m_surfaceFactory->DestroySurface(display, surface);
        surface = nullptr;
    }
    m_resourceTable->AddIdEGLSurface(captured, surface);
}

void EGLPlaybackAdapter::Process_eglCreateWindowSurface(std::uint32_t captured, std::uint32_t dpy, std::uint32_t config,
                                                        std::uint32_t win, Data::PointerData* attrib_list)
{
    CreateSurface(
        "eglCreateWindowSurface", LiveEGL.eglCreateWindowSurface, captured, dpy, config,
        [&](EGLDisplay display, EGLConfig live) {
            void* window = GetNativeWindow(win, captured);
            return m_surfaceFactory->CreateWindowSurface(display, live, window, attrib_list->As<EGLint>());
        });
}

void EGLPlaybackAdapter::Process_eglCreatePlatformWindowSurface(std::uint32_t captured, std::uint32_t dpy,
                                                                std::uint32_t config, std::uint32_t win,
                                                                Data::PointerData* attrib_list)
{
    CreateSurface(
        "eglCreatePlatformWindowSurface", LiveEGL.eglCreatePlatformWindowSurface, captured, dpy, config,
        [&](EGLDisplay display, EGLConfig live) {
            void* window = GetNativeWindow(win, captured);
            return m_surfaceFactory->CreateWindowSurface64(display, live, window, attrib_list->As<EGLAttrib>());
        });
}

void EGLPlaybackAdapter::Process_eglCreatePbufferSurface(std::uint32_t captured, std::uint32_t dpy,
                                                         std::uint32_t config, Data::PointerData* attrib_list)
{
    CreateSurface(
        "eglCreatePbufferSurface", LiveEGL.eglCreatePbufferSurface, captured, dpy, config,
        [&](EGLDisplay display, EGLConfig live) {
            return m_surfaceFactory->CreatePbufferSurface(display, live, attrib_list->As<EGLint>());
        });
}

void EGLPlaybackAdapter::Process_eglCreatePbufferFromClientBuffer(std::uint32_t captured, std::uint32_t dpy,
                                                                  std::int32_t buftype, std::uint32_t buffer,
                                                                  std::uint32_t config, Data::PointerData* attrib_list)
{
    CreateSurface(
        "eglCreatePbufferFromClientBuffer", LiveEGL.eglCreatePbufferFromClientBuffer, captured, dpy, config,
        [&](EGLDisplay display, EGLConfig live) {
            return m_surfaceFactory->CreatePbufferFromClientBuffer(display, static_cast<unsigned int>(buftype),
                                                                   m_resourceTable->GetValueEGLVoidPtr(buffer), live,
                                                                   attrib_list->As<EGLint>());
        });
}

void EGLPlaybackAdapter::Process_eglCreatePixmapSurface(std::uint32_t captured, std::uint32_t dpy, std::uint32_t config,
                                                        std::uint32_t pixmap, Data::PointerData* attrib_list)
{
    CreateSurface(
        "eglCreatePixmapSurface", LiveEGL.eglCreatePixmapSurface, captured, dpy, config,
        [&](EGLDisplay display, EGLConfig live) {
            return m_surfaceFactory->CreatePixmapSurface(display, live, m_resourceTable->GetValueEGLVoidPtr(pixmap),
                                                         attrib_list->As<EGLint>());
        });
}

void EGLPlaybackAdapter::Process_eglCreatePlatformPixmapSurface(std::uint32_t captured, std::uint32_t dpy,
                                                                std::uint32_t config, std::uint32_t pixmap,
                                                                Data::PointerData* attrib_list)
{
    CreateSurface(
        "eglCreatePlatformPixmapSurface", LiveEGL.eglCreatePlatformPixmapSurface, captured, dpy, config,
        [&](EGLDisplay display, EGLConfig live) {
            return m_surfaceFactory->CreatePixmapSurface64(display, live, m_resourceTable->GetValueEGLVoidPtr(pixmap),
                                                           attrib_list->As<EGLAttrib>());
        });
}

void EGLPlaybackAdapter::Process_eglDestroySurface(std::int32_t /*captured*/, std::uint32_t dpy, std::uint32_t surface)
{
    Trace("eglDestroySurface", __LINE__);
    if (!LiveEGL.eglDestroySurface)
        return;
    const EGLDisplay display = GetDisplay(dpy);
    auto* proxy = m_resourceTable->GetValueEGLSurface(surface);
    if (m_surfaceFactory)
        m_surfaceFactory->DestroySurface(display, proxy);
    CheckErrorState("eglDestroySurface");
    if (m_windowManager)
        m_windowManager->RemoveWindow(surface);
    m_resourceTable->RemoveIdEGLSurface(surface);
}

void EGLPlaybackAdapter::Process_eglSwapBuffers(std::int32_t /*captured*/, std::uint32_t dpy, std::uint32_t surface)
{
    Trace("eglSwapBuffers", __LINE__);
    if (!LiveEGL.eglSwapBuffers)
        return;
    const EGLDisplay display = GetDisplay(dpy);
    auto* proxy = m_resourceTable->GetValueEGLSurface(surface);
    const bool contextChanged = PreSwap(surface);
    if (m_settings->m_swapFbo != 0 || !proxy)
        return;
    proxy->SwapBuffers(display);
    CheckErrorState("eglSwapBuffers");
    auto* window = ActiveWindow();
    if (window && proxy->GetOriginalType() == EGLProxySurface::OriginalWindow)
        window->ProcessResizeRequest(contextChanged);
}

bool EGLPlaybackAdapter::PreSwap(std::uint32_t capturedSurface)
{
    bool contextChanged = false;
    unsigned int context = 0;
    m_resourceTable->GetCurrentContextInfo(nullptr, nullptr, nullptr, &context);
    if (context != 0) {
        contextChanged = context != m_lastContext;
        m_lastContext = context;
    }
    if (m_windowManager)
        m_windowManager->ActivateWindow(capturedSurface);
    EndFrame(0);
    return contextChanged;
}

void EGLPlaybackAdapter::EndFrame(std::optional<unsigned int> framebuffer)
{
    if (!m_screenshotHandler)
        return;
    const std::uint32_t frame = ++m_screenshotHandler->m_frame;
    m_screenshotHandler->m_draw = 0;
    m_screenshotHandler->m_blit = 0;
    if ((m_settings->IsScreenshotFrame(frame) || frame == m_screenshotHandler->m_wantedFrame) && framebuffer &&
        LiveGLES.glGetIntegerv && LiveGLES.glBindFramebuffer)
        TakeFrameScreenshot(frame, *framebuffer);
}

/// The draw counter starts again at each swap, so that depth and stencil come only with a draw range without a lower
/// bound.
bool EGLPlaybackAdapter::IsDepthScreenshotDue(std::uint32_t frame) const
{
    const auto draw = static_cast<std::int32_t>(m_screenshotHandler->m_draw);
    const auto first = m_settings->m_perDrawScreenshotFirstDraw;
    const auto last = m_settings->m_perDrawScreenshotLastDraw;
    return static_cast<std::int32_t>(frame) == m_settings->m_perDrawScreenshotFrame && (first == 0 || first <= draw) &&
           (last == 0 || last >= draw);
}

void EGLPlaybackAdapter::TakeFrameScreenshot(std::uint32_t frame, unsigned int framebuffer)
{
    const std::string name = m_settings->m_screenshotPath + "frame" + std::to_string(frame);
    const GLint draw = Core::GetInteger(LiveGLES, GL_DRAW_FRAMEBUFFER_BINDING);
    const GLint read = Core::GetInteger(LiveGLES, GL_READ_FRAMEBUFFER_BINDING);
    const auto wanted = static_cast<GLint>(framebuffer);
    if (draw != wanted || read != wanted)
        LiveGLES.glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    m_screenshotHandler->TakeScreenshot(name, GL_COLOR_BUFFER_BIT);
    if (IsDepthScreenshotDue(frame))
        m_screenshotHandler->TakeScreenshot(name, GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    if (draw != read) {
        LiveGLES.glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(draw));
        LiveGLES.glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(read));
    } else if (draw != wanted) {
        LiveGLES.glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(draw));
    }
}

} // namespace Playback
