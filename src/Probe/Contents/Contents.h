// What an image or a buffer of the live driver holds, as it is compared with what another driver's holds.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Util/FramebufferReader.h"

namespace Probe {

/// Rows are packed, the bottom one first; several layers follow one another as more rows. Numbers are in the order of
/// bytes of the machine.
struct Contents {
    /// The name of a PixelKind.
    std::string components = {};
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> data = {};
    /// Why there is nothing; empty otherwise.
    std::string problem = {};

    /// XXH3-64 over the data, as in captures; 0 without any.
    [[nodiscard]] std::uint64_t Hash() const;
};

/// What a pixel is: "unorm8", "snorm8", "float", "int" and "uint" have four numbers; "depth16", "depth32",
/// "depthfloat", "stencil8" and "bytes" have one.
struct PixelKind {
    std::string_view name;
    /// By which it is read and written, GL_RGBA and GL_UNSIGNED_BYTE for instance; no format for bytes.
    unsigned int format;
    unsigned int type;
    std::size_t numbers;
    bool isNormalized;
};
/// Null where there is none of this name.
[[nodiscard]] const PixelKind* FindKind(std::string_view name);

/// What was read, or why nothing was.
[[nodiscard]] Contents ToContents(Util::FramebufferReader::Result result);

/// Depths of any kind as "depthfloat"; other contents as they are.
[[nodiscard]] Contents WithFloatDepth(const Contents& image);

} // namespace Probe
