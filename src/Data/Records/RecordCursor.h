// The records of a chunk, one after the other.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include "Data/Capture/CaptureSource.h"
#include "Data/Capture/Format.h"

namespace Data {

/// Walks the records of a chunk and stops where one of them cannot be. Borrows the chunk's memory.
class RecordCursor {
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
        if (left < sizeof m_header) [[unlikely]] {
            m_isDamaged = left != 0;
            return false;
        }
        std::memcpy(&m_header, m_next, sizeof m_header);
        if (m_header.bytes < sizeof m_header || m_header.bytes % 8 != 0 || m_header.bytes > left) [[unlikely]] {
            m_isDamaged = true;
            return false;
        }
        m_record = m_next;
        m_next += m_header.bytes;
        return true;
    }

    [[nodiscard]] const RecordHeader& Header() const { return m_header; }
    [[nodiscard]] bool Is(RecordId id) const { return m_header.id == static_cast<std::uint32_t>(id); }
    [[nodiscard]] std::uint8_t* Record() const { return m_record; }
    [[nodiscard]] std::uint32_t Offset() const { return static_cast<std::uint32_t>(m_record - m_begin); }
    /// One of the structs of the format; false when the record is smaller.
    template <class T> [[nodiscard]] bool Read(T& value) const
    {
        if (m_header.bytes < sizeof value)
            return false;
        std::memcpy(&value, m_record, sizeof value);
        return true;
    }

    /// Next stopped in front of the end.
    [[nodiscard]] bool IsDamaged() const { return m_isDamaged; }
    /// Where and why.
    [[nodiscard]] std::string Damage() const;

private:
    std::uint8_t* m_begin = nullptr;
    std::uint8_t* m_record = nullptr;
    std::uint8_t* m_next = nullptr;
    std::uint8_t* m_end = nullptr;
    std::uint64_t m_fileOffset = 0;
    RecordHeader m_header = {};
    bool m_isDamaged = false;
};

} // namespace Data
