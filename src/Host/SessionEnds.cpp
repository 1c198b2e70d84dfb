// How passes and replays end: what is counted, told and written then.
#include <algorithm>
#include <csignal>

#include <sys/time.h>
#include <unistd.h>

#include "Data/Capture/CaptureFile.h"
#include "Host/Advice/Explanation.h"
#include "Host/Engine.h"
#include "Host/Results/Statistics.h"
#include "Host/Screenshots.h"
#include "Host/Session.h"
#include "Host/Terminal.h"
#include "Interfaces/Core.h"
#include "Playback/Controller.h"
#include "Playback/PlaybackSettings.h"
#include "Util/OutputFile.h"

namespace Host {

namespace {

/// How long a last word may take.
constexpr std::chrono::milliseconds PatienceForTelling{300};
constexpr suseconds_t LongestLastWordUs = 700'000;

/// Ends the program soon, whatever holds up the thread that is about to end it.
void EndAnyway()
{
    std::signal(SIGALRM, [](int) { _exit(static_cast<int>(Util::ExitStatus::CutShort)); });
    const itimerval soon = {{}, {0, LongestLastWordUs}};
    setitimer(ITIMER_REAL, &soon, nullptr);
}

} // namespace

std::uint64_t Session::CountSkipped()
{
    std::uint64_t skipped = 0;
    m_report.skipped = m_before.skipped;
    m_report.callTimesMs = m_before.callTimesMs;
    for (const auto& [name, count, time] : m_capture->CallSums()) {
        m_report.callTimesMs[name] += static_cast<double>(time) / 1e6;
        const unsigned int id = Core::KHRLayer::GetEglGlFuncId(name);
        if (!Core::KHRLayer::HasFunction(id) || m_settings->m_skipFrameApiIds.contains(id)) {
            m_report.skipped[name] += count;
            skipped += count;
        }
    }
    return skipped;
}

Util::Outcome Session::EndPass()
{
    m_report.refusedCalls = m_before.refusedCalls + m_capture->SkippedCalls();
    if (!m_engine)
        return std::nullopt;
    m_report.errors = m_before.errors;
    for (const auto& [name, count] : m_engine->Errors())
        m_report.errors[name] += count;
    const std::uint64_t skipped = CountSkipped();
    if (m_capture->CallCount() > skipped || !m_report.stopReason.empty())
        return std::nullopt;
    const std::string reason = WhyNothingIsDrawn(m_options.captureFile, m_settings->m_threads);
    const char* const otherwise = skipped == 0 ? "The capture has no calls up to its end, or to where it is damaged."
                                               : "The driver has none of the functions that the capture calls.";
    return Util::Failure{Util::ExitStatus::NoDriver,
                         "Nothing was replayed. " + (skipped == 0 && !reason.empty() ? reason : otherwise)};
}

void Session::FillReport()
{
    m_report.captureFile = m_options.captureFile;
    m_report.captureFrames = m_capture->GetFrameCount();
    m_report.options = m_options.arguments;
    m_report.seconds = m_timer.Seconds(FrameTimer::Account::Frames);
    m_report.restSeconds = m_timer.Seconds(FrameTimer::Account::Rest);
    m_report.framesInFlight = m_options.framesInFlight;
    m_report.pictureSeconds = m_timer.Clock().SecondsBeside(FrameTimer::Beside::Pictures);
    m_report.comparisonSeconds = m_timer.Clock().SecondsBeside(FrameTimer::Beside::Comparison);
    m_report.loopStartSeconds = m_timer.Clock().SecondsBeside(FrameTimer::Beside::LoopStart);
    m_report.waitingSeconds = m_timer.Clock().SecondsBeside(FrameTimer::Beside::Waiting);
    m_report.areCallsTimed = m_options.timeCalls && !m_report.isCutOff;
    if (m_screenshots) {
        m_report.screenshots = m_screenshots->Files();
        m_report.actionScreenshots = m_screenshots->ActionFiles();
        m_report.missingPictures = m_screenshots->Failures();
    }
    m_report.errorMessages = Core::Log::ErrorCount();
    m_report.areErrorsChecked = m_report.isReplay && !m_settings->m_skipErrorCheck && !m_report.isCutOff;
    if (m_options.verify) {
        const std::uint32_t expected = m_plan.FramesOfPasses(m_capture->GetFrameCount(), m_report.passes);
        m_report.isVerified = m_verification.IsVerified(expected);
        m_report.verification = m_verification.Report(expected, m_report.frames == 0);
        m_report.differences = m_verification.frames.Differences();
    }
}

void Session::NoteMissingDraws() const
{
    const ScreenshotChoice& choice = m_options.screenshots;
    const bool canTell =
        m_screenshots && m_settings->m_perDrawScreenshotFilter != Playback::PlaybackEnvironment::UnorderedAccess;
    if (choice.drawFrame != 0 && canTell && CurrentFrame() >= choice.drawFrame && m_screenshots->Written() == 0 &&
        m_screenshots->Failures() == 0) {
        Core::Console::Print(Core::LogWarning, false,
                             "playback: -screenshots %s wrote no picture: frame %u has fewer draws and blits than %u.",
                             choice.value.c_str(), choice.drawFrame, std::max(choice.firstDraw, 1U));
    }
}

Util::ExitStatus Session::Summarise()
{
    FillReport();
    m_isTold = true;
    if (!m_report.stopReason.empty()) {
        Say("Stopped after frame " + std::to_string(CurrentFrame()) + " of " +
            std::to_string(m_capture->GetFrameCount()) + ": " + m_report.stopReason + ".");
    }
    NoteMissingDraws();
    const GpuTimes* const gpu = m_gpuTimes ? &*m_gpuTimes : nullptr;
    for (const std::string& line : SummaryLines(m_report, m_measurements, gpu))
        Say(line);
    bool isWritten = m_report.missingPictures == 0;
    const auto failToWrite = [&](const std::string& error) {
        Core::Console::Print(Core::LogError, false, "playback: cannot write %s", error.c_str());
        isWritten = false;
    };
    if (m_statistics) {
        const std::vector<std::string> errors = m_statistics->Finish();
        m_statistics.reset();
        std::ranges::for_each(errors, failToWrite);
        if (errors.empty())
            Say(Statistics::Report(m_options.statisticsFile));
    }
    if (!m_options.jsonFile.empty()) {
        if (const std::string error = WriteJson(m_options.jsonFile, m_report, m_measurements, gpu); !error.empty())
            failToWrite(error);
    }
    if (!m_options.csvFile.empty()) {
        if (const std::string error = WriteCsv(m_options.csvFile, m_measurements, gpu); !error.empty())
            failToWrite(error);
    }
    if (!isWritten)
        return Util::ExitStatus::NotWritten;
    return m_report.isVerified.value_or(true) ? Util::ExitStatus::Done : Util::ExitStatus::Differed;
}

void Session::Close()
{
    const Telling::InDriver inDriver(&m_telling);
    m_timer.SetDoing("while the driver was closed");
    m_engine.reset();
}

void Session::EndNow(const std::string& why)
{
    EndAnyway();
    const bool isHeld = m_telling.Take(PatienceForTelling);
    Core::Console::SetStatus("");
    const char* const doing = m_timer.Doing();
    const bool mayTell = isHeld && !m_isTold && m_report.passes != 0;
    std::string where;
    if (mayTell) {
        where = " in frame " + std::to_string(CurrentFrame() + 1);
        where += doing ? "" : ", " + m_capture->CallAtWork() + ", from which the driver did not return";
    }
    Core::Console::Print(Core::LogError, false, "playback: %s%s%s%s.", why.c_str(), where.c_str(), doing ? " " : "",
                         doing ? doing : "");
    if (mayTell) {
        m_report.isCutOff = true;
        m_report.stopReason = why;
        // Their reports are written when they are destroyed, which is the replay thread's.
        static_cast<void>(m_statistics.release());
        Summarise();
    }
    Util::OutputFile::AbandonAll();
    if (m_terminal)
        m_terminal->Restore();
    _exit(static_cast<int>(Util::ExitStatus::CutShort));
}

} // namespace Host
