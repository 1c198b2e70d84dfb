// Names of enum values, from the Khronos headers that the project was built with.
#pragma once

#include <cstdint>

namespace Tools {

/// Null when no header has the value.
const char* GLEnumName(std::uint32_t value);
const char* EGLEnumName(std::uint32_t value);

} // namespace Tools
