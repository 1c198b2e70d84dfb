// The blocks of a program that lie in buffers, as the live driver has laid them out.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Probe {

struct BlockVariable {
    std::string name;
    /// GL_FLOAT_VEC4 ...
    int type = 0;
    /// Elements of the innermost array, 1 for others, 0 for one without a size.
    int count = 0;
    /// In bytes from the start of the block; the others are those of the array and the matrix.
    int offset = 0;
    int arrayStride = 0;
    int matrixStride = 0;
    int isRowMajor = 0;
};

struct ProgramBlock {
    std::string name;
    /// Not GL_UNIFORM_BLOCK, but GL_SHADER_STORAGE_BLOCK.
    bool isStorage = false;
    /// The index of the buffer binding.
    int binding = 0;
    int bytes = 0;
    std::vector<BlockVariable> variables;
};

/// None where the driver lacks OpenGL ES 3.1.
[[nodiscard]] std::vector<ProgramBlock> BlocksOf(unsigned int program);

} // namespace Probe
