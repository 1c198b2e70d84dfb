// The bytes of one record: what lies inside of it is decided here, for everything that reads records.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "Data/Capture/Format.h"

namespace Data {

/// Reads a record and nothing outside of it. Borrows the memory, which holds as many bytes as the record's header says.
class RecordView {
public:
    RecordView() = default;
    explicit RecordView(const std::uint8_t* record) : m_record(record)
    {
        std::memcpy(&m_header, record, sizeof m_header);
    }

    [[nodiscard]] const RecordHeader& Header() const { return m_header; }
    [[nodiscard]] bool Is(RecordId id) const { return m_header.id == static_cast<std::uint32_t>(id); }
    [[nodiscard]] std::span<const std::uint8_t> Bytes() const { return {m_record, m_header.bytes}; }

    [[nodiscard]] bool HasField(std::uint64_t at, std::uint64_t bytes) const { return at + bytes <= m_header.bytes; }
    /// The field at `at`, counted from the record's start; 0 where the record ends before it does.
    template <class T> [[nodiscard]] T Field(std::uint64_t at) const
    {
        T value{};
        if (HasField(at, sizeof value))
            std::memcpy(&value, m_record + at, sizeof value);
        return value;
    }
    /// One of the structs of the format; false when the record is smaller.
    template <class T> [[nodiscard]] bool Read(T& value) const
    {
        if (!HasField(0, sizeof value))
            return false;
        std::memcpy(&value, m_record, sizeof value);
        return true;
    }

    /// Whether the memory of a pointer lies in the record: at a multiple of 8, and not in front of `from`. False for a
    /// pointer without contents.
    [[nodiscard]] bool HasContents(const PointerSlot& slot, std::uint64_t from = sizeof(RecordHeader)) const
    {
        return slot.offset % 8 == 0 && slot.offset >= from && slot.offset <= m_header.bytes &&
               slot.bytes <= m_header.bytes - slot.offset;
    }
    /// The memory of a pointer; empty without contents, and where they do not lie in the record.
    [[nodiscard]] std::span<const std::uint8_t> Contents(const PointerSlot& slot) const
    {
        if (!HasContents(slot))
            return {};
        return {m_record + slot.offset, slot.bytes};
    }
    /// The same as characters.
    [[nodiscard]] std::string_view Text(const PointerSlot& slot) const
    {
        const std::span<const std::uint8_t> contents = Contents(slot);
        return {reinterpret_cast<const char*>(contents.data()), contents.size()};
    }

private:
    const std::uint8_t* m_record = nullptr;
    RecordHeader m_header = {};
};

/// Calls `visit` with each attribute and its value in a list that EGL_NONE closes, or its end.
template <class Visit> void ForEachAttrib(std::span<const std::uint8_t> list, Visit visit)
{
    constexpr std::int32_t None = 0x3038;
    std::int32_t pair[2];
    for (; list.size() >= sizeof pair; list = list.subspan(sizeof pair)) {
        std::memcpy(pair, list.data(), sizeof pair);
        if (pair[0] == None)
            return;
        visit(pair[0], pair[1]);
    }
}

} // namespace Data
