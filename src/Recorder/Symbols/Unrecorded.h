// What programs do that a capture cannot hold. Each is counted by name, and the counts go into the capture's notes.
#pragma once

namespace Recorder {

/// Counts one use of something that cannot be recorded.
void CountUnrecorded(const char* what) noexcept;

/// True when calls of the function `name`, which the library does not stand in for, are lost to a replay. False for
/// functions that change nothing, and for names of other APIs.
[[nodiscard]] bool IsUnrecordable(const char* name) noexcept;

} // namespace Recorder
