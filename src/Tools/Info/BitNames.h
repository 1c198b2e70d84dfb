#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Data/CallIds.h"

namespace Tools {

/// A bit mask that a call takes as this parameter: the names of its bits joined by " | ", as far as they have names, or
/// a hexadecimal number.
std::string BitsText(Data::CallId call, std::string_view parameter, std::uint32_t bits);

} // namespace Tools
