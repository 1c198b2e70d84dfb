// Small pictures for a page.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Tools {

/// A picture of a texture as a program gave it to the driver.
struct TexturePicture {
    std::uint32_t frame;
    std::uint32_t texture;
    std::int32_t level;
    std::int32_t layer;
    /// Of the texture, in texels; the picture may be smaller.
    std::uint32_t width;
    std::uint32_t height;
    /// A PNG file as base64 text.
    std::string png;
};

/// Pictures of the first uploads of a capture that can be shown as pictures.
std::vector<TexturePicture> TexturePictures(const std::string& captureFile, std::size_t limit);

/// A PNG file made small, as base64 text; empty when it cannot be read.
std::string Thumbnail(const std::string& path);

} // namespace Tools
