#include "Inspect/Place.h"

#include <charconv>

namespace Inspect {

std::optional<std::uint32_t> ParseNumber(std::string_view text)
{
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [at, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && at == end && !text.empty() ? std::optional(number) : std::nullopt;
}

std::optional<PlaceText> PlaceText::Parse(std::string_view text)
{
    const std::size_t colon = text.find(':');
    const std::optional<std::uint32_t> frame = ParseNumber(text.substr(0, colon));
    if (!frame || *frame == 0)
        return std::nullopt;
    PlaceText place = {*frame};
    if (colon == std::string_view::npos)
        return place;
    const std::string_view rest = text.substr(colon + 1);
    if (rest.starts_with('c'))
        place.call = ParseNumber(rest.substr(1));
    else
        place.action = Data::ActionNumber::Parse(rest);
    return place.call || place.action ? std::optional(place) : std::nullopt;
}

} // namespace Inspect
