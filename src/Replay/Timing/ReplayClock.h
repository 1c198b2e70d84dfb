#pragma once

#include <array>
#include <chrono>
#include <cstddef>

namespace Replay {

/// The monotonic clock without the time for which a shell had stopped the program, as Ctrl-Z does.
struct RunningClock {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<RunningClock>;
    static constexpr bool IsSteady = true;

    static time_point now();
};

/// A span of time in milliseconds: on the wall, by RunningClock, and of all processors together, spent by all threads
/// of the process, those of the driver included.
struct Span {
    double wallMs = 0;
    double cpuMs = 0;

    Span& operator+=(const Span& other);
    friend Span operator-(const Span& left, const Span& right);
};

/// The time that replay takes. It stands still while something is done beside the replay. Replay thread only.
class ReplayClock {
public:
    /// What is done beside the replay.
    enum class Beside : std::size_t { Pictures, Comparison, Waiting, LoopStart };
    static constexpr std::size_t BesideCount = 4;

    /// Of replay, since the clock was made.
    [[nodiscard]] Span Now() const;
    /// How long the clock stood still for this.
    [[nodiscard]] double SecondsBeside(Beside what) const
    {
        return m_beside[static_cast<std::size_t>(what)].wallMs / 1e3;
    }

    /// Of nested stops only the outermost counts, up to the last Go.
    void Stop(Beside what);
    void Go();

private:
    static Span Read();

    Span m_start = Read();
    /// Where it stands while it is stopped.
    Span m_stopped;
    Beside m_reason = Beside::Waiting;
    int m_depth = 0;
    std::array<Span, BesideCount> m_beside;
};

} // namespace Replay
