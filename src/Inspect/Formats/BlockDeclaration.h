// Declarations as people type them, or take them out of a shader.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Inspect {

/// A number in memory.
enum class Scalar : std::uint8_t {
    Float,
    Int,
    Unsigned,
    Bool, // 4 bytes
    Half,
    Int16,
    Unsigned16,
    Snorm16,
    Unorm16, // 2
    Int8,
    Unsigned8,
    Snorm8,
    Unorm8, // 1
    Fixed,  // 4, 16 bits behind the point
};
[[nodiscard]] std::uint32_t BytesOf(Scalar scalar);
/// "float", "unorm8" ...
[[nodiscard]] const char* NameOf(Scalar scalar);

/// A scalar, a vector or a matrix of columns.
struct BlockType {
    Scalar scalar = Scalar::Float;
    std::uint32_t rows = 1;
    /// 0: it is no matrix.
    std::uint32_t columns = 0;

    /// The types of GLSL, and for vertices int8, uint8, snorm8, unorm8, the same of 16 bits, half and fixed, alone or
    /// as "unorm8x4".
    [[nodiscard]] static std::optional<BlockType> Parse(std::string_view name);
    [[nodiscard]] std::string Text() const;
};

/// Members that a block has at most, those of structures in it counted for each of them.
inline constexpr std::size_t MostLeaves = 4096;

struct BlockMember {
    static constexpr std::uint32_t NoArray = 0;
    static constexpr std::uint32_t Unsized = ~std::uint32_t{0};

    std::string name = {};
    BlockType type = {};
    /// Of a structure; null for a type.
    std::shared_ptr<const std::vector<BlockMember>> members = {};
    std::uint32_t count = NoArray;
    /// In bytes from the start of the block, where it is declared.
    std::optional<std::uint32_t> offset = {};
    bool isRowMajor = false;
};

struct BlockDeclaration {
    std::vector<BlockMember> members;
    /// "std140" ...; empty where it is not declared.
    std::string layout = {};
};

/// Members such as "vec3 position; float weight; mat4 bones[4];", structures of them, or a whole block of a shader.
/// Only the last member may be an array without a size. Throws Error that says the line and the column.
[[nodiscard]] BlockDeclaration ParseDeclaration(std::string_view text);

} // namespace Inspect
