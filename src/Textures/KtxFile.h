// Files of the Khronos KTX File Format, version 1.1.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Textures/UploadReader.h"

namespace Textures {

/// A texture as the file has it. Numbers of formats and types are those of OpenGL ES.
struct KtxTexture {
    std::uint32_t type = 0;
    /// Bytes that would have to be swapped for the other byte order; 1 for none.
    std::uint32_t typeBytes = 1;
    /// 0 for compressed blocks.
    std::uint32_t format = 0;
    std::uint32_t internalFormat = 0;
    std::uint32_t baseFormat = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    /// Of a three-dimensional texture; else 0.
    std::uint32_t depth = 0;
    /// Of an array; else 0.
    std::uint32_t elements = 0;
    std::uint32_t faces = 1;
    /// An image's bytes, whose rows follow one another without gaps; blocks count as one row.
    struct Image {
        std::span<const std::uint8_t> bytes;
        std::size_t rows = 1;
    };
    /// By level, largest first: faces, or layers, or both, elements first.
    std::vector<std::vector<Image>> levels = {};
    /// Each pair as "key\0value\0".
    std::vector<std::string_view> keyValues = {};
};

/// The file's bytes.
[[nodiscard]] std::string EncodeKtx(const KtxTexture& texture);

/// Writes an upload as it is, in a file of one level. Returns the reason of a failure; empty on success.
[[nodiscard]] std::string WriteKtx(const std::string& path, const Upload& upload);

} // namespace Textures
