// What each action of a frame costs, alone.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Probe/Replayer.h"

namespace Probe {

/// In milliseconds.
struct ActionTime {
    std::uint32_t call = 0;
    /// By the clock of the GPU; nothing where the context has none, or where a query of the program is in its way.
    std::optional<double> gpuMs = {};
    /// Of the replay's thread, in the call.
    double cpuMs = 0;
    /// From the call until the driver was done with it.
    double doneMs = 0;
};

struct FrameTimes {
    std::vector<ActionTime> actions = {};
    /// Why some have no time of the GPU; empty otherwise.
    std::string note = {};
};

/// Goes on to the end of the frame at work. Each action is waited for, so that their times have nothing of one another.
FrameTimes TimeActions(Replayer& replayer);

} // namespace Probe
