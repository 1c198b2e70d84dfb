// What answers are made of.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Probe/Contents/Contents.h"

namespace Probe {

using Json = nlohmann::ordered_json;

/// An answer: a line of JSON, and the bytes that follow it.
struct Reply {
    Json json;
    std::vector<std::uint8_t> bytes = {};
};

[[nodiscard]] std::string HashText(std::uint64_t hash);
/// All but the data.
[[nodiscard]] Json ToJson(const Contents& contents);
/// An answer with the data, as many as its "bytes" says.
[[nodiscard]] Reply ToReply(Contents contents);

} // namespace Probe
