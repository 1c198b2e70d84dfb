#pragma once

#include <string>

namespace Fake {

/// Names of enum values, or the number: in decimal below 0x100, where one value has many meanings, else in hex.
std::string GLName(unsigned int value);
std::string EGLName(unsigned int value);

} // namespace Fake
