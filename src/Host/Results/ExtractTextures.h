#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "Util/Failure.h"

namespace Host {

/// Writes the textures that a capture uploads up to a frame to files, named as screenshots are. Needs no driver. `say`
/// gets lines for the person at the terminal.
Util::Outcome ExtractTextures(const std::string& captureFile, std::uint32_t lastFrame,
                              const std::function<void(const std::string&)>& say);

} // namespace Host
