// Memory that stands for a mapping of the driver's, and knows what the program writes to it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace Recorder {

/// The program has this memory in the place of the driver's, which it never sees. Pages are protected until the program
/// touches them; the fault's handler then calls Touch. So it costs nothing to find out that nothing was written, and
/// little to find what was. The driver's own memory could not be protected: its threads use it, with signals blocked.
///
/// The program may read and write at any time on any thread; the members are called under one lock.
class WatchedMemory {
public:
    /// For `bytes` bytes at `live`, the driver's mapping; the program sees its contents. `isRead`: the program reads
    /// too. Null where the system does not give the memory.
    [[nodiscard]] static std::unique_ptr<WatchedMemory> Create(void* live, std::size_t bytes, bool isRead) noexcept;
    ~WatchedMemory();
    WatchedMemory(const WatchedMemory&) = delete;
    WatchedMemory& operator=(const WatchedMemory&) = delete;

    /// What the program uses; at the same distance from a page's start as the driver's mapping.
    [[nodiscard]] void* Address() const { return m_program + m_begin; }
    [[nodiscard]] void* Live() const { return m_live + m_begin; }
    [[nodiscard]] bool Contains(const void* address) const
    {
        return reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(m_program) < m_bytes;
    }
    [[nodiscard]] bool Overlaps(const void* memory, std::size_t bytes) const
    {
        const auto* const begin = static_cast<const std::uint8_t*>(memory);
        return begin < m_program + m_bytes && begin + bytes > m_program;
    }
    /// The program may have written since TakeChanges, or may write without a fault.
    [[nodiscard]] bool MayHaveChanges() const { return m_dirtyBlocks > 0; }

    /// Lets the program at the memory around `address`, which is inside, one step further: first to read, then to
    /// write. False when the system refuses.
    [[nodiscard]] bool Touch(const void* address) noexcept;

    /// Copies what the program wrote to the driver's mapping, and calls take(offset, data, bytes) for each part of it,
    /// in units of `Grain` bytes, at least one of which changed in each. All memory is protected again, unless
    /// `mayStayOpen`: a program that writes a little ahead of each draw then meets no fault each time.
    template <std::size_t Grain, class Take> void TakeChanges(bool mayStayOpen, Take take)
    {
        const bool staysOpen =
            mayStayOpen && m_dirtyBlocks * m_blockBytes <= MaxOpenBytes && m_quietTakes < MaxQuietTakes;
        ++m_quietTakes;
        for (Range dirty = {0, 0}; NextDirty(dirty, staysOpen);) {
            for (std::size_t at = dirty.begin, end = at; FindChange<Grain>(at, end, dirty.end); at = end) {
                // First to what is known: what another thread writes meanwhile is found the next time.
                std::memcpy(m_known + at, m_program + at, end - at);
                std::memcpy(m_live + at, m_known + at, end - at);
                take(at - m_begin, m_known + at, end - at);
                m_quietTakes = 0;
            }
        }
    }

    /// The driver's mapping may have changed: what the program sees next is what is there then. Changes have to be
    /// taken first, and no memory left open.
    void Forget() noexcept;

private:
    /// In bytes from m_program, or in blocks.
    struct Range {
        std::size_t begin;
        std::size_t end;
    };
    enum class State : std::uint8_t {
        Stale, ///< no access; to be copied from the driver's mapping
        Clean, ///< may be read; as it was taken or copied last
        Dirty  ///< may be written
    };

    /// So much is compared in the time that a fault takes.
    static constexpr std::size_t MaxOpenBytes = 64 << 10;
    /// Calls of TakeChanges without a change after which nothing stays open.
    static constexpr unsigned MaxQuietTakes = 8;

    WatchedMemory(std::size_t lead, std::size_t bytes, bool isRead);
    [[nodiscard]] bool Allocate();
    [[nodiscard]] Range BytesOf(const Range& blocks) const;
    [[nodiscard]] bool Protect(const Range& blocks, int access);
    [[nodiscard]] bool Raise(const Range& blocks, State state);
    /// Answers the bytes in the next dirty blocks after range.end, which are protected unless they stay open.
    [[nodiscard]] bool NextDirty(Range& range, bool staysOpen) noexcept;
    /// The first block from `begin` on that is Dirty; the number of blocks when there is none.
    [[nodiscard]] std::size_t FindDirty(std::size_t begin) const;
    template <std::size_t Grain>
    [[nodiscard]] bool FindChange(std::size_t& begin, std::size_t& end, std::size_t limit) const;

    const std::size_t m_begin;
    const std::size_t m_end;
    std::size_t m_blockBytes;
    const bool m_isRead;
    std::vector<State> m_states;
    /// The states are not all Stale.
    bool m_isTouched = false;
    std::size_t m_dirtyBlocks = 0;
    unsigned m_quietTakes = 0;

    // All with m_bytes bytes, of which those from m_begin to m_end are the mapping's.
    std::size_t m_bytes = 0;
    std::uint8_t* m_live = nullptr;
    std::uint8_t* m_program = nullptr;
    /// The same memory as m_program, never protected.
    std::uint8_t* m_open = nullptr;
    /// What the driver's mapping holds, as far as it was taken or copied. Reading that itself can be very slow.
    std::uint8_t* m_known = nullptr;
};

template <std::size_t Grain>
bool WatchedMemory::FindChange(std::size_t& begin, std::size_t& end, std::size_t limit) const
{
    // Most of what may have changed has not: larger steps first.
    constexpr std::size_t Step = 1024;
    static_assert(Step % Grain == 0);
    const auto differs = [this, limit](std::size_t at, std::size_t bytes) {
        return std::memcmp(m_program + at, m_known + at, at + bytes <= limit ? bytes : limit - at) != 0;
    };
    while (begin < limit && !differs(begin, Step))
        begin += Step;
    while (begin < limit && !differs(begin, Grain))
        begin += Grain;
    end = begin;
    while (end < limit && differs(end, Grain))
        end += Grain;
    begin = begin < limit ? begin : limit;
    end = end < limit ? end : limit;
    return begin < end;
}

} // namespace Recorder
