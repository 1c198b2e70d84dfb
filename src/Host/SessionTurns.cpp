// What happens between two frames: waiting for the next one's turn, keys, and reasons to stop.
#include <algorithm>
#include <cstring>
#include <thread>

#include "Data/Capture/CaptureFile.h"
#include "Host/Screenshots.h"
#include "Host/Session.h"
#include "Host/Terminal.h"
#include "Interfaces/Core.h"
#include "Playback/Controller.h"
#include "Playback/PlaybackSettings.h"

namespace Host {

namespace {

using std::chrono::steady_clock;

/// How long events and keys may wait for an answer while replay itself waits.
constexpr std::chrono::milliseconds LongestSleep{10};

} // namespace

bool Session::HasKeys() const
{
    return m_terminal || m_output.HasKeyboard();
}

void Session::SayPaused() const
{
    Say("Paused at frame " + std::to_string(CurrentFrame()) + "; " +
        (HasKeys() ? KeyHelp : "there is neither a keyboard nor a terminal to resume it; a signal ends the replay") +
        ".");
}

void Session::Inspect()
{
    m_isInspectionDue = false;
    Say(m_inspection.Show(std::max(CurrentFrame(), 1U)));
}

bool Session::WaitForTurn(Util::Outcome& failure)
{
    const auto due = IsOnTheWay() ? steady_clock::now() : m_pace.NextFrame(m_capture->FrameTimeUs());
    std::optional<FrameTimer::Break> waiting;
    for (;;) {
        failure = HandleEvents();
        m_report.stopReason = failure ? "" : ReasonToStop();
        if (failure || !m_report.stopReason.empty() || CurrentFrame() >= m_plan.LastFrame())
            return false;
        if (m_controller->IsPaused()) {
            if (m_steps > 0) {
                --m_steps;
                return true;
            }
            m_pace.Restart();
        }
        const auto now = steady_clock::now();
        if (m_options.timeLimit && Replay::RunningClock::now() - m_start > *m_options.timeLimit) {
            failure = Util::Failure{Util::ExitStatus::CutShort, "The time of -timelimit is over after frame " +
                                                                    std::to_string(CurrentFrame()) + "."};
            return false;
        }
        if (!m_controller->IsPaused() && now >= due)
            return true;
        if (!waiting)
            waiting.emplace(&m_timer, FrameTimer::Beside::Waiting);
        UpdateStatus();
        std::this_thread::sleep_until(m_controller->IsPaused() ? now + LongestSleep
                                                               : std::min(due, now + LongestSleep));
    }
}

Util::Outcome Session::HandleEvents()
{
    if (!m_output.HandleEvents(m_commands)) {
        return Util::Failure{Util::ExitStatus::NoDriver, "The connection to the compositor broke after frame " +
                                                             std::to_string(CurrentFrame()) + "."};
    }
    if (m_terminal)
        m_terminal->Read(m_commands);
    for (; !m_commands.empty(); m_commands.pop_front())
        Obey(m_commands.front());
    return std::nullopt;
}

void Session::Obey(Command command)
{
    switch (command) {
    case Command::PauseOrGo:
        if (m_controller->IsPaused())
            m_controller->Play();
        else
            m_isPauseDue = true;
        break;
    case Command::Step:
        // Also when replay runs: then it pauses after the next frame.
        if (m_controller->IsPaused())
            ++m_steps;
        else
            m_isPauseDue = true;
        break;
    case Command::Screenshot:
        if (m_screenshots && m_controller->IsPaused())
            m_screenshots->WriteKept();
        else if (m_screenshots)
            m_screenshots->WriteNextFrame();
        break;
    case Command::FullScreen:
        m_output.ToggleFullscreen();
        break;
    case Command::Inspect:
        if (m_controller->IsPaused())
            Inspect();
        else
            m_isPauseDue = m_isInspectionDue = true;
        break;
    case Command::End:
        m_isEndWanted = true;
        break;
    }
}

std::string Session::ReasonToStop() const
{
    if (m_stopSignal.Received() != 0)
        return strsignal(m_stopSignal.Received());
    if (m_isEndWanted)
        return "q or Escape was pressed";
    if (m_output.IsClosed())
        return "a window was closed";
    if (m_settings->m_stopFrameSet && CurrentFrame() >= m_plan.LastFrame() && !IsAnotherPassDue())
        return "-stopframe";
    return "";
}

} // namespace Host
