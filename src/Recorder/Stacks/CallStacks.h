// Where in the program calls come from: the number of the stack that the next records of the thread belong to.
//
// The program's threads take their stacks themselves, since nobody else can. Nothing here allocates from the program's
// heap, and no lock of the library's is held while the dynamic linker is asked, which takes a lock of its own.
#pragma once

#include <cstdint>

namespace Recorder {

/// The calls whose stacks are recorded; each has those of the one in front of it.
enum class StacksOf : std::uint8_t { None, Draws, All };

/// Set before the program's own code runs.
extern StacksOf stacksOf;

/// The stack of the program's call that this thread is in, by its number in the capture: what was not there yet is
/// appended. Outside of Capturing. 0 when there is none to be had. Keeps errno.
[[nodiscard]] std::uint32_t TakeStack() noexcept;

} // namespace Recorder
