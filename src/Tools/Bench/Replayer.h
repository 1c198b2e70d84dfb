#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "Sides/Child.h"
#include "Tools/Bench/BenchOptions.h"
#include "Util/Failure.h"

namespace Tools {

/// Wall time and CPU time of one replay of something, in milliseconds.
struct PassTime {
    double wallMs = 0;
    double cpuMs = 0;
};

/// A run of draws to one framebuffer.
struct RenderPass {
    std::uint32_t frame = 0;
    /// In the frame, from 1.
    std::uint32_t number = 0;
    /// Captured name.
    std::uint32_t framebuffer = 0;

    bool operator==(const RenderPass&) const = default;
    bool operator<(const RenderPass& other) const
    {
        return std::tie(frame, number, framebuffer) < std::tie(other.frame, other.number, other.framebuffer);
    }
};

/// What a process measured.
struct ReplayResults {
    /// By pass from the second one on, then by frame.
    std::vector<std::vector<PassTime>> frames;
    /// CPU time of each function in all passes, in milliseconds; empty unless it was asked for.
    std::map<std::string, double> callsMs;
    /// GPU time of each render pass, in milliseconds, by pass as `frames`; without those that the driver did not
    /// measure. Empty unless it was asked for.
    std::vector<std::map<RenderPass, double>> gpuMs;
    /// Why there are no GPU times, or not all.
    std::string gpuUnavailable;
    /// Strings of the driver by the names of the enums that query them.
    std::map<std::string, std::string> driver;
    /// Errors of the driver by name, with their numbers.
    std::map<std::string, std::uint64_t> errors;
};

/// A process of one side that replays frames when it is told to.
class Replayer {
public:
    /// Starts a process that replays frames `frames.first` to `frames.last`. Null with what went wrong.
    static std::unique_ptr<Replayer> Start(const BenchOptions& options, const Sides::Side& side,
                                           Util::FrameRange frames, Util::Failure& failure);

    /// Replays the frames once; the first time also what is before them. Comes back when that is done.
    Util::Outcome Replay();
    /// Ends the process and takes its results.
    Util::Outcome Finish(ReplayResults& results);

private:
    Replayer(std::unique_ptr<Sides::Child> child, std::string side) : m_child(std::move(child)), m_side(std::move(side))
    {
    }
    /// The process does not what it should: ends it and tells what it said.
    Util::Failure Trouble();

    std::unique_ptr<Sides::Child> m_child;
    std::string m_side;
};

/// Reads what `playback -json` wrote. False where that is something else.
[[nodiscard]] bool ReadResults(const std::string& json, ReplayResults& results);

} // namespace Tools
