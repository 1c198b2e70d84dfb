#pragma once

#include <chrono>
#include <cstdint>

namespace Host {

/// When each frame is due, for replays that are not as fast as they can be.
class Pace {
public:
    using Clock = std::chrono::steady_clock;

    /// As fast as frames come.
    Pace() = default;
    /// So many frames a second.
    static Pace Fixed(double framesPerSecond);
    /// At the times at which the recorded program ended its frames.
    static Pace Recorded();

    /// When the next frame may begin; `recordedUs` is when the program ended the one before, in microseconds. Frames
    /// that come much too late move all later ones, which are not hurried to make up for them.
    [[nodiscard]] Clock::time_point NextFrame(std::uint64_t recordedUs);
    /// After a pause: the next frame is due now.
    void Restart() { m_isStarted = false; }

private:
    Clock::duration m_interval{};
    bool m_isRecorded = false;
    bool m_isStarted = false;
    Clock::time_point m_due;
    std::uint64_t m_recordedUs = 0;
};

} // namespace Host
