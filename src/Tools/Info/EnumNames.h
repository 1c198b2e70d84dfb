// Names of enum values, from the Khronos headers that the project was built with.
#pragma once

#include <cstdint>
#include <string_view>

namespace Tools {

/// Null when no header has the value.
const char* GLEnumName(std::uint32_t value);
const char* EGLEnumName(std::uint32_t value);
/// As above, for an argument or the return value of this function: small values mean something else in each.
const char* EnumName(std::string_view function, std::uint32_t value);

} // namespace Tools
