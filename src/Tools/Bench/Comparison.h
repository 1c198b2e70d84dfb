#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Tools/Bench/Estimates.h"
#include "Tools/Bench/Measuring.h"

namespace Tools {

/// A time that was taken on both sides, in milliseconds.
struct Quantity {
    std::string name;
    /// Of all passes of all processes.
    Distribution a;
    std::optional<Distribution> b;
    /// The centre of the processes' medians of A, where there is no B.
    std::optional<Estimate> centre;
    /// B's time by A's. Each round gives one value, the median of its pairs of passes that followed one another.
    std::optional<Estimate> ratio;
};

/// What the times of a measurement come to.
struct Comparison {
    /// Of all frames together.
    Quantity wall;
    Quantity cpu;
    /// Wall time of each frame; "frame 12".
    std::vector<Quantity> frames;
    /// GPU time of all render passes together; nothing where there is none.
    std::optional<Quantity> gpu;
    /// GPU time of each render pass; "pass 2 of frame 12 (framebuffer 3)".
    std::vector<Quantity> renderPasses;
    /// CPU time of each function.
    std::vector<Quantity> calls;
};

/// `confidence` is that of the intervals.
[[nodiscard]] Comparison Compare(const Measurement& measurement, double confidence);

/// The interval leaves out that there is none.
[[nodiscard]] inline bool IsDifferent(const Quantity& quantity)
{
    return quantity.ratio && (quantity.ratio->low > 1 || quantity.ratio->high < 1);
}

/// By how many milliseconds B's median exceeds A's.
[[nodiscard]] inline double Difference(const Quantity& quantity)
{
    return quantity.b ? quantity.b->median - quantity.a.median : 0;
}

} // namespace Tools
