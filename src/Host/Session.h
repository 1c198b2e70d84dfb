#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "Host/Commands.h"
#include "Host/Failure.h"
#include "Host/Measurements.h"
#include "Host/Options.h"
#include "Host/Output.h"
#include "Host/Pace.h"
#include "Host/Report.h"
#include "Host/StatusLine.h"
#include "Host/StopSignal.h"
#include "Host/Verification.h"

namespace Data {
class CaptureFile;
} // namespace Data

namespace Playback {
class Controller;
class PlaybackEnvironment;
} // namespace Playback

namespace Host {

class Engine;
class Screenshots;
class Statistics;
class Terminal;

/// One replay of one capture: opens what it is shown on, makes as many passes through the capture as are asked for,
/// steps the frames, and tells how it went. Owns everything.
class Session {
public:
    explicit Session(Options options);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Replays the capture to its end, or until a signal, a closed window or a failure. Reports on the console.
    ExitStatus Run();

private:
    Outcome LoadSettings();
    Outcome OpenCapture();
    Outcome StartStatistics();
    /// Tells what the capture needs and the driver lacks. False when that is something.
    bool CheckRequirements();
    void CreateEngine();

    Outcome Replay();
    /// From the first frame to the last one; later passes show only what is in the loop.
    Outcome ReplayPass();
    /// Takes note of the pass that ended.
    void EndPass();
    /// Builds everything anew for another pass.
    Outcome Rewind();
    Outcome ReplayFrame();
    /// Looks after the frame just replayed: window events, lost contexts.
    Outcome AfterFrame();
    /// Waits until the next frame is to be replayed. False when the pass ends here, perhaps with a failure.
    bool WaitForTurn(Outcome& failure);
    [[nodiscard]] bool HasKeys() const;
    void SayPaused() const;
    Outcome HandleEvents();
    void Obey(Command command);
    /// Why replay ends before the capture does; empty to go on.
    [[nodiscard]] std::string ReasonToStop() const;

    /// The pass only repeats what leads to the loop.
    [[nodiscard]] bool IsOnTheWay() const;
    [[nodiscard]] bool IsAnotherPassDue() const;
    /// Of the capture, or as -stopframe has it.
    [[nodiscard]] std::uint32_t LastFrame() const;
    [[nodiscard]] std::uint32_t CurrentFrame() const;
    /// That one pass replays, as far as the file tells.
    [[nodiscard]] std::uint32_t FramesOfPass() const;
    /// That so many passes show; all but the first begin with the loop.
    [[nodiscard]] std::uint32_t FramesOfPasses(std::uint32_t passes) const;
    void UpdateStatus();

    ExitStatus Summarise();
    void Say(const std::string& text) const;

    Options m_options;
    Playback::PlaybackEnvironment* m_settings;
    StopSignal m_stopSignal;

    // In the order of construction; destroyed the other way round.
    std::unique_ptr<Data::CaptureFile> m_capture;
    Output m_output;
    /// Null where nobody asks for any.
    std::unique_ptr<Screenshots> m_screenshots;
    Verification m_verification;
    /// Null where nothing is replayed.
    std::unique_ptr<Engine> m_engine;
    /// In the place of the engine with -stats.
    std::unique_ptr<Statistics> m_statistics;
    std::unique_ptr<Playback::Controller> m_controller;

    /// Null where there is none to take keys from.
    std::unique_ptr<Terminal> m_terminal;
    CommandQueue m_commands;
    /// Frames to replay although replay is paused.
    std::uint32_t m_steps = 0;
    bool m_isEndWanted = false;
    /// The next frame is the last one before a pause.
    bool m_isPauseDue = false;

    Pace m_pace;
    Measurements m_measurements;
    std::optional<StatusLine> m_statusLine;
    std::chrono::steady_clock::time_point m_start;
    Report m_report;
};

} // namespace Host
