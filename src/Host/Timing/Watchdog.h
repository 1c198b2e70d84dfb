#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "Replay/Timing/ReplayClock.h"

namespace Host {

/// Ends a program whose replay does not end by itself in time, since the driver does not return from a call: when
/// the time of -timelimit is over, and when a signal asked for the end. A thread of its own; one at a time, while there
/// is a StopSignal.
class Watchdog {
public:
    /// How long replay has to end by itself, after the end of its time and after a signal.
    static constexpr std::chrono::milliseconds PatienceAfterLimit{500};
    static constexpr std::chrono::milliseconds PatienceAfterSignal{1000};

    /// Called on the watchdog's thread with the reason, as the beginning of a sentence. Ends the program.
    using End = std::function<void(const std::string& why)>;

    explicit Watchdog(End end);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    /// The time of -timelimit is over then.
    void SetLimit(Replay::RunningClock::time_point limit);
    /// Replay ended in time; signals still count.
    void LiftLimit() { SetLimit(Replay::RunningClock::time_point::max()); }
    /// From now on the program has so long to end.
    void ExpectEnd();

private:
    void Watch();
    Replay::RunningClock::time_point Deadline();

    End m_end;
    std::mutex m_mutex;
    Replay::RunningClock::time_point m_limit = Replay::RunningClock::time_point::max();
    Replay::RunningClock::time_point m_deadline = Replay::RunningClock::time_point::max();
    bool m_isSignalled = false;
    std::atomic<bool> m_isOver = false;
    std::thread m_thread;
};

} // namespace Host
