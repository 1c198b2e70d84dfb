// Extension strings without what cannot be recorded.
#pragma once

#include <span>

namespace Recorder {

/// True for extensions whose functions, or whose effect on the picture, a capture cannot hold.
[[nodiscard]] bool IsHiddenExtension(const char* name) noexcept;

/// The space-separated list without the hidden extensions and, where it is to be hidden, without desktop OpenGL. The
/// same list gives the same string, which lives as long as the program. Null gives null; without memory the list comes
/// back as it is.
[[nodiscard]] const char* WithoutHiddenExtensions(const char* list) noexcept;

/// The extensions of the current context as glGetStringi counts them. They live as long as the program.
[[nodiscard]] std::span<const char* const> IndexedExtensions() noexcept;

} // namespace Recorder
