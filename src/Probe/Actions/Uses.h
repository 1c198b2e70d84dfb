// Which textures and buffers the actions of a frame read.
#pragma once

#include <cstdint>
#include <vector>

#include "Probe/Replayer.h"

namespace Probe {

struct ActionReads {
    std::uint32_t call = 0;
    /// Textures and buffers, without what they hold.
    std::vector<Input> inputs;
};

/// Replays the frame at work up to call `last` of it and asks each action what it reads.
std::vector<ActionReads> ReadsOfFrame(Replayer& replayer, std::uint32_t last);

} // namespace Probe
