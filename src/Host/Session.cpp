#include "Host/Session.h"

#include <algorithm>
#include <cstring>

#include "Data/CaptureFile.h"
#include "Host/Driver.h"
#include "Host/Engine.h"
#include "Host/FramePacer.h"
#include "Host/HiddenSurface.h"
#include "Host/OffscreenSurfaceFactory.h"
#include "Host/ReadBackVerifier.h"
#include "Host/ReplayWindows.h"
#include "Host/Statistics.h"
#include "Host/WaylandConnection.h"
#include "Interfaces/Core.h"
#include "Interfaces/Util.h"
#include "Playback/Controller.h"
#include "Playback/EGLOffscreenSurfaceFactory.h"
#include "Playback/EGLPbufferSurfaceFactory.h"
#include "Playback/EGLSingleSurfaceFactory.h"
#include "Playback/PlaybackSettings.h"
#include "Playback/SingleWindowManager.h"

namespace Host {

namespace {

template <class... Values> void Say(int level, const char* format, Values... values)
{
    Core::Console::Print(level, false, format, values...);
}

/// "1 frame", "2 frames".
std::string Counted(std::uint64_t count, const char* noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

} // namespace

Session::Session(Options options) : m_options(std::move(options)), m_settings(Playback::PlaybackEnvironment::Instance())
{
}

Session::~Session() = default;

ExitStatus Session::Run()
{
    Outcome failure = LoadSettings();
    if (!failure) {
        failure = OpenCapture();
    }
    if (!failure && m_settings->m_stats) {
        failure = StartStatistics();
    } else if (!failure && m_settings->m_playback) {
        failure = OpenOutput();
        if (!failure) {
            m_engine = std::make_unique<Engine>(*m_capture, Engine::Output{m_windowManager, CreateSurfaceFactory()},
                                                m_options.verify ? &m_verifier : nullptr);
        }
    }
    if (!failure) {
        failure = Replay();
    }
    if (failure) {
        Say(Core::LogError, "playback: %s", failure->message.c_str());
        return failure->status;
    }
    return Summarise();
}

Session::Outcome Session::LoadSettings()
{
    m_settings->LoadSettings(m_options.args, m_options.captureFile);
    ReportOptionsWithoutEffect(m_options.args);
    const std::string* folder = m_options.args.FindValue("-screenshotdir");
    if (folder && !Util::Path::Exists(*folder)) {
        return Failure{ExitStatus::Usage, "cannot create the folder of -screenshotdir, " + *folder};
    }
    return std::nullopt;
}

Session::Outcome Session::OpenCapture()
{
    const Data::Preload preload = m_settings->m_preloadFile ? Data::Preload::All : Data::Preload::No;
    const auto report = [](const std::string& trouble) { Say(Core::LogWarning, "playback: %s", trouble.c_str()); };
    std::string error;
    m_capture = Data::CaptureFile::Open(m_options.captureFile, preload, report, error);
    if (!m_capture) {
        return Failure{ExitStatus::Unreadable, error};
    }
    return std::nullopt;
}

Session::Outcome Session::StartStatistics()
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

Session::Outcome Session::OpenOutput()
{
    std::string why;
    if (m_options.headless) {
        why = "-headless was given";
    } else if (m_settings->m_pbufferSurface) {
        why = "-pbuffersurface shows nothing";
    } else {
        m_connection = WaylandConnection::Open(why);
    }
    wl_display* compositor = m_connection ? m_connection->Globals().display : nullptr;
    if (compositor) {
        Say(Core::LogNotice, "Replaying in a window (%s).", m_connection->ShellName());
    } else {
        Say(Core::LogNotice, "Replaying off screen: %s.", why.c_str());
    }
    if (std::string error = OpenDriver(m_options.driverDirectory, compositor); !error.empty()) {
        return Failure{ExitStatus::NoDriver, std::move(error)};
    }
    return compositor ? OpenWindows() : std::nullopt;
}

Session::Outcome Session::OpenWindows()
{
    const Data::CaptureHeader& header = m_capture->Header();
    m_windows = std::make_unique<ReplayWindows>(
        *m_connection, ReplayWindows::Style{.title = "Playback: " + Util::Path::GetFilePart(m_options.captureFile),
                                            .captured = {header.surfaceWidth, header.surfaceHeight},
                                            .fixed = {static_cast<unsigned int>(m_settings->m_windowWidth),
                                                      static_cast<unsigned int>(m_settings->m_windowHeight)},
                                            .fullscreen = m_settings->m_fullscreen});
    if (!m_windows->Open()) {
        return Failure{ExitStatus::NoDriver, "No display: the compositor refused a window. Try -headless to replay off "
                                             "screen."};
    }
    m_pacer = std::make_unique<FramePacer>(*m_windows);
    m_windowManager = m_windows.get();
    if (m_settings->m_singleSurface) {
        m_singleWindow = std::make_unique<Playback::SingleWindowManager>(m_windows->GetActiveWindow());
        m_windowManager = m_singleWindow.get();
    }
    return std::nullopt;
}

std::unique_ptr<Playback::EGLProxySurfaceFactory> Session::CreateSurfaceFactory() const
{
    using namespace Playback;
    if (m_windows && m_settings->m_singleSurface) {
        return std::make_unique<EGLSingleSurfaceFactory>();
    }
    if (m_windows) {
        return std::make_unique<WindowSurfaceFactory>(m_connection->Globals().compositor);
    }
    if (m_settings->m_pbufferSurface && !m_settings->m_skipPbufferDisplay) {
        return std::make_unique<OffscreenSurfaceFactory<EGLOffscreenSurfaceFactory>>(nullptr);
    }
    return std::make_unique<OffscreenSurfaceFactory<EGLPbufferSurfaceFactory>>();
}

Session::Outcome Session::Replay()
{
    m_controller = std::make_unique<Playback::Controller>(m_windowManager, m_capture.get());
    const auto start = std::chrono::steady_clock::now();
    Outcome failure;
    while (!failure && m_controller->HasMoreFrames()) {
        m_stopReason = ReasonToStop();
        if (!m_stopReason.empty()) {
            break;
        }
        m_controller->Update();
        failure = AfterFrame();
    }
    m_duration = std::chrono::steady_clock::now() - start;
    return failure;
}

Session::Outcome Session::AfterFrame()
{
    if (!m_engine) {
        return std::nullopt;
    }
    if (m_connection && !m_connection->Dispatch()) {
        return Failure{ExitStatus::NoDriver, "The connection to the compositor broke after frame " +
                                                 std::to_string(m_capture->GetCurrentFrame()) + "."};
    }
    if (m_capture->GetCurrentFrame() == 1 && m_controller->HasMoreFrames()) {
        if (std::string missing = MissingContext(); !missing.empty()) {
            return Failure{ExitStatus::NoDriver, std::move(missing)};
        }
    }
    if (m_windows && m_capture->GetCurrentFrame() == 1 && m_windows->GetActiveWindow()->GetWidth() == 0) {
        Say(Core::LogNotice, "The first frame is drawn off screen; the window appears with the first one that is not.");
    }
    if (IsContextLost()) {
        return Failure{ExitStatus::ContextLost, "The driver lost the context in frame " +
                                                    std::to_string(m_capture->GetCurrentFrame()) +
                                                    ", for instance because the GPU was reset."};
    }
    return std::nullopt;
}

std::string Session::ReasonToStop() const
{
    if (m_settings->m_stopFrameSet &&
        static_cast<std::int64_t>(m_capture->GetCurrentFrame()) >= m_settings->m_stopFrame) {
        return "-stopframe";
    }
    if (m_stopSignal.Received() != 0) {
        return strsignal(m_stopSignal.Received());
    }
    if (m_windows && m_windows->IsClosed()) {
        return "a window was closed";
    }
    return "";
}

std::uint32_t Session::ExpectedFrames() const
{
    const std::uint32_t all = m_capture->GetFrameCount();
    const bool cut = m_settings->m_stopFrameSet && m_settings->m_stopFrame < static_cast<std::int64_t>(all);
    return cut ? static_cast<std::uint32_t>(std::max(m_settings->m_stopFrame, 0)) : all;
}

ExitStatus Session::Summarise()
{
    const std::uint32_t frames = m_capture->GetCurrentFrame();
    if (!m_stopReason.empty()) {
        Say(Core::LogNotice, "Stopped after frame %u of %u: %s.", frames, m_capture->GetFrameCount(),
            m_stopReason.c_str());
    }
    const double seconds = m_duration.count();
    Say(Core::LogNotice, "%s in %.3f s, %.1f frames a second, %s.", Counted(frames, "frame").c_str(), seconds,
        seconds > 0 ? frames / seconds : 0.0, Counted(Core::Log::ErrorCount(), "error").c_str());
    if (m_statistics) {
        m_statistics.reset();
        Say(Core::LogNotice, "%s", Statistics::Report(m_options.captureFile).c_str());
    }
    return m_options.verify && !IsVerified() ? ExitStatus::Differed : ExitStatus::Done;
}

bool Session::IsVerified() const
{
    const ReadBackVerifier* const readBacks = m_engine ? m_engine->ReadBacks() : nullptr;
    const bool hasReadBacks = readBacks && readBacks->HasCompared();
    bool isVerified = true;
    // A program that never shows a frame is known by what it reads.
    if (ExpectedFrames() != 0 || !hasReadBacks) {
        Say(Core::LogNotice, "%s", m_verifier.Report(ExpectedFrames()).c_str());
        isVerified = m_verifier.IsVerified(ExpectedFrames());
    }
    if (hasReadBacks) {
        Say(Core::LogNotice, "%s", readBacks->Report().c_str());
        isVerified = isVerified && readBacks->AllEqual();
    }
    return isVerified;
}

} // namespace Host
