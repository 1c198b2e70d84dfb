#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Compare/Image.h"

namespace Inspect {

/// All images of a texture, in the order of levels, and of layers and faces in each.
struct TextureImages {
    /// GL_TEXTURE_2D ...
    std::uint32_t target = 0;
    /// The driver's internal format of it; 0 where that is not known.
    std::uint32_t format = 0;
    struct One {
        std::uint32_t level = 0;
        Compare::Image image;
    };
    std::vector<One> images;
};

/// A file of the format KTX 1.1 (Khronos), with the pixels as they were read: four components of a byte, or of four.
/// Throws Error where the images make no complete texture.
std::string ToKtx(const TextureImages& texture);

} // namespace Inspect
