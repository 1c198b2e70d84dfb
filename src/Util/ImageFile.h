// Writes pictures to files.
#pragma once

#include <string>

#include "Interfaces/Util.h"
#include "Util/PixelTransfer.h"

namespace Util {

/// With the dot: ".bmp", ".png" or ".dds".
[[nodiscard]] const char* FileExtension(ImageFormat format);

/// Writes the picture upright, alpha included. Returns the reason of a failure, after which no file is left behind;
/// empty on success.
[[nodiscard]] std::string WriteImageFile(const std::string& path, ImageFormat format, const Image& image);

} // namespace Util
