// Functions that programs get although their calls cannot be recorded: the calls are counted on their way.
#pragma once

namespace Recorder {

/// A function that counts the program's calls, as calls that cannot be recorded, and goes on to `function`, whatever
/// its parameters are. Answers `function` itself when there are too many already.
[[nodiscard]] void* CountCallsOf(const char* name, void* function) noexcept;

} // namespace Recorder
