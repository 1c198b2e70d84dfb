#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Util {

/// The name that `text` most likely stands for: the one with the fewest letters left out, added, exchanged or swapped,
/// whatever their case, or one that begins with `text`. Empty when none is close. The first of equally close ones.
std::string_view ClosestName(std::string_view text, std::span<const std::string_view> names);

/// "; did you mean NAME?", to end a message about an unknown name; empty when none is close.
std::string Suggestion(std::string_view text, std::span<const std::string_view> names);

/// "1 frame", "2 frames".
std::string Counted(std::uint64_t count, const char* noun);

/// A word of a command line, as it would be typed in a shell.
std::string Quoted(const std::string& word);

} // namespace Util
