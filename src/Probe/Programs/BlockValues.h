// Values of uniforms that lie in buffers, asked for in the way of OpenGL ES 3.0. Probe/Blocks.h has the layout of whole
// blocks, where the driver tells it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Probe {

/// A uniform of a block, with what the buffer holds that the block is bound to now.
struct BlockUniform {
    std::string name;
    std::string block;
    /// In the buffer, in bytes.
    std::int64_t offset = 0;
    /// Of all elements, matrices column by column; what lies outside of the buffer is missing.
    std::vector<double> values = {};
};

/// Of a linked program; empty before OpenGL ES 3.0.
[[nodiscard]] std::vector<BlockUniform> BlockUniforms(unsigned int program);

} // namespace Probe
