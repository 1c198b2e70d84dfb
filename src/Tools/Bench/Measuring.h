#pragma once

#include <functional>
#include <vector>

#include "Tools/Bench/Replayer.h"

namespace Tools {

/// What all processes measured, by round. Of those of a side, each one has as many passes, and each pass as many
/// frames.
struct Measurement {
    Util::FrameRange frames;
    /// Of each process.
    std::uint32_t passes = 0;
    std::vector<ReplayResults> a;
    /// Empty where there is no side B.
    std::vector<ReplayResults> b;
    /// See LoadAverage.
    double loadBefore = -1;
    double loadAfter = -1;
};

/// Replays frames on both sides as the options have it. The sides take turns within each round, so that what else the
/// machine does meets both, and rounds have processes of their own, since each process has the luck of its own memory
/// layout. `progress` is told how many rounds are over.
Util::Outcome Measure(const BenchOptions& options, Util::FrameRange frames,
                      const std::function<void(std::uint32_t)>& progress, Measurement& measurement);

} // namespace Tools
