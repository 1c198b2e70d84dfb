// Which call a driver did not survive.
#pragma once

#include <cstdint>

namespace Probe::CrashNote {

/// From now on a signal that ends the process prints a line such as "crashed in call 57:1234 glDrawArrays" to standard
/// error, in front of what the signal does anyway.
void Install();

/// The call that comes next; `function` must stay.
void Set(std::uint32_t frame, std::uint32_t call, const char* function);

} // namespace Probe::CrashNote
