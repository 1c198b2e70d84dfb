#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "Util/FrameRange.h"

namespace Host {

using Util::FrameRange;

/// What the replay of one frame cost. Wall time is that of the monotonic clock; CPU time is that of all threads of the
/// process, the driver's included.
struct FrameCost {
    std::uint32_t frame;
    std::uint64_t calls;
    double wallMs;
    double cpuMs;
};

/// Wall times in milliseconds. A percentile is the smallest time that so many per cent of the frames do not exceed.
struct FrameTimes {
    double mean;
    double median;
    double percentile95;
    double percentile99;
    double worst;
    std::uint32_t worstFrame;
};

/// Takes the time of each frame. Waiting between frames, for a slower pace or in a pause, is not in it.
class Measurements {
public:
    explicit Measurements(FrameRange range) : m_range(range) {}

    /// `calls` counts those of the capture so far.
    void StartFrame(std::uint64_t calls);
    void EndFrame(std::uint32_t frame, std::uint64_t calls);

    /// The frames of the range, in the order of their replay.
    [[nodiscard]] const std::vector<FrameCost>& Costs() const { return m_costs; }
    /// Nothing when no frame was measured.
    [[nodiscard]] std::optional<FrameTimes> Times() const;

private:
    FrameRange m_range;
    std::uint64_t m_calls = 0;
    std::chrono::steady_clock::time_point m_wall;
    double m_cpuMs = 0;
    std::vector<FrameCost> m_costs;
};

} // namespace Host
