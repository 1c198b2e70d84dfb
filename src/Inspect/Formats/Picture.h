#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Inspect/Replay/ReplayProcess.h"

namespace Inspect {

/// Contents of an image as a PNG file, upright; `description` is what playback-probe says of them. Numbers below 0 are
/// black and those above 1 white, one component is grey. Throws Error where that is no picture.
std::string EncodePicture(const Json& description, const std::vector<std::uint8_t>& contents);

/// One transparent pixel, for those who have to show a picture where there is none.
std::string EncodeNothing();

/// The same as EncodePicture, opaque and with no side longer than `side` pixels.
std::string EncodeThumbnail(const Json& description, const std::vector<std::uint8_t>& contents, std::uint32_t side);
/// The same for an overlay, transparent where there is nothing to show: what passed a test green, what failed it red,
/// both yellow; numbers of fragments from blue to red, the lines of a wireframe in one colour. Throws Error.
std::string EncodeOverlay(const std::string& kind, const Json& description, const std::vector<std::uint8_t>& contents);

} // namespace Inspect
