#pragma once

namespace Replay {

/// What a sampler of this type looks into, GL_TEXTURE_2D and the like; 0 for other types.
[[nodiscard]] unsigned int SamplerTarget(unsigned int type);

} // namespace Replay
