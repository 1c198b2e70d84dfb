#pragma once

#include <cstdint>

#include "Replay/Timing/ReplayClock.h"

namespace Replay {

/// The line at the bottom of a terminal that tells how far replay is. Does nothing where stderr is no terminal.
class StatusLine {
public:
    explicit StatusLine(bool isQuiet);
    /// Takes the line away.
    ~StatusLine();
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    /// To be called after each frame and while nothing happens; shows something new a few times a second.
    /// `frames` counts those replayed in all passes, of `total`; `frame` is the one replayed last.
    void Update(std::uint64_t frames, std::uint64_t total, std::uint32_t frame, bool isPaused);

private:
    using Clock = RunningClock;

    bool m_isShown;
    bool m_wasPaused = false;
    Clock::time_point m_start = Clock::now();
    Clock::time_point m_lastShown;
};

} // namespace Replay
