// What the actions of a frame did to one pixel.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Probe/Replayer.h"

namespace Probe {

struct PixelPlace {
    /// As in Target.
    std::string object;
    std::string what;
    /// From the left and from the bottom.
    std::uint32_t x = 0;
    std::uint32_t y = 0;
};

/// An action on the image with the pixel.
struct PixelWrite {
    std::uint32_t call = 0;
    std::string function;
    Data::ActionKind kind = Data::ActionKind::None;
    /// Components of the pixel; empty where the image could not be read.
    std::vector<double> before;
    std::vector<double> after;
    /// Why it could not change the pixel, where the state alone tells; empty otherwise.
    std::string obstacle;
};

/// Replays the frame at work up to call `last` of it and looks at the pixel around each action.
std::vector<PixelWrite> PixelHistory(Replayer& replayer, const PixelPlace& place, std::uint32_t last);

/// The components of a pixel, normalised ones from 0 or -1 to 1; empty outside of the image.
std::vector<double> PixelOf(const Contents& contents, std::uint32_t x, std::uint32_t y);

} // namespace Probe
