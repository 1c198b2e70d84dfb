#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Host/ExitStatus.h"
#include "Host/FrameVerifier.h"
#include "Host/Options.h"
#include "Host/StopSignal.h"

namespace Data {
class CaptureFile;
} // namespace Data

namespace Playback {
class Controller;
class EGLProxySurfaceFactory;
class PlaybackEnvironment;
class SingleWindowManager;
class WindowManager;
} // namespace Playback

namespace Host {

class Engine;
class FramePacer;
class ReplayWindows;
class Statistics;
class WaylandConnection;

/// One replay of one capture: builds the engine's objects in the order in which they need each other, steps the frames,
/// and takes the objects apart again. Owns them all.
class Session {
public:
    explicit Session(Options options);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Replays the capture to its end, or until a signal, a closed window or a failure. Reports on the console.
    ExitStatus Run();

private:
    struct Failure {
        ExitStatus status;
        std::string message;
    };
    using Outcome = std::optional<Failure>;

    Outcome LoadSettings();
    Outcome OpenCapture();
    Outcome StartStatistics();
    Outcome OpenOutput();
    Outcome OpenWindows();
    std::unique_ptr<Playback::EGLProxySurfaceFactory> CreateSurfaceFactory() const;
    Outcome Replay();
    /// Looks after the frame just replayed: window events, lost contexts.
    Outcome AfterFrame();
    /// Why replay ends before the capture does; empty to go on.
    [[nodiscard]] std::string ReasonToStop() const;
    [[nodiscard]] std::uint32_t ExpectedFrames() const;
    ExitStatus Summarise();
    /// Reports how the replay compares with the recording.
    [[nodiscard]] bool IsVerified() const;

    Options m_options;
    Playback::PlaybackEnvironment* m_settings;
    StopSignal m_stopSignal;

    // In the order of construction; destroyed the other way round.
    std::unique_ptr<Data::CaptureFile> m_capture;
    /// Null off screen, as are windows and pacer.
    std::unique_ptr<WaylandConnection> m_connection;
    std::unique_ptr<ReplayWindows> m_windows;
    std::unique_ptr<FramePacer> m_pacer;
    /// Where all captured windows share one.
    std::unique_ptr<Playback::SingleWindowManager> m_singleWindow;
    /// One of the above, or null off screen.
    Playback::WindowManager* m_windowManager = nullptr;
    std::unique_ptr<Engine> m_engine;
    /// In the place of the engine with -stats.
    std::unique_ptr<Statistics> m_statistics;
    std::unique_ptr<Playback::Controller> m_controller;

    FrameVerifier m_verifier;
    std::string m_stopReason;
    std::chrono::duration<double> m_duration{};
};

} // namespace Host
