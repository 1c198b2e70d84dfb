// Programs from which desktop OpenGL is hidden.
#pragma once

namespace Recorder {

/// The program has asked for desktop OpenGL on this thread, was refused, and has bound nothing else since. To be asked
/// ahead of the guard of a call.
[[nodiscard]] bool WasRefusedDesktopGL() noexcept;

} // namespace Recorder
