#pragma once

#include <optional>
#include <string>

#include "Compare/Result.h"
#include "Util/PixelTransfer.h"

namespace Compare {

/// The Butteraugli distance of two pictures of one size, alpha left out: below 1 people see no difference when they
/// look at one after the other. Measured by the program `butteraugli`; without it, or where it fails, nothing and a
/// reason.
[[nodiscard]] std::optional<double> PerceptualDistance(Util::Image expected, Util::Image found, std::string& error);

/// Compares images as the tolerance asks for, the perceptual measure included. Why that could not be taken goes to the
/// notes of the result.
[[nodiscard]] Difference Judge(const Tolerance& tolerance, const Image& expected, const Image& found, Result& result);

} // namespace Compare
