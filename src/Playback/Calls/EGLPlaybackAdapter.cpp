#include "Playback/Calls/EGLPlaybackAdapter.h"

#include "Playback/Calls/LiveCall.h"
#include "Playback/PlaybackSettings.h"
#include "Playback/Surfaces/EGLProxySurface.h"
#include "Playback/Surfaces/EGLProxySurfaceFactory.h"
#include "Playback/Windows/Window.h"
#include "Playback/Windows/WindowManager.h"

namespace Playback {

#include "Playback/EGLPlaybackHandlers.inc"

EGLPlaybackAdapter::EGLPlaybackAdapter(GLResourceTable* table, WindowManager* windowManager,
                                       EGLProxySurfaceFactory* surfaceFactory)
    : m_resourceTable(table), m_windowManager(windowManager), m_surfaceFactory(surfaceFactory),
      m_settings(PlaybackEnvironment::Instance())
{
    Core::KHRLayer::LoadEGL();
}

EGLPlaybackAdapter::~EGLPlaybackAdapter()
{
    if (m_display) {
        if (m_surfaceFactory)
            m_surfaceFactory->Terminate(m_display);
        m_resourceTable->ReleaseResources();
        if (LiveEGL.eglMakeCurrent && LiveEGL.eglTerminate) {
            PLAYBACK_LOG(Diagnostic, General, SourceFile, "Calling eglTerminate on shutdown");
            LiveEGL.eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
            LiveEGL.eglTerminate(m_display);
        }
    }
    Core::KHRLayer::FreeEGL();
}

void EGLPlaybackAdapter::CheckErrorState(std::string_view functionName)
{
    if (m_settings->m_skipErrorCheck || !LiveEGL.eglGetError)
        return;
    const EGLint error = LiveEGL.eglGetError();
    if (error != EGL_SUCCESS) {
        ++m_errorCounts[static_cast<unsigned int>(error)];
        PLAYBACK_LOG(Error, General, SourceFile, "%.*s failed with error %s", static_cast<int>(functionName.size()),
                     functionName.data(), Core::LogFormat::GetEGLEnumString(static_cast<unsigned int>(error)).c_str());
    }
}

void EGLPlaybackAdapter::SetCurrentThread(std::uint32_t threadId)
{
    bool apiChanged = false;
    bool contextChanged = false;
    m_resourceTable->SetCurrentThread(threadId, &apiChanged, &contextChanged);
    if (LiveEGL.eglBindAPI && apiChanged) {
        unsigned int api = EGL_OPENGL_ES_API;
        m_resourceTable->GetCurrentAPI(&api);
        LiveEGL.eglBindAPI(api);
    }
    if (!LiveEGL.eglMakeCurrent || !contextChanged)
        return;
    unsigned int capturedDisplay = 0;
    unsigned int capturedDraw = 0;
    unsigned int capturedRead = 0;
    unsigned int capturedContext = 0;
    if (m_resourceTable->GetCurrentContextInfo(&capturedDisplay, &capturedDraw, &capturedRead, &capturedContext)) {
        const auto display = GetDisplay(capturedDisplay);
        auto* draw = m_resourceTable->GetValueEGLSurface(capturedDraw);
        const auto* read = m_resourceTable->GetValueEGLSurface(capturedRead);
        auto* context = m_resourceTable->GetValueEGLContext(capturedContext);
        if (draw) {
            if (auto* window = WindowOf(capturedDraw, draw)) {
                window->EnqueueResizeRequest(draw->GetWidth(), draw->GetHeight());
                window->ProcessResizeRequest(true);
            }
            if (m_windowManager)
                m_windowManager->ActivateWindow(capturedDraw);
            draw->MakeCurrent(display, read, context);
        }
    } else if (m_display) {
        LiveEGL.eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    }
}

Window* EGLPlaybackAdapter::ActiveWindow() const
{
    return m_windowManager ? m_windowManager->GetActiveWindow() : nullptr;
}

Window* EGLPlaybackAdapter::WindowOf(std::uint32_t capturedSurface, const EGLProxySurface* proxy) const
{
    const bool isWindow = proxy && proxy->GetOriginalType() == EGLProxySurface::OriginalWindow;
    return isWindow && m_windowManager ? m_windowManager->GetWindow(capturedSurface) : nullptr;
}

void* EGLPlaybackAdapter::ActiveNativeDisplay() const
{
    void* native = nullptr;
    if (auto* window = ActiveWindow())
        window->GetNativeHandle(Window::NativeHandle::EGLDisplay, &native);
    return native;
}

void* EGLPlaybackAdapter::GetNativeDisplay(std::uint32_t capturedNative)
{
    if (void* native = m_resourceTable->GetValueEGLVoidPtr(capturedNative))
        return native;
    if (!ActiveWindow())
        return nullptr;
    void* native = ActiveNativeDisplay();
    m_resourceTable->AddIdEGLVoidPtr(capturedNative, native);
    return native;
}

void EGLPlaybackAdapter::UseDisplay(EGLDisplay display)
{
    if (m_display && m_display != display)
        PLAYBACK_LOG(Diagnostic, General, SourceFile, "EGLPlaybackAdapter changed display.");
    m_display = display;
}

EGLDisplay EGLPlaybackAdapter::GetDisplay(std::uint32_t capturedDisplay)
{
    if (const EGLDisplay known = m_resourceTable->GetValueEGLDisplay(capturedDisplay))
        return known;
    if (!LiveEGL.eglGetDisplay)
        return EGL_NO_DISPLAY;
    const EGLDisplay display = LiveEGL.eglGetDisplay(static_cast<EGLNativeDisplayType>(ActiveNativeDisplay()));
    m_resourceTable->AddIdEGLDisplay(capturedDisplay, display);
    UseDisplay(display);
    if (!m_initialized && display) {
        EGLint major = 0;
        EGLint minor = 0;
        CallLive(LiveEGL.eglInitialize, display, &major, &minor);
        PLAYBACK_LOG(Notice, General, SourceFile, "Forced initialization of EGL %d.%d", major, minor);
        m_initialized = true;
    }
    return display;
}

EGLDisplay EGLPlaybackAdapter::GetPlatformDisplay(std::uint32_t, std::uint32_t capturedNative, const EGLAttrib*)
{
    return CallLive(LiveEGL.eglGetDisplay, static_cast<EGLNativeDisplayType>(GetNativeDisplay(capturedNative)));
}

void EGLPlaybackAdapter::Process_eglGetDisplay(std::uint32_t captured, std::uint32_t native)
{
    Trace("eglGetDisplay", __LINE__);
    if (!LiveEGL.eglGetDisplay)
        return;
    const EGLDisplay display = LiveEGL.eglGetDisplay(static_cast<EGLNativeDisplayType>(GetNativeDisplay(native)));
    CheckErrorState("eglGetDisplay");
    m_resourceTable->AddIdEGLDisplay(captured, display);
    UseDisplay(display);
}

void EGLPlaybackAdapter::Process_eglGetPlatformDisplay(std::uint32_t captured, std::int32_t platform,
                                                       std::uint32_t native, Data::PointerData* attrib_list)
{
    Trace("eglGetPlatformDisplay", __LINE__);
    if (!LiveEGL.eglGetPlatformDisplay)
        return;
    const EGLDisplay display =
        GetPlatformDisplay(static_cast<std::uint32_t>(platform), native, attrib_list->As<EGLAttrib>());
    CheckErrorState("eglGetPlatformDisplay");
    m_resourceTable->AddIdEGLDisplay(captured, display);
    UseDisplay(display);
}

void EGLPlaybackAdapter::Process_eglInitialize(std::int32_t /*captured*/, std::uint32_t dpy, Data::PointerData* major,
                                               Data::PointerData* minor)
{
    Trace("eglInitialize", __LINE__);
    if (!LiveEGL.eglInitialize)
        return;
    // Set first, so that a display got only now is not initialised twice.
    m_initialized = true;
    const EGLDisplay display = GetDisplay(dpy);
    LiveEGL.eglInitialize(display, major->As<EGLint>(), minor->As<EGLint>());
    CheckErrorState("eglInitialize");
}

void EGLPlaybackAdapter::Process_eglTerminate(std::int32_t /*captured*/, std::uint32_t dpy)
{
    Trace("eglTerminate", __LINE__);
    if (!LiveEGL.eglTerminate)
        return;
    const EGLDisplay display = GetDisplay(dpy);
    if (m_surfaceFactory)
        m_surfaceFactory->Terminate(display);
    LiveEGL.eglTerminate(display);
    CheckErrorState("eglTerminate");
    m_display = EGL_NO_DISPLAY;
    m_overrideConfig = nullptr;
    m_resourceTable->RemoveIdEGLDisplay(dpy);
}

void EGLPlaybackAdapter::Process_eglBindAPI(std::int32_t /*captured*/, std::int32_t api)
{
    Trace("eglBindAPI", __LINE__);
    if (!LiveEGL.eglBindAPI)
        return;
    LiveEGL.eglBindAPI(static_cast<EGLenum>(api));
    CheckErrorState("eglBindAPI");
    m_resourceTable->SetCurrentAPI(static_cast<unsigned int>(api));
}

} // namespace Playback
