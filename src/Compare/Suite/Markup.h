// Text of captures in pages and in XML.
#pragma once

#include <string>
#include <string_view>

namespace Compare {

/// Text as it stands in an element or an attribute of HTML and of XML 1.0. What is no UTF-8, and characters that XML
/// 1.0 (section 2.2) does not have, are replaced by U+FFFD.
[[nodiscard]] std::string Escape(std::string_view text);

} // namespace Compare
