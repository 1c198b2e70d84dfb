#include "Tools/Info/Report/Pictures.h"

#include <optional>

#include "Textures/TextureFiles.h"
#include "Textures/UploadReader.h"
#include "Util/ImageFile.h"
#include "Util/Page.h"
#include "Util/PixelTransfer.h"

namespace Tools {

namespace {

/// Longest side of a small picture, in pixels.
constexpr std::uint32_t LongestSide = 160;

std::string SmallPng(const Util::Image& image)
{
    return Util::Base64(Util::EncodePng(Util::Shrink(image, LongestSide)));
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
