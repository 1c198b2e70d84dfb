#pragma once

#include <string>

#include "Textures/UploadReader.h"

namespace Textures {

/// Writes an upload as it is, in a KTX 1.1 file of one level (Khronos KTX File Format, version 1.1).
/// Returns the reason of a failure; empty on success.
[[nodiscard]] std::string WriteKtx(const std::string& path, const Upload& upload);

} // namespace Textures
