// Whether the program is led to OpenGL ES on EGL where it could draw in another way.
#pragma once

namespace Recorder {

/// Desktop OpenGL is to be hidden from the program. The answer never changes.
[[nodiscard]] bool PrefersEs() noexcept;

/// It is, and the caller is the program itself. To be asked ahead of the guard of a call: inside of it nothing is
/// hidden.
[[nodiscard]] bool HidesDesktopGL() noexcept;

} // namespace Recorder
