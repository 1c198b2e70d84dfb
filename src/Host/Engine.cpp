#include "Host/Engine.h"

#include "Data/CaptureFile.h"
#include "Host/ReadBackVerifier.h"
#include "Interfaces/Core.h"
#include "Interfaces/Util.h"
#include "Playback/CommonMetaHandler.h"
#include "Playback/EGLPlaybackAdapter.h"
#include "Playback/EGLProxySurfaceFactory.h"
#include "Playback/ForceFlushBlockEventHandler.h"
#include "Playback/GLPlaybackAdapter.h"
#include "Playback/GLResourceTable.h"
#include "Playback/ImageMetaHandler.h"
#include "Playback/KHRMetaHandler.h"
#include "Playback/PlaybackSettings.h"
#include "Playback/SkipApiBlockEventHandler.h"

namespace Host {

using Playback::PlaybackEnvironment;

Engine::Engine(Data::CaptureFile& capture, Output output, FrameVerifier* verifier)
    : m_resourceTable(std::make_unique<Playback::GLResourceTable>()), m_surfaceFactory(std::move(output.surfaces))
{
    if (verifier) {
        auto readBacks = std::make_unique<ReadBackVerifier>(m_resourceTable.get(), capture.At());
        m_readBacks = readBacks.get();
        m_glAdapter = std::move(readBacks);
        capture.SetFrameHashHandler(verifier);
    } else {
        m_glAdapter = std::make_unique<Playback::GLPlaybackAdapter>(m_resourceTable.get());
    }
    m_eglAdapter =
        std::make_unique<Playback::EGLPlaybackAdapter>(m_resourceTable.get(), output.windows, m_surfaceFactory.get());
    capture.SetAdapter(m_glAdapter.get());
    capture.SetAdapter(m_eglAdapter.get());
    AttachScreenshots();
    AttachHandlers(capture, output.windows);
}

Engine::~Engine()
{
    // What is still current keeps its surface alive, even when the capture has ended the display itself, and the
    // driver must let go of the window before it is unloaded.
    if (const auto releaseThread = Core::KHRLayer::EGLProc().eglReleaseThread) {
        releaseThread();
    }
    m_eglAdapter.reset();
    m_glAdapter.reset();
}

void Engine::AttachScreenshots()
{
    const PlaybackEnvironment& settings = *PlaybackEnvironment::Instance();
    if (settings.m_screenshotInterval == 0 && settings.m_screenshotEndFrame == 0 &&
        settings.m_perDrawScreenshotFrame == 0 && !settings.m_dumpDefaultFbo) {
        return;
    }
    m_screenshotHandler = std::make_unique<Util::GLScreenshotHandler>(
        static_cast<Util::ImageFormat>(settings.m_screenshotFormat), settings.m_screenshotOpaque);
    m_glAdapter->SetScreenshotHandler(m_screenshotHandler.get());
    m_eglAdapter->SetScreenshotHandler(m_screenshotHandler.get());
}

void Engine::AttachHandlers(Data::CaptureFile& capture, Playback::WindowManager* windows)
{
    const PlaybackEnvironment& settings = *PlaybackEnvironment::Instance();
    m_metaHandlers.push_back(std::make_unique<Playback::CommonMetaHandler>(windows));
    m_metaHandlers.push_back(std::make_unique<Playback::KHRMetaHandler>(m_resourceTable.get()));
    if (settings.m_dumpDefaultFbo) {
        m_metaHandlers.push_back(std::make_unique<Playback::ImageMetaHandler>(m_screenshotHandler.get()));
    }
    m_blockHandlers.push_back(std::make_unique<Playback::SkipApiBlockEventHandler>());
    if (settings.m_forceFlush) {
        m_blockHandlers.push_back(std::make_unique<Playback::ForceFlushBlockEventHandler>());
    }
    for (const auto& handler : m_metaHandlers) {
        capture.Add(handler.get());
    }
    for (const auto& handler : m_blockHandlers) {
        capture.Add(handler.get());
    }
}

} // namespace Host
