// The stacks that are in the capture.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "Data/Capture/Format.h"

namespace Recorder {

/// Numbers stacks by what tells them apart, equal ones alike. Any thread may look for one, also while another adds one;
/// those that add or clear hold a lock of the caller's.
class StackTable {
public:
    /// False when there is no memory.
    [[nodiscard]] bool Open();

    /// The number of a stack, 0 when it is not there.
    [[nodiscard]] std::uint32_t Find(std::span<const std::uint64_t> key) const;
    /// For one that is not there. 0 when there is no room for more.
    [[nodiscard]] std::uint32_t Add(std::span<const std::uint64_t> key);
    /// Forgets them all: keys are made otherwise from now on. Numbers are not used again.
    void Clear();

private:
    static constexpr std::uint32_t Slots = 2 * Data::MaxStacks;
    static constexpr std::uint32_t MaxWords = 32 * Data::MaxStacks;

    struct Entry {
        std::uint64_t hash;
        std::uint32_t first;
        std::uint32_t count;
    };
    /// Room for all of it, of which the system gives what is used.
    struct Memory {
        /// By hash, the next free one where it is taken: numbers, 0 for none.
        std::atomic<std::uint32_t> slots[Slots];
        /// By number; the first one is not used.
        Entry entries[Data::MaxStacks + 1];
        std::uint64_t words[MaxWords];
    };

    Memory* m_memory = nullptr;
    std::uint32_t m_count = 0;
    std::uint32_t m_wordCount = 0;
};

} // namespace Recorder
