// Buffers that the program keeps mapped while the driver uses them (GL_EXT_buffer_storage). No call announces what it
// writes to them, so the program has memory of the library's own, which is watched. What changed reaches driver and
// capture ahead of each call that can use it; the capture has it as glBufferSubData, which needs no mapping and is in
// the order of the calls whatever context made the mapping.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "Recorder/Context.h"
#include "Recorder/Platform.h"

namespace Recorder {

/// True for a mapping with this access whose contents change without a call.
[[nodiscard]] constexpr bool ChangesUnannounced(std::uint32_t access)
{
    constexpr std::uint32_t Lasting = GL_MAP_PERSISTENT_BIT_EXT | GL_MAP_WRITE_BIT;
    const bool isFlushed =
        (access & (GL_MAP_FLUSH_EXPLICIT_BIT | GL_MAP_COHERENT_BIT_EXT)) == GL_MAP_FLUSH_EXPLICIT_BIT;
    return (access & Lasting) == Lasting && !isFlushed;
}

/// Watches the mapping at `live` of the buffer bound to `target`, which was just recorded. Answers what the program is
/// to have: `live` itself where nothing is recorded or the mapping cannot be watched, which is counted as something
/// that is not recorded.
[[nodiscard]] void* Watch(const Capturing& capturing, Context& context, std::uint32_t target, void* live) noexcept;

/// Publishes the changes of the mapping at `live` and lets go of it. Ahead of the driver's call that ends it. False
/// when it is not watched.
bool EndWatch(const Capturing& capturing, Context& context, const void* live) noexcept;
/// The same for the mapping of buffer `name`.
bool EndWatch(const Capturing& capturing, Context& context, std::uint32_t name) noexcept;

/// What the program has in the place of the driver's mapping at `live`: `live` itself when that is not watched.
[[nodiscard]] void* WatchedInPlaceOf(void* live) noexcept;

/// In a handler of faults: lets the program at its memory. False when `address` is in none that is watched.
[[nodiscard]] bool TouchWatched(const void* address) noexcept;

/// True when some of the memory is watched.
[[nodiscard]] bool OverlapsWatched(const void* memory, std::size_t bytes) noexcept;

// Read by calls that draw, wait and read files, in programs that watch nothing too.
extern std::atomic<bool> mayHaveWatchedChanges;
extern std::atomic<bool> isAnythingWatched;

void PublishChanges(Context& context) noexcept;
void TakeUpResults(Context& context) noexcept;

[[nodiscard]] inline bool IsInWatched(const void* memory, std::size_t bytes)
{
    return isAnythingWatched.load(std::memory_order_relaxed) && OverlapsWatched(memory, bytes);
}

/// Ahead of a call that uses buffers: has everything there that the program wrote.
inline void BeforeUse(Context& context)
{
    if (mayHaveWatchedChanges.load(std::memory_order_relaxed)) [[unlikely]]
        PublishChanges(context);
}

/// Behind a call that waited for the driver: what the program reads from its memory next is what the driver wrote.
inline void AfterWait(Context& context)
{
    if (isAnythingWatched.load(std::memory_order_relaxed)) [[unlikely]]
        TakeUpResults(context);
}

} // namespace Recorder
