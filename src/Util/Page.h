// Pages for a browser that are whole in one file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Util {

/// `page` with each {{NAME}} replaced by the part of that name.
[[nodiscard]] std::string FillPage(std::string_view page,
                                   const std::vector<std::pair<std::string_view, std::string_view>>& parts);

/// A JSON document such that no text in it ends the element of the page that it stands in.
[[nodiscard]] std::string JsonForPage(std::string_view json);

/// For addresses that hold their data: RFC 4648.
[[nodiscard]] std::string Base64(const std::vector<std::uint8_t>& bytes);

} // namespace Util
