#pragma once

#include <cstdint>
#include <string>

#include "Compare/Image.h"
#include "Inspect/Replay/ReplayProcess.h"

namespace Inspect {

/// Contents of an image, and what playback-probe says of them; `kind` is null where that is nothing.
Compare::Image ImageOf(const ReplayAnswer& answer);

/// The same as a PNG file, upright. Numbers below 0 are black and those above 1 white, one component is grey. Throws
/// RequestError where that is no picture.
std::string EncodePicture(const ReplayAnswer& answer);

/// One transparent pixel, for those who have to show a picture where there is none.
std::string EncodeNothing();

/// The same as EncodePicture, opaque and with no side longer than `side` pixels.
std::string EncodeThumbnail(const ReplayAnswer& answer, std::uint32_t side);
/// The same for an overlay, transparent where there is nothing to show: what passed a test green, what failed it red,
/// both yellow; numbers of fragments from blue to red, the lines of a wireframe in one colour. Throws RequestError.
std::string EncodeOverlay(const std::string& kind, const ReplayAnswer& answer);

} // namespace Inspect
