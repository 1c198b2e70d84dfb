// Writes pictures to files.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Interfaces/Util.h"
#include "Util/PixelTransfer.h"

namespace Util {

/// With the dot: ".bmp", ".png" or ".dds".
[[nodiscard]] const char* FileExtension(ImageFormat format);

/// Writes the picture upright, alpha included. Returns the reason of a failure, after which no file is left behind;
/// empty on success.
[[nodiscard]] std::string WriteImageFile(const std::string& path, ImageFormat format, const Image& image);

/// The picture as a PNG file in memory; empty when there is no memory for it.
[[nodiscard]] std::vector<std::uint8_t> EncodePng(const Image& image);
/// Empty when they are no PNG file, or one of more than 2 GiB of pixels.
[[nodiscard]] std::optional<Image> DecodePng(std::span<const std::uint8_t> file);
/// Empty when the file cannot be read, or is no PNG file.
[[nodiscard]] std::optional<Image> ReadPng(const std::string& path);
/// The picture with no side longer than this; each pixel is the mean of those that it stands for.
[[nodiscard]] Image Shrink(const Image& image, std::uint32_t longestSide);

} // namespace Util
