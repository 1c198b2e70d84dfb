#include "Host/Session.h"

#include <algorithm>
#include <cstring>
#include <thread>

#include "Data/CaptureFile.h"
#include "Host/Driver.h"
#include "Host/DriverProbe.h"
#include "Host/Engine.h"
#include "Host/ExtractTextures.h"
#include "Host/Screenshots.h"
#include "Host/Statistics.h"
#include "Host/Terminal.h"
#include "Interfaces/Core.h"
#include "Interfaces/Util.h"
#include "Playback/Controller.h"
#include "Playback/EGLProxySurfaceFactory.h"
#include "Playback/PlaybackSettings.h"

namespace Host {

namespace {

using std::chrono::steady_clock;

/// How long events and keys may wait for an answer while replay itself waits.
constexpr std::chrono::milliseconds LongestSleep{10};

std::string NumberOf(std::uint32_t frame)
{
    return "frame " + std::to_string(frame);
}

} // namespace

Session::Session(Options options)
    : m_options(std::move(options)), m_settings(Playback::PlaybackEnvironment::Instance()), m_pace(m_options.pace),
      m_measurements(m_options.measuredFrames)
{
}

Session::~Session() = default;

void Session::Say(const std::string& text) const
{
    if (!m_options.quiet) {
        Core::Console::Print(Core::LogNotice, false, "%s", text.c_str());
    }
}

ExitStatus Session::Run()
{
    Outcome failure = LoadSettings();
    if (!failure) {
        failure = OpenCapture();
    }
    if (!failure && m_settings->m_extractTextures) {
        failure = ExtractTextures(m_options.captureFile, LastFrame(), [this](const std::string& text) { Say(text); });
    }
    if (!failure && m_settings->m_stats) {
        failure = StartStatistics();
    } else if (!failure && m_settings->m_playback) {
        failure = m_output.Open(m_options, {m_capture->Header().surfaceWidth, m_capture->Header().surfaceHeight});
        const bool hasAll = failure || CheckRequirements();
        if (!failure && m_options.check) {
            return hasAll ? ExitStatus::Done : ExitStatus::Differed;
        }
        if (!failure) {
            Say("Replaying " + m_output.Description() + ".");
            CreateEngine();
        }
    }
    if (!failure) {
        failure = Replay();
    }
    if (failure) {
        Core::Console::Print(Core::LogError, false, "playback: %s", failure->message.c_str());
    }
    const bool hasBegun = m_report.passes != 0;
    const ExitStatus status = hasBegun ? Summarise() : ExitStatus::Done;
    return failure ? failure->status : status;
}

Outcome Session::LoadSettings()
{
    if (m_options.quiet) {
        // Unless -loglevel says otherwise.
        Core::Log::SetLevel(Core::LogWarning);
    }
    m_settings->LoadSettings(m_options.args, m_options.captureFile);
    const std::string* folder = m_options.args.FindValue("-screenshotdir");
    if (folder && !Util::Path::Exists(*folder)) {
        return Failure{ExitStatus::Usage, "cannot create the folder of -screenshotdir, " + *folder};
    }
    if (m_settings->m_screenshotPath.empty()) {
        m_settings->m_screenshotPath = m_settings->GetFilePrefix(m_options.captureFile, 0);
    }
    return std::nullopt;
}

Outcome Session::OpenCapture()
{
    const Data::Preload preload = m_settings->m_preloadFile ? Data::Preload::All : Data::Preload::No;
    const auto report = [](const std::string& trouble) {
        Core::Console::Print(Core::LogWarning, false, "playback: %s", trouble.c_str());
    };
    std::string error;
    auto capture = Data::CaptureFile::Open(m_options.captureFile, preload, report, error);
    if (!capture) {
        return Failure{ExitStatus::Unreadable, error};
    }
    m_capture = std::move(capture);
    if (m_settings->m_loopFrame > static_cast<std::int64_t>(FramesOfPass())) {
        return Failure{ExitStatus::Usage, "-loopframe " + std::to_string(m_settings->m_loopFrame) +
                                              " is behind the last frame, which is " + std::to_string(FramesOfPass())};
    }
    return std::nullopt;
}

Outcome Session::StartStatistics()
{
    if (std::string fault = Statistics::FileFault(m_options.captureFile); !fault.empty()) {
        return Failure{ExitStatus::Usage, std::move(fault)};
    }
    // Values that no statistics are kept of are the rule rather than the exception.
    if (!m_options.args.FindValue("-loglevel")) {
        Core::Log::SetLevel(Core::LogError);
    }
    m_statistics = std::make_unique<Statistics>(*m_capture, m_options.captureFile);
    return std::nullopt;
}

bool Session::CheckRequirements()
{
    const DriverProbe probe(m_output.Compositor());
    if (!probe.HasContext() || (!m_options.check && probe.IsRecordedWith(m_capture->Header()))) {
        if (m_options.check) {
            Say("This driver cannot be looked at: it makes no context without a surface.");
        }
        return true;
    }
    std::string error;
    // Trouble with the file is reported when it is replayed.
    const auto capture = Data::CaptureFile::Open(m_options.captureFile, Data::Preload::No, {}, error);
    if (!capture) {
        return true;
    }
    const std::vector<std::string> missing = probe.FindMissing(RequirementReader::Read(*capture, LastFrame()));
    if (missing.empty()) {
        if (m_options.check) {
            Say("The driver has all that the capture needs.");
        }
        return true;
    }
    Core::Console::Print(Core::LogWarning, false, "The capture needs what this driver lacks:");
    for (const std::string& line : missing) {
        Core::Console::Print(Core::LogWarning, false, "  %s", line.c_str());
    }
    return false;
}

void Session::CreateEngine()
{
    if (!m_terminal) {
        m_terminal = Terminal::Open();
    }
    const bool hasScreenshots = m_settings->m_screenshotInterval != 0 || m_settings->m_screenshotEndFrame != 0 ||
                                m_settings->m_perDrawScreenshotFrame != 0 || m_settings->m_dumpDefaultFbo;
    if (HasKeys() || hasScreenshots) {
        m_screenshots = std::make_unique<Screenshots>(*m_settings);
    }
    m_engine =
        std::make_unique<Engine>(*m_capture, Engine::Output{m_output.WindowManager(), m_output.CreateSurfaceFactory()},
                                 m_options.verify ? &m_verification : nullptr, m_screenshots.get());
}

Outcome Session::Replay()
{
    m_statusLine.emplace(m_options.quiet);
    m_start = steady_clock::now();
    m_controller = std::make_unique<Playback::Controller>(m_output.WindowManager(), m_capture.get());
    Outcome failure;
    do {
        if (m_report.passes != 0) {
            failure = Rewind();
        }
        if (!failure) {
            failure = ReplayPass();
            EndPass();
        }
    } while (!failure && IsAnotherPassDue());
    m_statusLine.reset();
    return failure;
}

Outcome Session::Rewind()
{
    const bool isPaused = m_controller->IsPaused();
    m_engine.reset();
    Outcome failure = OpenCapture();
    if (!failure && m_settings->m_playback) {
        failure = m_output.OpenDriver();
        if (!failure) {
            CreateEngine();
        }
    }
    m_controller = std::make_unique<Playback::Controller>(m_output.WindowManager(), m_capture.get());
    if (isPaused) {
        m_controller->Pause();
    }
    return failure;
}

Outcome Session::ReplayPass()
{
    ++m_report.passes;
    m_capture->SetThreadFilter({m_settings->m_threads.begin(), m_settings->m_threads.end()},
                               static_cast<std::uint32_t>(std::max(m_settings->m_threadFilterStartFrame, 0)));
    if (m_options.timeCalls) {
        m_capture->TimeCalls();
    }
    m_pace.Restart();
    auto start = steady_clock::now();
    Outcome failure;
    while (!failure && m_controller->HasMoreFrames() && WaitForTurn(failure)) {
        failure = ReplayFrame();
        UpdateStatus();
        if (IsOnTheWay()) {
            start = steady_clock::now();
        }
    }
    m_report.seconds += std::chrono::duration<double>(steady_clock::now() - start).count();
    return failure;
}

Outcome Session::ReplayFrame()
{
    const std::uint32_t frame = CurrentFrame() + 1;
    if (m_settings->m_pause && static_cast<std::int64_t>(frame) == m_settings->m_pauseFrame && m_report.passes == 1) {
        m_isPauseDue = true;
    }
    if (m_screenshots && (m_isPauseDue || m_controller->IsPaused())) {
        m_screenshots->KeepNextFrame();
    }
    const bool isOnTheWay = IsOnTheWay();
    // The way to the loop was compared in the first pass.
    m_verification.frames.Switch(!isOnTheWay);
    const std::uint64_t calls = m_capture->CallCount();
    m_measurements.StartFrame(calls);
    m_controller->FrameForward();
    if (!isOnTheWay) {
        m_report.calls += m_capture->CallCount() - calls;
    }
    if (CurrentFrame() == frame && !isOnTheWay) {
        ++m_report.frames;
        m_measurements.EndFrame(frame, m_capture->CallCount());
    }
    if (m_isPauseDue) {
        m_isPauseDue = false;
        m_controller->Pause();
        SayPaused();
    }
    return AfterFrame();
}

bool Session::HasKeys() const
{
    return m_terminal || m_output.HasKeyboard();
}

void Session::SayPaused() const
{
    Say("Paused at " + NumberOf(CurrentFrame()) + "; " +
        (HasKeys() ? KeyHelp : "there is neither a keyboard nor a terminal to go on with, a signal ends the replay") +
        ".");
}

bool Session::WaitForTurn(Outcome& failure)
{
    const auto due = IsOnTheWay() ? steady_clock::now() : m_pace.NextFrame(m_capture->FrameTimeUs());
    for (;;) {
        failure = HandleEvents();
        m_report.stopReason = failure ? "" : ReasonToStop();
        if (failure || !m_report.stopReason.empty() || CurrentFrame() >= LastFrame()) {
            return false;
        }
        if (m_controller->IsPaused()) {
            if (m_steps > 0) {
                --m_steps;
                return true;
            }
            m_pace.Restart();
        }
        const auto now = steady_clock::now();
        if (m_options.timeLimit && now - m_start > *m_options.timeLimit) {
            failure =
                Failure{ExitStatus::CutShort, "The time of -timelimit is over after " + NumberOf(CurrentFrame()) + "."};
            return false;
        }
        if (!m_controller->IsPaused() && now >= due) {
            return true;
        }
        UpdateStatus();
        std::this_thread::sleep_until(m_controller->IsPaused() ? now + LongestSleep
                                                               : std::min(due, now + LongestSleep));
    }
}

Outcome Session::HandleEvents()
{
    if (!m_output.HandleEvents(m_commands)) {
        return Failure{ExitStatus::NoDriver,
                       "The connection to the compositor broke after " + NumberOf(CurrentFrame()) + "."};
    }
    if (m_terminal) {
        m_terminal->Read(m_commands);
    }
    for (; !m_commands.empty(); m_commands.pop_front()) {
        Obey(m_commands.front());
    }
    return std::nullopt;
}

void Session::Obey(Command command)
{
    switch (command) {
    case Command::PauseOrGo:
        if (m_controller->IsPaused()) {
            m_controller->Play();
        } else {
            m_isPauseDue = true;
        }
        break;
    case Command::Step:
        // Also when replay runs: then it pauses after the next frame.
        if (m_controller->IsPaused()) {
            ++m_steps;
        } else {
            m_isPauseDue = true;
        }
        break;
    case Command::Screenshot:
        if (m_screenshots && m_controller->IsPaused()) {
            m_screenshots->WriteKept();
        } else if (m_screenshots) {
            m_screenshots->WriteNextFrame();
        }
        break;
    case Command::FullScreen:
        m_output.ToggleFullscreen();
        break;
    case Command::End:
        m_isEndWanted = true;
        break;
    }
}

Outcome Session::AfterFrame()
{
    if (!m_engine) {
        return std::nullopt;
    }
    if (m_report.driver.empty()) {
        m_report.driver = DriverStrings();
    }
    if (CurrentFrame() == 1 && m_controller->HasMoreFrames()) {
        if (std::string missing = MissingContext(); !missing.empty()) {
            return Failure{ExitStatus::NoDriver, std::move(missing)};
        }
    }
    if (CurrentFrame() == 1 && m_report.passes == 1 && m_output.IsBlank()) {
        Say("The first frame is drawn off screen; the window appears with the first one that is not.");
    }
    if (m_settings->m_swapFbo > 0) {
        m_engine->ShowFramebuffer(static_cast<std::uint32_t>(m_settings->m_swapFbo), m_settings->m_swapFboX,
                                  m_settings->m_swapFboY);
    }
    if (IsContextLost()) {
        return Failure{ExitStatus::CutShort, "The driver lost the context in " + NumberOf(CurrentFrame()) +
                                                 ", for instance because the GPU was reset."};
    }
    return std::nullopt;
}

std::string Session::ReasonToStop() const
{
    if (m_stopSignal.Received() != 0) {
        return strsignal(m_stopSignal.Received());
    }
    if (m_isEndWanted) {
        return "q or Escape was pressed";
    }
    if (m_output.IsClosed()) {
        return "a window was closed";
    }
    if (m_settings->m_stopFrameSet && CurrentFrame() >= LastFrame() && !IsAnotherPassDue()) {
        return "-stopframe";
    }
    return "";
}

std::uint32_t Session::CurrentFrame() const
{
    return m_capture->GetCurrentFrame();
}

std::uint32_t Session::LastFrame() const
{
    // The frames that the file announces may not be all there are, as when its end is missing.
    constexpr std::uint32_t everything = ~std::uint32_t{0};
    return m_settings->m_stopFrameSet ? static_cast<std::uint32_t>(std::max(m_settings->m_stopFrame, 0)) : everything;
}

bool Session::IsOnTheWay() const
{
    return m_report.passes > 1 && static_cast<std::int64_t>(CurrentFrame()) < m_settings->m_loopFrame - 1;
}

bool Session::IsAnotherPassDue() const
{
    if (!m_report.stopReason.empty() || m_statistics) {
        return false;
    }
    return m_settings->m_loopCount > 0 ? static_cast<std::int64_t>(m_report.passes) < m_settings->m_loopCount
                                       : m_settings->m_loopFrame > 0;
}

std::uint32_t Session::FramesOfPass() const
{
    return std::min(m_capture->GetFrameCount(), LastFrame());
}

std::uint32_t Session::FramesOfPasses(std::uint32_t passes) const
{
    const auto first = static_cast<std::uint32_t>(std::max(m_settings->m_loopFrame, 1));
    const std::uint32_t looped = FramesOfPass() >= first ? FramesOfPass() - first + 1 : 0;
    return FramesOfPass() + (passes - 1) * looped;
}

void Session::UpdateStatus()
{
    const auto passes = static_cast<std::uint32_t>(std::max(m_settings->m_loopCount, 1));
    m_statusLine->Update(m_report.frames, FramesOfPasses(passes), CurrentFrame(), m_controller->IsPaused());
}

void Session::EndPass()
{
    m_report.refusedCalls += m_capture->SkippedCalls();
    if (!m_engine) {
        return;
    }
    for (const auto& [name, count] : m_engine->Errors()) {
        m_report.errors[name] += count;
    }
    for (const auto& [name, count, time] : m_capture->CallSums()) {
        m_report.callTimesMs[name] += static_cast<double>(time) / 1e6;
        const unsigned int id = Core::KHRLayer::GetEglGlFuncId(name);
        if (!Core::KHRLayer::HasFunction(id) || m_settings->m_skipFrameApiIds.contains(id)) {
            m_report.skipped[name] += count;
        }
    }
}

ExitStatus Session::Summarise()
{
    m_report.captureFile = m_options.captureFile;
    m_report.captureFrames = m_capture->GetFrameCount();
    m_report.options = m_options.arguments;
    m_report.areCallsTimed = m_options.timeCalls;
    if (m_screenshots) {
        m_report.screenshots = m_screenshots->Files();
    }
    m_report.errorMessages = Core::Log::ErrorCount();
    m_report.areErrorsChecked = m_engine && !m_settings->m_skipErrorCheck;
    if (m_options.verify) {
        const std::uint32_t expected = FramesOfPasses(m_report.passes);
        m_report.isVerified = m_verification.IsVerified(expected);
        m_report.verification = m_verification.Report(expected);
    }
    if (!m_report.stopReason.empty()) {
        Say("Stopped after frame " + std::to_string(CurrentFrame()) + " of " +
            std::to_string(m_capture->GetFrameCount()) + ": " + m_report.stopReason + ".");
    }
    for (const std::string& line : SummaryLines(m_report, m_measurements)) {
        Say(line);
    }
    if (m_statistics) {
        m_statistics.reset();
        Say(Statistics::Report(m_options.captureFile));
    }
    if (!m_options.jsonFile.empty()) {
        if (const std::string error = WriteJson(m_options.jsonFile, m_report, m_measurements); !error.empty()) {
            Core::Console::Print(Core::LogError, false, "playback: cannot write %s", error.c_str());
            return ExitStatus::NotWritten;
        }
    }
    return m_report.isVerified.value_or(true) ? ExitStatus::Done : ExitStatus::Differed;
}

} // namespace Host
