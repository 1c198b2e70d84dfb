// What a GL transfer format and type mean in memory, and how such pixels become a picture.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace Util {

/// A picture of 8-bit red, green, blue and alpha, in this order; bottom row first as GL has it, rows without padding.
struct Image {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> rgba;
};

/// Bytes of one pixel; 0 for a combination that OpenGL ES 3.2 (section 8.4.2) and its common extensions do not have.
[[nodiscard]] std::uint32_t BytesPerPixel(unsigned int format, unsigned int type);

/// Converts `width` times `height` pixels, bottom row first, rows without padding. Normalised and floating-point values
/// map 0..1 to 0..255, integers are taken as they are and cut off at 255; depth and stencil give grey, a missing alpha
/// is 255. Of combined depth and stencil the depth is shown.
/// Empty for an unknown combination, a size of 0, or a picture of more than 2 GiB.
[[nodiscard]] std::optional<Image> ToImage(std::uint32_t width, std::uint32_t height, const void* data,
                                           unsigned int format, unsigned int type);

/// The value of a number of type GL_HALF_FLOAT.
[[nodiscard]] double FromHalf(std::uint16_t bits);

/// Sets alpha to 255 throughout.
void MakeOpaque(Image& image);

} // namespace Util
