#include "Tools/Info/Report/Pictures.h"

#include <optional>

#include "Textures/TextureFiles.h"
#include "Textures/UploadReader.h"
#include "Util/ImageFile.h"
#include "Util/PixelTransfer.h"

namespace Tools {

namespace {

/// Longest side of a small picture, in pixels.
constexpr std::uint32_t LongestSide = 160;

std::string Base64(const std::vector<std::uint8_t>& bytes)
{
    constexpr char Digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const auto byte = [&](std::size_t k) { return i + k < bytes.size() ? std::uint32_t{bytes[i + k]} : 0u; };
        const std::uint32_t group = byte(0) << 16 | byte(1) << 8 | byte(2);
        for (std::size_t k = 0; k < 4; ++k)
            text += i + k <= bytes.size() ? Digits[group >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

std::string SmallPng(const Util::Image& image)
{
    return Base64(Util::EncodePng(Util::Shrink(image, LongestSide)));
}

} // namespace

std::vector<TexturePicture> TexturePictures(const std::string& captureFile, std::size_t limit)
{
    std::vector<TexturePicture> pictures;
    std::string error;
    const auto capture = Data::CaptureFile::Open(captureFile, Data::Preload::No, {}, error);
    if (!capture)
        return pictures;
    const Textures::UploadReader reader(*capture, [&](const Textures::Upload& upload) {
        const std::optional<Util::Image> image = pictures.size() < limit ? Textures::PictureOf(upload) : std::nullopt;
        if (image)
            pictures.push_back({upload.frame, upload.texture, upload.level, upload.layer, upload.width, upload.height,
                                SmallPng(*image)});
    });
    while (pictures.size() < limit && capture->GetFrameProcessor()->ProcessNextFrame()) {
    }
    return pictures;
}

std::string Thumbnail(const std::string& path)
{
    const std::optional<Util::Image> image = Util::ReadPng(path);
    return image ? SmallPng(*image) : std::string();
}

} // namespace Tools
