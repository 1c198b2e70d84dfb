#include "Replay/LiveReplay.h"

#include "Interfaces/Core.h"
#include "Playback/Meta/KHRMetaHandler.h"
#include "Playback/Names/GLResourceTable.h"
#include "Playback/Surfaces/EGLPbufferSurfaceFactory.h"
#include "Replay/Driver/Driver.h"
#include "Replay/Guards/ContextGate.h"
#include "Replay/Guards/MappingGuard.h"
#include "Replay/OffscreenSurfaceFactory.h"

namespace Replay {

std::unique_ptr<LiveReplay> LiveReplay::Create(const std::string& driver, Data::Diagnostics& diagnostics,
                                               std::string& error)
{
    error = OpenDriver(driver, nullptr);
    return error.empty() ? std::unique_ptr<LiveReplay>(new LiveReplay(diagnostics)) : nullptr;
}

LiveReplay::LiveReplay(Data::Diagnostics& diagnostics)
    : m_diagnostics(diagnostics), m_calls(diagnostics), m_meta(m_calls, diagnostics),
      m_resourceTable(std::make_unique<Playback::GLResourceTable>()),
      m_surfaceFactory(std::make_unique<OffscreenSurfaceFactory<Playback::EGLPbufferSurfaceFactory>>()),
      m_glAdapter(std::make_unique<MappingGuard>(m_resourceTable.get())),
      m_eglAdapter(std::make_unique<ContextGate>(m_resourceTable.get(), nullptr, m_surfaceFactory.get(),
                                                 [this](bool isLive) { m_calls.SetContextLive(isLive); })),
      m_metaHandler(std::make_unique<Playback::KHRMetaHandler>(m_resourceTable.get()))
{
    m_calls.SetDriverContext(DriverState::Current());
    m_calls.SetAdapter(m_glAdapter.get());
    m_calls.SetAdapter(m_eglAdapter.get());
    m_meta.Add(m_metaHandler.get());
}

LiveReplay::~LiveReplay()
{
    if (const auto releaseThread = Core::KHRLayer::EGLProc().eglReleaseThread)
        releaseThread();
    m_eglAdapter.reset();
    m_glAdapter.reset();
}

void LiveReplay::SetThread(std::uint32_t thread)
{
    m_calls.SetThread(thread);
    m_meta.SetThread(thread);
}

bool LiveReplay::Call(Data::CallId call, std::uint8_t* record)
{
    const std::uint64_t errors = Core::Log::ErrorCount();
    const std::uint64_t skipped = m_diagnostics.SkippedCount();
    m_calls.Decode(call, record);
    return Core::Log::ErrorCount() == errors && m_diagnostics.SkippedCount() == skipped;
}

void LiveReplay::MakeCurrent(std::uint32_t thread, const Current& current)
{
    SetThread(thread);
    m_eglAdapter->Process_eglMakeCurrent(EGL_TRUE, current.display, current.draw, current.read, current.context);
}

} // namespace Replay
