// Pictures for a page.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Util/PixelTransfer.h"

namespace Tools {

/// A picture as two PNG files in base64 text: a small one, and a larger one to look at, empty where the small one is
/// the whole picture or the page has no room for more.
struct PagePicture {
    std::string small;
    std::string large;
};

/// Makes the pictures of a page, as long as there is room for large ones.
class PictureMaker {
public:
    [[nodiscard]] PagePicture Make(const Util::Image& image);
    /// Of a PNG file; empty when it cannot be read.
    [[nodiscard]] PagePicture Read(const std::string& path);
    /// The picture is taken off the page.
    void Return(const PagePicture& picture) { m_bytes -= picture.large.size(); }

private:
    /// Of large pictures.
    std::size_t m_bytes = 0;
};

/// A picture of a texture as a program gave it to the driver.
struct TexturePicture {
    std::uint32_t frame;
    std::uint32_t texture;
    std::int32_t layer;
    /// Of the upload, in texels; the picture may be smaller.
    std::uint32_t width;
    std::uint32_t height;
    /// How often something was uploaded to this layer.
    std::uint32_t uploads;
    PagePicture picture;
};

struct TexturePictures {
    /// The largest ones, the largest first.
    std::vector<TexturePicture> pictures;
    /// Layers of textures that pictures can show, all together.
    std::size_t layers = 0;
};

/// Pictures of the largest upload to each layer of each texture of a capture, its smaller levels left out.
TexturePictures LargestTextures(const std::string& captureFile, std::size_t limit);

} // namespace Tools
