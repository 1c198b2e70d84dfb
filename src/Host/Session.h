#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "Host/Commands.h"
#include "Host/Inspection.h"
#include "Host/LoopPlan.h"
#include "Host/LoopReplay.h"
#include "Host/Options/Options.h"
#include "Host/Output.h"
#include "Host/Results/Measurements.h"
#include "Host/Results/Report.h"
#include "Host/Timing/FrameTimer.h"
#include "Host/Timing/GpuTimer.h"
#include "Host/Timing/Pace.h"
#include "Host/Timing/Telling.h"
#include "Host/Timing/Watchdog.h"
#include "Host/Verify/Verification.h"
#include "Replay/StatusLine.h"
#include "Replay/StopSignal.h"
#include "Util/Failure.h"

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
/// steps the frames, and tells how it went. Owns everything. The ends of passes and of the whole are in
/// SessionEnds.cpp.
class Session {
public:
    explicit Session(Options options);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Replays the capture to its end, or until a signal, a closed window or a failure. Reports on the console.
    Util::ExitStatus Run();

private:
    /// What is counted of a capture as long as it is open.
    struct Tally {
        std::uint64_t refusedCalls = 0;
        std::map<std::string, std::uint64_t> errors;
        std::map<std::string, std::uint64_t> skipped;
        std::map<std::string, double> callTimesMs;
    };

    Util::Outcome LoadSettings();
    Util::Outcome OpenCapture();
    [[nodiscard]] Util::ExitStatus WriteHashes() const;
    Util::Outcome StartStatistics();
    /// Opens what the capture is replayed on; with -check, ends with what is known then.
    Util::Outcome OpenOutput();
    /// Tells what the capture needs and the driver lacks. The status is that of -check.
    Util::ExitStatus CheckRequirements();
    /// Prints the names of the driver's counters.
    Util::ExitStatus ListCounters() const;
    void CreateEngine();

    Util::Outcome Replay();
    /// From the first frame to the last one; later passes show only what is in the loop.
    Util::Outcome ReplayPass();
    /// Takes note of the pass that ended. Fails when none of its calls reached the driver.
    Util::Outcome EndPass();
    /// Of calls of the pass that ended, those that did not reach the driver; added to the report.
    std::uint64_t CountSkipped();
    /// Prepares passes that begin where the loop does, where that is possible.
    void FindLoop();
    /// Keeps the state when the loop comes next.
    void KeepLoopStart();
    /// Passes will replay all that is before the loop.
    void GiveUpLoop(const std::string& reason);
    /// Goes back for another pass: to the start of the loop, or by building everything anew.
    Util::Outcome Rewind();
    /// Back to the start of the loop; false where that cannot be done.
    bool GoBack();
    Util::Outcome Reopen();
    Util::Outcome ReplayFrame();
    /// Looks after the frame just replayed: window events, lost contexts.
    Util::Outcome AfterFrame();
    /// Waits until the next frame is to be replayed. False when the pass ends here, perhaps with a failure.
    bool WaitForTurn(Util::Outcome& failure);
    [[nodiscard]] bool HasKeys() const;
    void SayPaused() const;
    /// Opens the frame at which replay is paused in a browser.
    void Inspect();
    Util::Outcome HandleEvents();
    void Obey(Command command);
    /// Why replay ends before the capture does; empty to go on.
    [[nodiscard]] std::string ReasonToStop() const;

    /// The pass only repeats what leads to the loop.
    [[nodiscard]] bool IsOnTheWay() const;
    [[nodiscard]] bool IsAnotherPassDue() const;
    [[nodiscard]] std::uint32_t CurrentFrame() const;
    void UpdateStatus();

    /// Completes the report, tells it and writes what is to be written of it.
    void NoteMissingDraws() const;
    Util::ExitStatus Summarise();
    void FillReport();
    /// Lets go of the driver.
    void Close();
    /// Ends the program from another thread, since the driver does not come back; `why` begins a sentence.
    [[noreturn]] void EndNow(const std::string& why);
    void Say(const std::string& text) const;

    // In the order of construction; destroyed the other way round.
    Options m_options;
    Playback::PlaybackEnvironment* m_settings;
    LoopPlan m_plan;
    Replay::StopSignal m_stopSignal;
    Telling m_telling;
    Measurements m_measurements;
    FrameTimer m_timer;
    /// What -timegpu asks for.
    std::optional<GpuTimes> m_gpuTimes;
    std::optional<GpuTimer> m_gpuTimer;
    Report m_report;
    /// Of passes before the capture was opened last.
    Tally m_before;
    /// What there is to tell was told.
    bool m_isTold = false;
    Watchdog m_watchdog;
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
    /// Null where passes begin with the first frame.
    std::unique_ptr<LoopReplay> m_loop;

    /// Null where there is none to take keys from.
    std::unique_ptr<Terminal> m_terminal;
    CommandQueue m_commands;
    /// Frames to replay although replay is paused.
    std::uint32_t m_steps = 0;
    bool m_isEndWanted = false;
    /// The next frame is the last one before a pause.
    bool m_isPauseDue = false;
    /// That pause is for looking inside the frame.
    bool m_isInspectionDue = false;
    Inspection m_inspection;

    Pace m_pace;
    std::optional<Replay::StatusLine> m_statusLine;
    Replay::RunningClock::time_point m_start;
};

} // namespace Host
