// Looking at the frame that the program draws.
#pragma once

#include <cstdint>
#include <optional>

#include "Data/BackBuffer.h"
#include "Recorder/EGLObjects.h"

namespace Recorder {

/// Hash of the lower left `size` pixels of the current back buffer; nothing when it cannot be read. Leaves no trace in
/// the program's GL state.
[[nodiscard]] std::optional<std::uint64_t> ReadBack(const SurfaceSize& size) noexcept;

/// The same for a framebuffer of the context, which is current, in its own size; 0: for the back buffer.
[[nodiscard]] std::optional<Data::FramebufferHash> ReadBackDrawn(Context& context, std::uint32_t framebuffer) noexcept;

} // namespace Recorder
