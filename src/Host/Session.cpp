#include "Host/Session.h"

#include <algorithm>

#include "Data/Capture/CaptureFile.h"
#include "Host/Advice/DriverProbe.h"
#include "Host/Advice/Explanation.h"
#include "Host/Engine.h"
#include "Host/Results/ExtractTextures.h"
#include "Host/Results/Statistics.h"
#include "Host/Screenshots.h"
#include "Host/Terminal.h"
#include "Host/Timing/Turns.h"
#include "Interfaces/Core.h"
#include "Interfaces/Util.h"
#include "Playback/Controller.h"
#include "Playback/PlaybackSettings.h"
#include "Playback/Surfaces/EGLProxySurfaceFactory.h"
#include "Replay/Driver/Driver.h"
#include "Replay/Timing/GpuCounters.h"
#include "Util/OutputFile.h"

namespace Host {

Session::Session(Options options)
    : m_options(std::move(options)), m_settings(Playback::PlaybackEnvironment::Instance()), m_plan(*m_settings),
      m_measurements(m_options.measuredFrames), m_timer(m_options.framesInFlight, m_measurements, m_telling),
      m_watchdog([this](const std::string& why) { EndNow(why); }), m_verification(&m_timer),
      m_inspection(m_options.captureFile, m_options.driverDirectory), m_pace(m_options.pace)
{
    if (m_options.gpuSpans) {
        m_gpuTimes = GpuTimes{*m_options.gpuSpans, {}, {}, {}};
        m_gpuTimer.emplace(*m_gpuTimes, m_telling, m_options.gpuCounters);
        m_timer.SetGpuTimer(&*m_gpuTimer);
    }
}

Session::~Session() = default;

void Session::Say(const std::string& text) const
{
    if (!m_options.quiet)
        Core::Console::Print(Core::LogNotice, false, "%s", text.c_str());
}

Util::ExitStatus Session::Run()
{
    Util::Outcome failure = LoadSettings();
    if (!failure && !m_options.hashes.output.empty())
        return WriteHashes();
    if (!failure)
        failure = OpenCapture();
    if (!failure && m_settings->m_extractTextures) {
        failure = ExtractTextures(
            m_options.captureFile, m_plan.LastFrame(), [this](const std::string& text) { Say(text); });
    }
    m_report.isReplay = m_settings->m_playback && !m_settings->m_stats;
    if (!failure && m_settings->m_stats) {
        failure = StartStatistics();
    } else if (!failure && m_settings->m_playback) {
        failure = OpenOutput();
        if (!failure && m_options.check)
            return CheckRequirements();
        if (!failure && m_options.gpuCounters == "list")
            return ListCounters();
        if (!failure) {
            for (const std::string& line : WithoutEffect(m_options, m_plan.FramesOfPass(m_capture->GetFrameCount())))
                Core::Console::Print(Core::LogWarning, false, "playback: %s", line.c_str());
            CheckRequirements();
            Say("Replaying " + m_output.Description() + ".");
            CreateEngine();
        }
    }
    if (!failure)
        failure = Replay();
    if (failure)
        Core::Console::Print(Core::LogError, false, "playback: %s", failure->message.c_str());
    const bool hasBegun = m_report.passes != 0;
    const Util::ExitStatus status = hasBegun ? Summarise() : Util::ExitStatus::Done;
    Close();
    return failure ? failure->status : status;
}

Util::ExitStatus Session::WriteHashes() const
{
    const Util::Outcome failure = Host::WriteHashes(m_options.captureFile, m_options.driverDirectory, m_options.hashes,
                                                    m_options.quiet, [this](const std::string& text) { Say(text); });
    if (failure)
        Core::Console::Print(Core::LogError, false, "playback: %s", failure->message.c_str());
    return failure ? failure->status : Util::ExitStatus::Done;
}

Util::Outcome Session::OpenOutput()
{
    const Telling::InDriver inDriver(&m_telling);
    return m_output.Open(m_options, {m_capture->Header().surfaceWidth, m_capture->Header().surfaceHeight});
}

Util::Outcome Session::LoadSettings()
{
    if (m_options.quiet) {
        // Unless -loglevel says otherwise.
        Core::Log::SetLevel(Core::LogWarning);
    }
    m_settings->LoadSettings(m_options.args, m_options.captureFile);
    const std::string* folder = m_options.args.FindValue("-screenshotdir");
    if (folder && !Util::Path::Exists(*folder))
        return Util::Failure{Util::ExitStatus::NotWritten, "cannot create the folder of -screenshotdir, " + *folder};
    // Default framebuffers go by their own names.
    if (m_settings->m_screenshotPath.empty() && !m_settings->m_dumpDefaultFbo)
        m_settings->m_screenshotPath = m_settings->GetFilePrefix(m_options.captureFile, 0);
    return std::nullopt;
}

Util::Outcome Session::OpenCapture()
{
    const Data::Preload preload = m_settings->m_preloadFile ? Data::Preload::All : Data::Preload::No;
    const auto report = [](const std::string& trouble) {
        Core::Console::Print(Core::LogWarning, false, "playback: %s", trouble.c_str());
    };
    std::string error;
    auto capture = Data::CaptureFile::Open(m_options.captureFile, preload, report, error);
    if (!capture)
        return Util::Failure{Util::ExitStatus::Unreadable, error};
    m_capture = std::move(capture);
    const std::uint32_t frames = m_plan.FramesOfPass(m_capture->GetFrameCount());
    if (m_settings->m_loopFrame > static_cast<std::int64_t>(frames)) {
        return Util::Failure{Util::ExitStatus::Usage, "-loopframe " + std::to_string(m_settings->m_loopFrame) +
                                                          " is after the last frame, which is " +
                                                          std::to_string(frames)};
    }
    return std::nullopt;
}

Util::Outcome Session::StartStatistics()
{
    if (const std::string* folder = m_options.args.FindValue("-statsdir")) {
        if (!Util::Path::Exists(*folder) && !Util::Path::CreateFolder(*folder))
            return Util::Failure{Util::ExitStatus::NotWritten, "cannot create the folder of -statsdir, " + *folder};
    }
    if (std::string fault = Statistics::ReportFault(m_options.statisticsFile); !fault.empty())
        return Util::Failure{Util::ExitStatus::NotWritten, std::move(fault)};
    for (const std::string& fault : Statistics::TextFaults())
        Core::Console::Print(Core::LogWarning, false, "playback: %s; the reports do without it.", fault.c_str());
    // Values that no statistics are kept of are the rule rather than the exception.
    if (!m_options.args.FindValue("-loglevel"))
        Core::Log::SetLevel(Core::LogError);
    m_statistics = std::make_unique<Statistics>(*m_capture, m_options.statisticsFile);
    return std::nullopt;
}

Util::ExitStatus Session::ListCounters() const
{
    const DriverProbe probe(m_output.Compositor());
    const std::vector<std::string> names =
        probe.HasContext() ? Replay::GpuCounters("*").Names() : std::vector<std::string>();
    for (const std::string& name : names)
        Util::Print(name + "\n");
    if (names.empty())
        Say("The driver has no counters: it has no GL_AMD_performance_monitor.");
    return probe.HasContext() ? Util::ExitStatus::Done : Util::ExitStatus::NoDriver;
}

Util::ExitStatus Session::CheckRequirements()
{
    const DriverProbe probe(m_output.Compositor(), m_capture->Header().glVersion);
    if (!probe.HasContext()) {
        if (m_options.check) {
            Core::Console::Print(Core::LogError, false,
                                 "playback: cannot check: the driver makes no context without a surface.");
        }
        return Util::ExitStatus::NoDriver;
    }
    if (!m_options.check && probe.IsRecordedWith(m_capture->Header()))
        return Util::ExitStatus::Done;
    const std::vector<std::string> missing =
        probe.FindMissing(ReadRequirements(m_options.captureFile, m_plan.LastFrame()));
    if (missing.empty()) {
        if (m_options.check)
            Say("The driver has all that the capture needs.");
        return Util::ExitStatus::Done;
    }
    Core::Console::Print(Core::LogWarning, false, "The capture needs what this driver lacks:");
    for (const std::string& line : missing)
        Core::Console::Print(Core::LogWarning, false, "  %s", line.c_str());
    return Util::ExitStatus::Differed;
}

void Session::CreateEngine()
{
    if (!m_terminal)
        m_terminal = Terminal::Open();
    const bool hasScreenshots = m_settings->m_screenshotInterval != 0 || m_settings->m_screenshotEndFrame != 0 ||
                                m_settings->m_perDrawScreenshotFrame != 0 || m_settings->m_dumpDefaultFbo ||
                                m_options.screenshots.isList;
    if (!m_screenshots && (HasKeys() || hasScreenshots)) {
        m_screenshots = std::make_unique<Screenshots>(
            *m_settings, m_options.screenshots.isList ? m_options.screenshots.frames : FrameSet(), &m_timer);
    }
    m_timer.Attach();
    m_engine =
        std::make_unique<Engine>(*m_capture, Engine::Output{m_output.WindowManager(), m_output.CreateSurfaceFactory()},
                                 m_options.verify ? &m_verification : nullptr, m_screenshots.get());
    if (m_gpuTimer)
        m_gpuTimer->Attach(*m_capture);
    if (m_options.screenshotActions && m_options.screenshots.drawFrame != 0)
        m_engine->TakeActions(*m_capture, *m_screenshots);
}

Util::Outcome Session::Replay()
{
    m_statusLine.emplace(m_options.quiet);
    m_start = Replay::RunningClock::now();
    if (m_options.timeLimit)
        m_watchdog.SetLimit(m_start + std::chrono::duration_cast<Replay::RunningClock::duration>(*m_options.timeLimit));
    m_controller = std::make_unique<Playback::Controller>(m_output.WindowManager(), m_capture.get());
    FindLoop();
    Util::Outcome failure;
    do {
        if (m_options.takesTurns && !Turns::Wait()) {
            m_report.stopReason = "no further turn";
            break;
        }
        if (m_report.passes != 0)
            failure = Rewind();
        if (!failure) {
            failure = ReplayPass();
            Util::Outcome nothing = EndPass();
            failure = failure ? failure : nothing;
        }
        if (m_options.takesTurns && !failure)
            Turns::Tell(m_report.passes);
    } while (!failure && IsAnotherPassDue());
    if (failure && failure->status == Util::ExitStatus::CutShort)
        m_watchdog.ExpectEnd();
    else
        m_watchdog.LiftLimit();
    m_statusLine.reset();
    return failure;
}

Util::Outcome Session::ReplayPass()
{
    ++m_report.passes;
    m_capture->SetThreadFilter({m_settings->m_threads.begin(), m_settings->m_threads.end()},
                               static_cast<std::uint32_t>(std::max(m_settings->m_threadFilterStartFrame, 0)));
    if (m_options.unfinished)
        m_capture->PlayUnfinished();
    if (m_options.timeCalls)
        m_capture->TimeCalls();
    if (m_screenshots)
        m_screenshots->StartPass(m_report.passes, CurrentFrame());
    m_verification.frames.SetPass(m_report.passes);
    m_pace.Restart();
    m_timer.Restart();
    Util::Outcome failure;
    while (!failure && m_controller->HasMoreFrames() && WaitForTurn(failure)) {
        KeepLoopStart();
        failure = ReplayFrame();
        UpdateStatus();
    }
    m_timer.Drain();
    if (m_gpuTimer)
        m_gpuTimer->Drain();
    return failure;
}

Util::Outcome Session::ReplayFrame()
{
    const std::uint32_t frame = CurrentFrame() + 1;
    if (m_settings->m_pause && static_cast<std::int64_t>(frame) == m_settings->m_pauseFrame && m_report.passes == 1)
        m_isPauseDue = true;
    if (m_screenshots && (m_isPauseDue || m_controller->IsPaused()))
        m_screenshots->KeepNextFrame();
    const bool isOnTheWay = IsOnTheWay();
    // The way to the loop was compared in the first pass.
    m_verification.frames.Switch(!isOnTheWay);
    const std::uint64_t before = m_capture->CallCount();
    if (m_gpuTimer)
        m_gpuTimer->BeginFrame(m_report.passes, frame, !isOnTheWay && m_options.measuredFrames.Contains(frame));
    {
        const Telling::InDriver inDriver(&m_telling);
        m_timer.SetDoing(nullptr);
        if (m_controller->IsPaused())
            m_controller->FrameForward();
        else
            m_controller->Update();
        m_timer.SetDoing("at its end");
    }
    const std::uint64_t calls = m_capture->CallCount() - before;
    const bool isWhole = CurrentFrame() == frame;
    if (!isOnTheWay) {
        m_report.frames += isWhole ? 1 : 0;
        m_report.calls += calls;
    }
    if (m_gpuTimer)
        m_gpuTimer->EndFrame(isWhole);
    m_timer.EndFrame(isOnTheWay ? FrameTimer::Account::None
                     : isWhole  ? FrameTimer::Account::Frames
                                : FrameTimer::Account::Rest,
                     {m_report.passes, frame, calls, {}});
    if (m_isPauseDue) {
        m_isPauseDue = false;
        m_controller->Pause();
        SayPaused();
        if (m_isInspectionDue || m_options.inspect)
            Inspect();
    }
    return AfterFrame();
}

Util::Outcome Session::AfterFrame()
{
    if (!m_engine)
        return std::nullopt;
    if (m_report.driver.empty())
        m_report.driver = Replay::DriverStrings();
    if (CurrentFrame() == 1 && m_controller->HasMoreFrames()) {
        if (std::string missing = Replay::MissingContext(); !missing.empty()) {
            const std::string reason = WhyNothingIsDrawn(m_options.captureFile, m_settings->m_threads);
            return Util::Failure{Util::ExitStatus::NoDriver, reason.empty() ? missing : reason};
        }
    }
    if (CurrentFrame() == 1 && m_report.passes == 1 && m_output.IsBlank()) {
        Say(m_engine->HasDrawnFrames()
                ? "No swap ends the first frame, so that the window does not show it; -screenshots writes such frames."
                : "The first frame is drawn off screen; the window appears with the first one that is not.");
    }
    const Telling::InDriver inDriver(&m_telling);
    if (m_settings->m_swapFbo > 0) {
        m_engine->ShowFramebuffer(static_cast<std::uint32_t>(m_settings->m_swapFbo), m_settings->m_swapFboX,
                                  m_settings->m_swapFboY);
    }
    if (Replay::IsContextLost()) {
        return Util::Failure{Util::ExitStatus::CutShort, "The driver lost the context in frame " +
                                                             std::to_string(CurrentFrame()) +
                                                             ", for instance because the GPU was reset."};
    }
    return std::nullopt;
}

std::uint32_t Session::CurrentFrame() const
{
    return m_capture->GetCurrentFrame();
}

bool Session::IsOnTheWay() const
{
    return m_plan.IsOnTheWay(m_report.passes, CurrentFrame());
}

bool Session::IsAnotherPassDue() const
{
    return m_report.stopReason.empty() && !m_statistics && m_plan.IsPassAfter(m_report.passes);
}

void Session::UpdateStatus()
{
    m_statusLine->Update(m_report.frames, m_plan.FramesOfPasses(m_capture->GetFrameCount(), m_plan.Passes()),
                         CurrentFrame(), m_controller->IsPaused());
}

} // namespace Host
