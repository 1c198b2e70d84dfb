#pragma once

#include <cstdint>

namespace Playback {
class PlaybackEnvironment;
}

namespace Host {

/// Which frames the passes of a replay show, by -stopframe, -loopframe and -loopcount: the first one all, the later
/// ones what is in the loop, although they replay what leads to it. Frames and passes count from 1.
class LoopPlan {
public:
    /// The settings outlive the plan.
    explicit LoopPlan(const Playback::PlaybackEnvironment& settings) : m_settings(settings) {}

    /// As -stopframe has it. Without it more than any capture has: the frames that a file announces may not be all
    /// there are, as when its end is missing.
    [[nodiscard]] std::uint32_t LastFrame() const;
    /// Of so many frames of a capture, those that one pass replays.
    [[nodiscard]] std::uint32_t FramesOfPass(std::uint32_t captured) const;
    /// Of so many frames of a capture, those that so many passes show.
    [[nodiscard]] std::uint32_t FramesOfPasses(std::uint32_t captured, std::uint32_t passes) const;
    /// After this frame of this pass, the pass still only repeats what leads to the loop.
    [[nodiscard]] bool IsOnTheWay(std::uint32_t pass, std::uint32_t frame) const;
    [[nodiscard]] bool IsPassAfter(std::uint32_t pass) const;
    /// As far as it is known.
    [[nodiscard]] std::uint32_t Passes() const;

private:
    const Playback::PlaybackEnvironment& m_settings;
};

} // namespace Host
