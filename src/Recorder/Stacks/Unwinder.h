// The way from a call to those that made it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace Recorder {

/// Looks for the fast way to unwind. Loads a library.
void OpenUnwinder() noexcept;

/// Fills in where the functions go on that are being called on this thread, innermost first, as far as they can be
/// told, and answers how many these are. `wereReused`: code lies where other code did before.
[[nodiscard]] std::size_t Unwind(std::span<std::uint64_t> addresses, bool wereReused) noexcept;

} // namespace Recorder
