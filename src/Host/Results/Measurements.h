#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "Replay/Timing/ReplayClock.h"
#include "Util/FrameRange.h"

namespace Host {

using Util::FrameRange;

/// What the replay of one frame cost.
struct FrameCost {
    /// Pass through the capture and frame, both from 1.
    std::uint32_t pass;
    std::uint32_t frame;
    std::uint64_t calls;
    Replay::Span time;
};

/// Wall times in milliseconds. A percentile is the smallest time that so many per cent of the frames do not exceed.
struct FrameTimes {
    double mean;
    double median;
    double percentile95;
    double percentile99;
    double worst;
    std::uint32_t worstFrame;
    std::uint32_t worstPass;
};

/// The costs of the frames of a range.
class Measurements {
public:
    explicit Measurements(FrameRange range) : m_range(range) {}

    /// Where it was kept, for Extend; nothing for a frame outside of the range.
    std::optional<std::size_t> Add(const FrameCost& cost);
    /// Adds to the time of a frame.
    void Extend(std::size_t index, const Replay::Span& time) { m_costs[index].time += time; }

    /// In the order of their replay.
    [[nodiscard]] const std::vector<FrameCost>& Costs() const { return m_costs; }
    /// Nothing when no frame was measured.
    [[nodiscard]] std::optional<FrameTimes> Times() const;

private:
    FrameRange m_range;
    std::vector<FrameCost> m_costs;
};

} // namespace Host
