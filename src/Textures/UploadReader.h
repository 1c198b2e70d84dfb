// The pixels that a captured program gave to its textures.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "Data/Capture/CaptureSource.h"

namespace Textures {

/// One layer of an upload.
struct Upload {
    /// Counted from 1.
    std::uint32_t frame = 0;
    /// Captured name; 0 is the texture that a context has from the start.
    std::uint32_t texture = 0;
    std::int32_t level = 0;
    /// Layer of an array, slice of a three-dimensional texture, or face of a cube; 0 else.
    std::int32_t layer = 0;
    /// Place in the level, in texels.
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    /// Of a compressed image, the compressed format; of a part of an uncompressed one, the format of the transfer.
    std::uint32_t internalFormat = 0;
    /// Of the transfer; both 0 for a compressed image.
    std::uint32_t format = 0;
    std::uint32_t type = 0;
    /// Rows without padding, the first one at the bottom; or compressed blocks.
    std::vector<std::uint8_t> data;
};

/// Hands on what the first `frames` frames of a capture upload. Returns how many uploads came from buffer objects,
/// whose pixels are not handed on. What is damaged or does not fit together is left out: a replay says so.
std::uint32_t ReadUploads(Data::CaptureSource& source, std::uint32_t frames,
                          const std::function<void(const Upload&)>& receive);

} // namespace Textures
