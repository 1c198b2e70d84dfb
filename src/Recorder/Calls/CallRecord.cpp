#include "Recorder/Calls/CallRecord.h"

#include "Recorder/Symbols/Unrecorded.h"

namespace Recorder {
namespace {

constexpr std::uint64_t SlotBytes = 8;

} // namespace

std::uint64_t StringsBytes(const char* const* strings, std::int64_t count, const std::int32_t* lengths)
{
    std::uint64_t bytes = ArrayBytes(strings, count, SlotBytes);
    for (std::uint64_t i = 0, slots = bytes / SlotBytes; i < slots; ++i)
        bytes += StringLength(strings[i], lengths, static_cast<std::int64_t>(i)) + 1;
    return bytes;
}

std::uint64_t Lists::Bytes() const
{
    std::uint64_t bytes = m_count * SlotBytes;
    for (std::uint64_t i = 0; i < m_count; ++i)
        bytes += Data::RoundUp8(BytesOf(i));
    return bytes;
}

void Lists::Write(std::uint8_t* slots) const
{
    std::uint64_t place = m_count * SlotBytes;
    for (std::uint64_t i = 0; i < m_count; ++i) {
        const std::uint64_t bytes = BytesOf(i);
        std::memcpy(slots + i * SlotBytes, &place, sizeof place);
        if (bytes > 0) {
            std::memset(slots + place + Data::RoundUp8(bytes) - SlotBytes, 0, SlotBytes);
            std::memcpy(slots + place, m_lists[i], bytes);
        }
        place += Data::RoundUp8(bytes);
    }
}

void CallRecord::Drop(Data::CallId id) noexcept
{
    if (capture.channel->hasFailed == 0)
        CountUnrecorded(Data::NameOf(id));
}

void CallRecord::Strings(std::uint32_t at, const char* const* strings, std::int64_t count, const std::int32_t* lengths,
                         std::uint64_t bytes)
{
    if (strings == nullptr)
        return;
    // Each slot holds the place of its string, counted from the first slot. A missing string is written as an empty
    // one.
    Place(at, strings, bytes, [&](std::uint8_t* slots) {
        std::uint64_t text = ArrayBytes(strings, count, SlotBytes);
        for (std::uint64_t i = 0, end = text / SlotBytes; i < end; ++i) {
            const std::uint64_t length = StringLength(strings[i], lengths, static_cast<std::int64_t>(i));
            std::memcpy(slots + i * SlotBytes, &text, sizeof text);
            if (length > 0)
                std::memcpy(slots + text, strings[i], length);
            slots[text + length] = 0;
            text += length + 1;
        }
    });
}

} // namespace Recorder
