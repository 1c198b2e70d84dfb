#pragma once

#include <cstdint>

namespace Playback {

/// Has the client array of the current context of OpenGL ES 1.1 with this place (Data::ClientArray) read from `data`.
/// Does nothing where the driver lacks its function.
void SetClientArray(std::uint32_t place, std::int32_t size, std::uint32_t type, std::int32_t stride, const void* data);

} // namespace Playback
