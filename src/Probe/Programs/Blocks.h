// The blocks of a program that lie in buffers, as the live driver has laid them out.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Probe {

/// A block of uniforms; its number is its place in UniformBlocksOf.
struct UniformBlock {
    std::string name;
    /// The index of the buffer binding, and the live buffer that is bound there now; 0 for none.
    int binding = 0;
    unsigned int buffer = 0;
};
/// None before OpenGL ES 3.0.
[[nodiscard]] std::vector<UniformBlock> UniformBlocksOf(unsigned int program);

struct BlockVariable {
    std::string name;
    /// GL_FLOAT_VEC4 ...
    unsigned int type = 0;
    /// Elements of the innermost array, 1 for others, 0 for one without a size.
    int count = 0;
    /// In bytes from the start of the block; the others are those of the array and the matrix.
    int offset = 0;
    int arrayStride = 0;
    int matrixStride = 0;
    bool isRowMajor = false;
};

struct ProgramBlock {
    std::string name;
    /// Not GL_UNIFORM_BLOCK, but GL_SHADER_STORAGE_BLOCK.
    bool isStorage = false;
    int binding = 0;
    int bytes = 0;
    std::vector<BlockVariable> variables;
};
/// With their variables: blocks of uniforms, then those of storage, which OpenGL ES 3.1 has.
[[nodiscard]] std::vector<ProgramBlock> BlocksOf(unsigned int program);

/// What lies in the buffer that a block of uniforms is bound to now.
class BlockContents {
public:
    explicit BlockContents(const ProgramBlock& block);

    /// Where a variable is in the buffer, in bytes.
    [[nodiscard]] std::int64_t PlaceOf(const BlockVariable& variable) const { return m_start + variable.offset; }
    /// Of its first elements, matrices column by column; what lies outside of the buffer is missing.
    [[nodiscard]] std::vector<double> ValuesOf(const BlockVariable& variable) const;

private:
    std::vector<std::uint8_t> m_bytes;
    std::int64_t m_start = 0;
};

} // namespace Probe
