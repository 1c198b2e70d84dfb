// The part of EGLPlaybackAdapter that makes contexts and makes them current.
#include "Playback/Calls/EGLPlaybackAdapter.h"

#include <EGL/eglext.h>
#include <string>

#include "Playback/Calls/LiveCall.h"
#include "Playback/Surfaces/EGLProxySurface.h"
#include "Playback/Surfaces/EGLProxySurfaceFactory.h"
#include "Playback/Windows/Window.h"
#include "Playback/Windows/WindowManager.h"

namespace Playback {

namespace {

/// A list that asks for version 1 with its minor version means OpenGL ES 1.1 and no other: the recorder says so of
/// contexts whose calls it knows.
bool IsMeantAsFirstVersion(const EGLint* attribs)
{
    bool isFirst = false;
    bool hasMinor = false;
    for (; attribs && attribs[0] != EGL_NONE; attribs += 2) {
        isFirst = isFirst || (attribs[0] == EGL_CONTEXT_CLIENT_VERSION && attribs[1] == 1);
        hasMinor = hasMinor || attribs[0] == EGL_CONTEXT_MINOR_VERSION;
    }
    return isFirst && hasMinor;
}

} // namespace

EGLContext EGLPlaybackAdapter::CreateContext(EGLDisplay display, EGLConfig config, EGLContext shareContext,
                                             const EGLint* attribs)
{
    if (!m_surfaceFactory)
        return EGL_NO_CONTEXT;
    // Longer than any list in use, so that it is allocated once.
    constexpr std::size_t UsualEntries = 64;
    constexpr EGLint LowestVersion = 2;
    std::vector<EGLint> list;
    list.reserve(UsualEntries);
    bool hasVersion = false;
    bool promoted = false;
    if (IsMeantAsFirstVersion(attribs)) {
        // Without the minor version, which drivers need not know.
        for (const EGLint* pair = attribs; pair[0] != EGL_NONE; pair += 2)
            if (pair[0] != EGL_CONTEXT_MINOR_VERSION)
                list.insert(list.end(), {pair[0], pair[1]});
        list.push_back(EGL_NONE);
        EGLContext const context = m_surfaceFactory->CreateContext(display, config, shareContext, list.data());
        if (context != EGL_NO_CONTEXT)
            return context;
        PLAYBACK_LOG(Warning, General, SourceFile,
                     "The driver makes no context of OpenGL ES 1.1: its fixed functions are skipped");
        list.clear();
    }
    for (; attribs && attribs[0] != EGL_NONE; attribs += 2) {
        EGLint value = attribs[1];
        if (attribs[0] == EGL_CONTEXT_CLIENT_VERSION) {
            hasVersion = true;
            if (value == 1) {
                value = LowestVersion;
                promoted = true;
            }
        }
        if (!promoted || attribs[0] != EGL_CONTEXT_MINOR_VERSION)
            list.insert(list.end(), {attribs[0], value});
    }
    if (!hasVersion) {
        list.insert(list.end(), {EGL_CONTEXT_CLIENT_VERSION, LowestVersion});
        promoted = true;
    }
    list.push_back(EGL_NONE);
    if (promoted)
        PLAYBACK_LOG(Notice, General, SourceFile, "Promoting OpenGL ES 1.1 context to 2.0");
    return m_surfaceFactory->CreateContext(display, config, shareContext, list.data());
}

/// Contexts without a config draw on surfaces of any. Where the driver has none, the config of the surfaces is not
/// known yet, and one that the driver likes serves.
EGLConfig EGLPlaybackAdapter::NoConfig(std::uint32_t capturedDisplay)
{
    const EGLDisplay display = GetDisplay(capturedDisplay);
    const char* const extensions = LiveEGL.eglQueryString ? LiveEGL.eglQueryString(display, EGL_EXTENSIONS) : nullptr;
    const std::string names = extensions ? " " + std::string(extensions) + " " : "";
    for (const char* const name : {" EGL_KHR_no_config_context ", " EGL_MESA_configless_context "})
        if (names.find(name) != std::string::npos)
            return EGL_NO_CONFIG_KHR;
    return GetConfig(capturedDisplay, 0);
}

void EGLPlaybackAdapter::Process_eglCreateContext(std::uint32_t captured, std::uint32_t dpy, std::uint32_t config,
                                                  std::uint32_t share_context, Data::PointerData* attrib_list)
{
    Trace("eglCreateContext", __LINE__);
    if (!LiveEGL.eglCreateContext)
        return;
    const EGLDisplay display = GetDisplay(dpy);
    const EGLConfig liveConfig = config == 0 ? NoConfig(dpy) : GetConfig(dpy, config);
    const EGLContext liveShare = m_resourceTable->GetValueEGLContext(share_context);
    const EGLContext context = CreateContext(display, liveConfig, liveShare, attrib_list->As<EGLint>());
    CheckErrorState("eglCreateContext");
    if (captured != 0) {
        // A context that the capture did not get has no group: "no context" must not join one.
        m_resourceTable->SetSharedContextAssociation(captured, share_context);
    }
    m_resourceTable->AddIdEGLContext(captured, context);
}

void EGLPlaybackAdapter::Process_eglDestroyContext(std::int32_t /*captured*/, std::uint32_t dpy, std::uint32_t ctx)
{
    Trace("eglDestroyContext", __LINE__);
    if (!LiveEGL.eglDestroyContext)
        return;
    const EGLDisplay display = GetDisplay(dpy);
    LiveEGL.eglDestroyContext(display, m_resourceTable->GetValueEGLContext(ctx));
    CheckErrorState("eglDestroyContext");
    m_resourceTable->RemoveIdEGLContext(ctx);
    m_resourceTable->RemoveContextInfo(ctx);
    m_resourceTable->RemoveSharedContextAssociation(ctx);
}

/// Without a live draw surface nothing is made current: the context that was stays so, also where the capture
/// released it.
void EGLPlaybackAdapter::Process_eglMakeCurrent(std::int32_t /*captured*/, std::uint32_t dpy, std::uint32_t draw,
                                                std::uint32_t read, std::uint32_t ctx)
{
    Trace("eglMakeCurrent", __LINE__);
    if (!LiveEGL.eglMakeCurrent)
        return;
    const EGLDisplay display = GetDisplay(dpy);
    auto* drawSurface = m_resourceTable->GetValueEGLSurface(draw);
    const auto* readSurface = m_resourceTable->GetValueEGLSurface(read);
    const EGLContext context = m_resourceTable->GetValueEGLContext(ctx);
    PreMakeCurrent(ctx, draw);
    if (drawSurface) {
        drawSurface->MakeCurrent(display, readSurface, context);
        CheckErrorState("eglMakeCurrent");
    }
    PostMakeCurrent(dpy, draw, read, ctx);
}

bool EGLPlaybackAdapter::PreMakeCurrent(std::uint32_t capturedContext, std::uint32_t capturedDraw)
{
    const bool contextChanged = capturedContext != m_lastContext;
    m_lastContext = capturedContext;
    if (auto* window = WindowOf(capturedDraw, m_resourceTable->GetValueEGLSurface(capturedDraw)))
        window->ProcessResizeRequest(contextChanged);
    return contextChanged;
}

void EGLPlaybackAdapter::PostMakeCurrent(std::uint32_t capturedDisplay, std::uint32_t capturedDraw,
                                         std::uint32_t capturedRead, std::uint32_t capturedContext)
{
    if (capturedContext != 0 && !Core::KHRLayer::IsGLESExtLoaded())
        Core::KHRLayer::LoadGLESExt();
    if (m_windowManager)
        m_windowManager->ActivateWindow(capturedDraw);
    m_resourceTable->SetCurrentContext(capturedDisplay, capturedDraw, capturedRead, capturedContext);
}

} // namespace Playback
