#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace Util {

/// Frames from `first` to `last`, both included, counted from 1.
struct FrameRange {
    static constexpr std::uint32_t NoEnd = ~std::uint32_t{0};

    std::uint32_t first = 1;
    std::uint32_t last = NoEnd;

    [[nodiscard]] bool Contains(std::uint32_t frame) const { return frame >= first && frame <= last; }
};

/// A whole number from 1 on; 0 for other text.
[[nodiscard]] std::uint32_t ParseCount(std::string_view text);

/// "A-B", "A-" for all from A on, or "A" for one frame. Nothing for other text, for frame 0 and where B is below A.
std::optional<FrameRange> ParseFrameRange(std::string_view text);

} // namespace Util
