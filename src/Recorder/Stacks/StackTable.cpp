#include "Recorder/Stacks/StackTable.h"

#include <algorithm>
#include <sys/mman.h>

#include "Data/Capture/Checksum.h"

namespace Recorder {

bool StackTable::Open()
{
    void* const memory =
        mmap(nullptr, sizeof(Memory), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED)
        return false;
    madvise(memory, sizeof(Memory), MADV_DONTDUMP);
    m_memory = static_cast<Memory*>(memory);
    return true;
}

std::uint32_t StackTable::Find(std::span<const std::uint64_t> key) const
{
    const std::uint64_t hash = Data::Checksum(key.data(), key.size_bytes());
    for (std::uint64_t slot = hash % Slots;; slot = (slot + 1) % Slots) {
        const std::uint32_t number = m_memory->slots[slot].load(std::memory_order_acquire);
        if (number == 0)
            return 0;
        const Entry& entry = m_memory->entries[number];
        if (entry.hash == hash && std::ranges::equal(key, std::span(m_memory->words + entry.first, entry.count)))
            return number;
    }
}

std::uint32_t StackTable::Add(std::span<const std::uint64_t> key)
{
    if (m_count == Data::MaxStacks || key.size() > MaxWords - m_wordCount)
        return 0;
    const std::uint64_t hash = Data::Checksum(key.data(), key.size_bytes());
    std::ranges::copy(key, m_memory->words + m_wordCount);
    m_memory->entries[++m_count] = {hash, m_wordCount, static_cast<std::uint32_t>(key.size())};
    m_wordCount += static_cast<std::uint32_t>(key.size());
    std::uint64_t slot = hash % Slots;
    while (m_memory->slots[slot].load(std::memory_order_relaxed) != 0)
        slot = (slot + 1) % Slots;
    m_memory->slots[slot].store(m_count, std::memory_order_release);
    return m_count;
}

void StackTable::Clear()
{
    for (std::atomic<std::uint32_t>& slot : m_memory->slots)
        slot.store(0, std::memory_order_relaxed);
}

} // namespace Recorder
