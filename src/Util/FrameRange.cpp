#include "Util/FrameRange.h"

#include <charconv>

namespace Util {

std::uint32_t ParseCount(std::string_view text)
{
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? value : 0;
}

std::optional<FrameRange> ParseFrameRange(std::string_view text)
{
    const std::size_t hyphen = text.find('-');
    const std::uint32_t first = ParseCount(text.substr(0, hyphen));
    FrameRange range = {first, first};
    if (hyphen + 1 == text.size())
        range.last = FrameRange::NoEnd;
    else if (hyphen != std::string_view::npos)
        range.last = ParseCount(text.substr(hyphen + 1));
    return first == 0 || range.last < first ? std::nullopt : std::optional(range);
}

} // namespace Util
