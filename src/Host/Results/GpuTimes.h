#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Data/Records/Actions.h"
#include "Replay/Timing/NotMeasured.h"

namespace Host {

/// What the time of the GPU is taken of: whole frames; render passes, which are runs of actions to one framebuffer of
/// one context; or each action.
enum class GpuSpans { Frames, RenderPasses, Actions };

using Replay::NotMeasured;

/// What a frame, a render pass or an action cost.
struct GpuCost {
    /// Pass through the capture and frame, both from 1.
    std::uint32_t pass = 0;
    std::uint32_t frame = 0;
    /// In the frame from 1; 0 of a frame.
    std::uint32_t renderPass = 0;
    /// The actions in it: all of a frame.
    std::uint32_t actions = 0;
    /// Of the first action and its call, in the frame.
    Data::ActionNumber number;
    std::uint32_t call = 0;
    Data::CallId function{};
    /// Captured names of what is drawn to; of a frame 0.
    std::uint32_t context = 0;
    std::uint32_t framebuffer = 0;
    NotMeasured notMeasured = NotMeasured::No;
    double gpuMs = 0;
    /// Of the replay thread.
    double cpuMs = 0;
    /// Values of GpuTimes::counters; empty for none.
    std::vector<double> counters;
};

/// Adds values of counters to others, which may be none yet.
void AddCounters(std::vector<double>& sums, const std::vector<double>& counters);

/// Costs on the GPU, in the order of replay.
struct GpuTimes {
    GpuSpans by;
    std::vector<GpuCost> costs;
    /// Why some or all have no time; empty where all contexts had a clock.
    std::string unavailable;
    /// Names of the driver's counters that were read.
    std::vector<std::string> counters;

    /// By pass and frame; nothing where something in the frame was not measured.
    using FrameSums = std::map<std::pair<std::uint32_t, std::uint32_t>, std::optional<double>>;

    /// Sums of whole frames in milliseconds.
    [[nodiscard]] FrameSums Frames() const;
    /// Sums of render passes; nothing by frames.
    [[nodiscard]] std::vector<GpuCost> RenderPasses() const;
};

} // namespace Host
