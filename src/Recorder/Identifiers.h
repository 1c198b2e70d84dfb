// Numbers for the objects that programs know by pointers. Captures hold 32-bit identifiers.
#pragma once

#include <cstdint>

namespace Recorder {

/// Kinds of objects; each has its own numbers. Pointer: GLsync objects, and displays, windows and buffers of the
/// window system.
enum class Identifier : std::uint8_t { Display, Config, Context, Surface, Image, Sync, Pointer };

/// The number of the object, given on first sight, from 1 on. Null is 0. Thread-safe. 0 when memory runs out.
[[nodiscard]] std::uint32_t Identify(Identifier kind, const void* object) noexcept;

/// A new number for a new object, whatever was known by the same address before.
[[nodiscard]] std::uint32_t IdentifyNew(Identifier kind, const void* object) noexcept;

/// What IdentifyNew answers next. Under the capture's lock, under which new objects are recorded.
[[nodiscard]] std::uint32_t NextNumber(Identifier kind) noexcept;

/// The source of an EGLImage: the name of a GL object, or a number as any other native object has it. `target` is the
/// image's.
[[nodiscard]] std::uint32_t IdentifyImageSource(std::uint32_t target, const void* source) noexcept;

} // namespace Recorder
