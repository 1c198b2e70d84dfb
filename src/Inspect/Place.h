#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "Data/Records/Actions.h"

namespace Inspect {

/// A call of a frame, both counted from 1.
struct Place {
    std::uint32_t frame = 0;
    std::uint32_t call = 0;

    bool operator==(const Place&) const = default;
    bool operator<(const Place& other) const { return frame != other.frame ? frame < other.frame : call < other.call; }
};

/// How people name a place: "57:12" or "57:12.1" is an action of frame 57, "57:c345" a call, and "57" the end of the
/// frame.
struct PlaceText {
    std::uint32_t frame = 0;
    std::optional<std::uint32_t> call = {};
    std::optional<Data::ActionNumber> action = {};

    /// Nothing for other text.
    [[nodiscard]] static std::optional<PlaceText> Parse(std::string_view text);
};

/// A decimal number without anything around it.
[[nodiscard]] std::optional<std::uint32_t> ParseNumber(std::string_view text);

} // namespace Inspect
