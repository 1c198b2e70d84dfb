// How a replay goes back for another pass.
#include "Data/Capture/CaptureFile.h"
#include "Host/Engine.h"
#include "Host/Session.h"
#include "Interfaces/Core.h"
#include "Playback/Controller.h"
#include "Playback/PlaybackSettings.h"
#include "Playback/Surfaces/EGLProxySurfaceFactory.h"

namespace Host {

void Session::FindLoop()
{
    if (!m_engine || m_settings->m_loopFrame <= 1 || !m_plan.IsPassAfter(1))
        return;
    if (!m_settings->m_threads.empty() || !m_settings->m_skipStateApiIds.empty() ||
        !m_settings->m_skipFrameApiIds.empty())
        return GiveUpLoop("options leave calls out");
    const Util::FrameRange frames = {static_cast<std::uint32_t>(m_settings->m_loopFrame), m_plan.LastFrame()};
    std::string reason;
    m_loop = LoopReplay::Find(m_options.captureFile, frames, reason);
    if (!m_loop)
        GiveUpLoop(reason);
}

void Session::KeepLoopStart()
{
    if (!m_loop || m_loop->IsKept() || m_report.passes != 1 || !m_loop->IsAtStart(CurrentFrame()))
        return;
    const FrameTimer::Break keeping(&m_timer, FrameTimer::Beside::LoopStart);
    const Telling::InDriver inDriver(&m_telling);
    if (const std::string reason = m_loop->Keep(*m_capture, *m_engine); !reason.empty())
        GiveUpLoop(reason);
    else if (m_gpuTimer)
        m_gpuTimer->KeepTargets();
}

void Session::GiveUpLoop(const std::string& reason)
{
    m_loop.reset();
    Say("Each pass replays all frames before the loop: " + reason + ".");
}

Util::Outcome Session::Rewind()
{
    const bool isPaused = m_controller->IsPaused();
    Util::Outcome failure;
    if (!GoBack())
        failure = Reopen();
    m_controller = std::make_unique<Playback::Controller>(m_output.WindowManager(), m_capture.get());
    if (isPaused)
        m_controller->Pause();
    return failure;
}

bool Session::GoBack()
{
    if (!m_loop || !m_loop->IsKept())
        return false;
    // What calls did that failed is not known.
    const bool hasFailed = !m_report.errors.empty() || !m_report.skipped.empty() || m_report.refusedCalls != 0;
    if (hasFailed) {
        GiveUpLoop("some calls fail or are not replayed");
        return false;
    }
    const FrameTimer::Break restoring(&m_timer, FrameTimer::Beside::LoopStart);
    const Telling::InDriver inDriver(&m_telling);
    m_loop->Restore(*m_capture, *m_engine);
    if (m_gpuTimer)
        m_gpuTimer->GoBackToTargets();
    return true;
}

Util::Outcome Session::Reopen()
{
    m_before = {m_report.refusedCalls, m_report.errors, m_report.skipped, m_report.callTimesMs};
    Close();
    Util::Outcome failure = OpenCapture();
    if (!failure && m_settings->m_playback) {
        {
            const Telling::InDriver inDriver(&m_telling);
            failure = m_output.OpenDriver();
        }
        if (!failure)
            CreateEngine();
    }
    return failure;
}

} // namespace Host
