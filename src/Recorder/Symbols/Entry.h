// Numbers for the functions that the library stands in for.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Recorder {

/// In the order of the names.
enum class Entry : std::uint16_t {
#define RECORDER_ENTRY(name) name,
#include "Recorder/Entries.inc"
#undef RECORDER_ENTRY
    Count
};

inline constexpr auto EntryCount = static_cast<std::size_t>(Entry::Count);

} // namespace Recorder
