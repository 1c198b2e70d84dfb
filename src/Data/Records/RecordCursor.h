// The records of a chunk, one after the other.
#pragma once

#include <cstdint>
#include <string>

#include "Data/Capture/CaptureSource.h"
#include "Data/Records/RecordView.h"

namespace Data {

/// Walks the records of a chunk and stops where one of them cannot be. Views the one that it stands at. Borrows the
/// chunk's memory.
class RecordCursor : public RecordView {
public:
    RecordCursor() = default;
    RecordCursor(std::uint8_t* bytes, std::uint32_t count, std::uint64_t fileOffset)
        : m_begin(bytes), m_next(bytes), m_end(bytes + count), m_fileOffset(fileOffset)
    {
    }
    explicit RecordCursor(const Chunk& chunk) : RecordCursor(chunk.Data(), chunk.bytes, chunk.fileOffset) {}

    /// Moves to the next record. False at the end of the chunk, and at a record whose size cannot be.
    bool Next()
    {
        const auto left = static_cast<std::uint64_t>(m_end - m_next);
        if (left < sizeof(RecordHeader)) [[unlikely]] {
            m_isDamaged = left != 0;
            return false;
        }
        static_cast<RecordView&>(*this) = RecordView(m_next);
        const std::uint32_t bytes = Header().bytes;
        if (bytes < sizeof(RecordHeader) || bytes % 8 != 0 || bytes > left) [[unlikely]] {
            m_isDamaged = true;
            return false;
        }
        m_at = m_next;
        m_next += bytes;
        return true;
    }

    [[nodiscard]] std::uint8_t* Record() const { return m_at; }
    [[nodiscard]] std::uint32_t Offset() const { return static_cast<std::uint32_t>(m_at - m_begin); }
    /// Where Next goes.
    [[nodiscard]] std::uint32_t NextOffset() const { return static_cast<std::uint32_t>(m_next - m_begin); }

    /// Next stopped in front of the end.
    [[nodiscard]] bool IsDamaged() const { return m_isDamaged; }
    /// Where and why.
    [[nodiscard]] std::string Damage() const;

private:
    std::uint8_t* m_begin = nullptr;
    std::uint8_t* m_at = nullptr;
    std::uint8_t* m_next = nullptr;
    std::uint8_t* m_end = nullptr;
    std::uint64_t m_fileOffset = 0;
    bool m_isDamaged = false;
};

} // namespace Data
