#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "Sides/Side.h"
#include "Util/ExitStatus.h"
#include "Util/FrameRange.h"

namespace Tools {

/// What is measured, and how often.
struct BenchOptions {
    std::string captureFile;
    /// Nothing: all frames but the first, which holds the start of the program.
    std::optional<Util::FrameRange> frames;
    /// Rounds; in each one a process of each side is started anew.
    std::uint32_t rounds = 12;
    /// Of each process, those that are measured. 0: as many as there is time for.
    std::uint32_t passes = 0;
    /// Of each process, those in front of them, the one that leads to the frames included.
    std::uint32_t warmUp = 2;
    /// Below 1.
    double confidence = 0.999;
    bool isInWindow = false;
    /// Take the time of each function too.
    bool timesCalls = false;
    /// Take the GPU time of each render pass too.
    bool timesGpu = false;
    /// File for the results; "-" is standard output; empty for none.
    std::string jsonFile;
    /// By how much B may be slower than A, 0.02 for 2 %.
    std::optional<double> limit;
    Sides::Side a;
    /// Nothing: only A is measured.
    std::optional<Sides::Side> b;
};

/// Parses the arguments of main; how the program ends where it was answered, as Util::AnswerCommandLine does.
std::variant<BenchOptions, Util::ExitStatus> ParseBenchOptions(int argc, const char* const* argv);

} // namespace Tools
