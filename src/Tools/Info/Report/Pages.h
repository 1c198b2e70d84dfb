// The files that a report page is put together from; their contents are in the program.
#pragma once

#include <string_view>

namespace Tools::Pages {

extern const std::string_view page;
extern const std::string_view style;
extern const std::string_view script;
extern const std::string_view dygraph;
extern const std::string_view dygraphStyle;

} // namespace Tools::Pages
