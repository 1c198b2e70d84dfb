// Looking at the frame that the program draws.
#pragma once

#include <cstdint>
#include <optional>

#include "Recorder/EGLObjects.h"

namespace Recorder {

/// Hash of the lower left `size` pixels of the current back buffer; nothing when it cannot be read. Leaves no trace in
/// the program's GL state.
[[nodiscard]] std::optional<std::uint64_t> ReadBack(const SurfaceSize& size) noexcept;

} // namespace Recorder
