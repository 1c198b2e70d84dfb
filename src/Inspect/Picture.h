#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Inspect/ReplayProcess.h"

namespace Inspect {

/// Contents of an image as a PNG file, upright; `description` is what playback-probe says of them. Numbers below 0 are
/// black and those above 1 white, one component is grey. Throws Error where that is no picture.
std::string EncodePicture(const Json& description, const std::vector<std::uint8_t>& contents);

} // namespace Inspect
