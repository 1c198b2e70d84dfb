#include "Host/Engine.h"

#include "Data/Capture/CaptureFile.h"
#include "Host/ActionScreenshots.h"
#include "Host/DrawnFrames.h"
#include "Host/Screenshots.h"
#include "Host/Verify/Verification.h"
#include "Host/Wayland/ReplayWindows.h"
#include "Interfaces/Core.h"
#include "Interfaces/GLState.h"
#include "Playback/Calls/EGLPlaybackAdapter.h"
#include "Playback/Calls/GLPlaybackAdapter.h"
#include "Playback/ForceFlushBlockEventHandler.h"
#include "Playback/Meta/CommonMetaHandler.h"
#include "Playback/Meta/ImageMetaHandler.h"
#include "Playback/Meta/KHRMetaHandler.h"
#include "Playback/Names/GLResourceTable.h"
#include "Playback/PlaybackSettings.h"
#include "Playback/SkipApiBlockEventHandler.h"
#include "Playback/Surfaces/EGLProxySurfaceFactory.h"
#include "Replay/Guards/ContextGate.h"
#include "Replay/Guards/MappingGuard.h"

namespace Host {

using Playback::PlaybackEnvironment;

Engine::Engine(Data::CaptureFile& capture, Output output, Verification* verification, Screenshots* screenshots)
    : m_resourceTable(std::make_unique<Playback::GLResourceTable>()), m_surfaceFactory(std::move(output.surfaces))
{
    if (verification) {
        m_glAdapter = std::make_unique<ReadBackVerifier>(m_resourceTable.get(), capture.At(), verification->readBacks,
                                                         verification->timer);
        capture.SetFrameHashHandler(&verification->frames);
    } else {
        m_glAdapter = std::make_unique<Replay::MappingGuard>(m_resourceTable.get());
    }
    m_eglAdapter = std::make_unique<Replay::ContextGate>(
        m_resourceTable.get(), output.windows, m_surfaceFactory.get(),
        [&calls = capture.GetFrameProcessor()->Calls()](bool isLive) { calls.SetContextLive(isLive); });
    capture.GetFrameProcessor()->Calls().SetDriverContext(Replay::DriverState::Current());
    capture.SetAdapter(m_glAdapter.get());
    capture.SetAdapter(m_eglAdapter.get());
    m_drawnFrames = std::make_unique<DrawnFrames>(*m_resourceTable, *m_eglAdapter, verification);
    capture.SetFramePictureHandler(m_drawnFrames.get());
    if (verification) {
        capture.SetReferenceHandler(m_drawnFrames.get());
        verification->frames.SetReferences(capture.References(),
                                           {capture.Header().glRenderer, capture.Header().glVersion});
    }
    m_glAdapter->SetScreenshotHandler(screenshots);
    m_eglAdapter->SetScreenshotHandler(screenshots);
    AttachHandlers(capture, output.windows, screenshots);
}

Engine::~Engine()
{
    // What is still current keeps its surface alive, even when the capture has ended the display itself, and the
    // driver must let go of the window before it is unloaded.
    if (const auto releaseThread = Core::KHRLayer::EGLProc().eglReleaseThread)
        releaseThread();
    m_eglAdapter.reset();
    m_glAdapter.reset();
}

void Engine::TakeActions(Data::CaptureFile& capture, Screenshots& screenshots)
{
    const PlaybackEnvironment& settings = *PlaybackEnvironment::Instance();
    const auto first = static_cast<std::uint32_t>(settings.m_perDrawScreenshotFirstDraw);
    const auto last = static_cast<std::uint32_t>(settings.m_perDrawScreenshotLastDraw);
    m_actionScreenshots =
        std::make_unique<ActionScreenshots>(screenshots, *m_resourceTable, settings.m_screenshotPath,
                                            static_cast<std::uint32_t>(settings.m_perDrawScreenshotFrame),
                                            Util::FrameRange{first, last == 0 ? Util::FrameRange::NoEnd : last});
    capture.SetActionHandler(m_actionScreenshots.get());
    capture.GetFrameProcessor()->Calls().SetStateModel(&m_actionScreenshots->Model());
}

void Engine::ShowFramebuffer(std::uint32_t captured, std::int32_t x, std::int32_t y) const
{
    const Core::GLESProcTable& gl = Core::KHRLayer::GLESProc();
    const Core::EGLProcTable& egl = Core::KHRLayer::EGLProc();
    if (!m_resourceTable->HasGLFramebuffer(captured)) {
        PLAYBACK_LOG(Warning, General, "src/Host/Engine",
                     "-swapfbo: there is no framebuffer %u at the swap; nothing is shown", captured);
        return;
    }
    if (!gl.glBlitFramebuffer)
        return;
    const EGLDisplay display = egl.eglGetCurrentDisplay();
    const EGLSurface surface = egl.eglGetCurrentSurface(EGL_DRAW);
    EGLint width = 0;
    EGLint height = 0;
    egl.eglQuerySurface(display, surface, EGL_WIDTH, &width);
    egl.eglQuerySurface(display, surface, EGL_HEIGHT, &height);
    const auto scissor = Core::DisableScoped(gl, GL_SCISSOR_TEST);
    const auto read = Core::BindScoped(gl, gl.glBindFramebuffer, Core::ReadFramebuffer,
                                       m_resourceTable->GetValueGLFramebuffer(captured));
    const auto draw = Core::BindScoped(gl, gl.glBindFramebuffer, Core::DrawFramebuffer, 0);
    // What lies outside of either framebuffer is not drawn.
    gl.glBlitFramebuffer(0, 0, width, height, x, y, x + width, y + height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    egl.eglSwapBuffers(display, surface);
}

bool Engine::HasDrawnFrames() const
{
    return m_drawnFrames->HasAny();
}

std::map<std::string, std::uint64_t> Engine::Errors() const
{
    std::map<std::string, std::uint64_t> errors;
    for (const auto& [error, count] : m_glAdapter->ErrorCounts())
        errors[Core::LogFormat::GetGLEnumString(error)] += count;
    for (const auto& [error, count] : m_eglAdapter->ErrorCounts())
        errors[Core::LogFormat::GetEGLEnumString(error)] += count;
    return errors;
}

void Engine::AttachHandlers(Data::CaptureFile& capture, ReplayWindows* windows, Screenshots* screenshots)
{
    const PlaybackEnvironment& settings = *PlaybackEnvironment::Instance();
    m_metaHandlers.push_back(std::make_unique<Playback::CommonMetaHandler>(windows));
    if (windows)
        m_metaHandlers.push_back(std::make_unique<WindowSizes>(*windows));
    m_metaHandlers.push_back(std::make_unique<Playback::KHRMetaHandler>(m_resourceTable.get()));
    m_restorer = m_metaHandlers.back().get();
    if (settings.m_dumpDefaultFbo)
        m_metaHandlers.push_back(std::make_unique<Playback::ImageMetaHandler>(screenshots));
    m_blockHandlers.push_back(std::make_unique<Playback::SkipApiBlockEventHandler>());
    if (settings.m_forceFlush)
        m_blockHandlers.push_back(std::make_unique<Playback::ForceFlushBlockEventHandler>());
    for (const auto& handler : m_metaHandlers)
        capture.Add(handler.get());
    for (const auto& handler : m_blockHandlers)
        capture.Add(handler.get());
}

} // namespace Host
