// Where the members of a block lie in memory, and what is there.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Inspect/Formats/BlockDeclaration.h"
#include "Inspect/Replay/ReplayProcess.h"

namespace Inspect {

/// A member that is no structure and no array, or one element of them.
struct BlockLeaf {
    /// "lights[1].colour".
    std::string name;
    BlockType type;
    /// In bytes from the start of the row.
    std::uint32_t offset = 0;
    /// Between the columns of a matrix, or its rows where it is row-major; in bytes.
    std::uint32_t matrixStride = 0;
    bool isRowMajor = false;
};

/// What a row of a table of a buffer holds.
struct BlockLayout {
    std::vector<BlockLeaf> leaves = {};
    /// Bytes from row to row; 0: there is one row.
    std::uint32_t stride = 0;
    /// Members were left out: there are more than MostLeaves, or they are packed or of another stride.
    bool isCut = false;
};

/// By the rules of OpenGL ES 3.2 (Khronos), section 7.6.2.2, for std140 and std430; "packed" has no gaps. An
/// array without a size that is all there is makes a row of each element; after other members it goes on to the end of
/// the `bytes` that there are. Throws Error for another layout.
[[nodiscard]] BlockLayout LayOut(const BlockDeclaration& declaration, std::string_view layout, std::size_t bytes);

/// The values of a leaf in a row, column by column; empty where they do not lie in `row` as a whole. Normalised ones
/// come as numbers from 0 or -1 to 1.
[[nodiscard]] Json ValuesOf(const BlockLeaf& leaf, std::span<const std::uint8_t> row);

} // namespace Inspect
