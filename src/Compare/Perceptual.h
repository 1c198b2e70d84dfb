#pragma once

#include <optional>
#include <string>

#include "Util/PixelTransfer.h"

namespace Compare {

/// The Butteraugli distance of two pictures of one size, alpha left out: below 1 people see no difference when they
/// look at one after the other. Measured by the program `butteraugli`; without it, or where it fails, nothing and a
/// reason.
[[nodiscard]] std::optional<double> PerceptualDistance(Util::Image expected, Util::Image found, std::string& error);

} // namespace Compare
