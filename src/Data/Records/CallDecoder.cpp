#include "Data/Records/CallDecoder.h"

#include <algorithm>
#include <limits>

#include "Data/Diagnostics.h"
#include "Data/Records/CallParameters.h"
#include "Data/State/StateModel.h"

namespace Data {

namespace {

/// Zeros. Stands for client memory that a vertex attribute points at until a draw delivers its contents.
alignas(16) std::uint8_t placeholder[4096];

/// Bytes of the string at `text`, its terminator included; 0 when no zero byte comes within `room` bytes.
std::uint32_t Terminated(const std::uint8_t* text, std::uint32_t room)
{
    const void* const end = std::memchr(text, 0, room);
    return end ? static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(end) - text) + 1 : 0;
}

} // namespace

CallDecoder::CallDecoder(Diagnostics& diagnostics) : m_diagnostics(diagnostics) {}

void CallDecoder::Decode(CallId call, std::uint8_t* record)
{
    const CallDecoding& decoding = callDecodings[static_cast<std::uint32_t>(call)];
    if (m_skipsGL && IsSkipped(call)) [[unlikely]]
        return;
    m_call = call;
    m_record = record;
    m_view = RecordView(record);
    m_contentsEnd = decoding.fixedBytes;
    if (!m_view.HasField(0, decoding.fixedBytes)) [[unlikely]] {
        m_diagnostics.TooSmall(NameOf(call), m_view, decoding.fixedBytes);
        return;
    }
    decoding.decode(*this);
    m_delivered = 0;
}

bool CallDecoder::IsSkipped(CallId call)
{
    if (IsEGL(call))
        return false;
    if (!m_isSkippingSaid)
        m_diagnostics.Skipped(NameOf(call), "the context", "the captured one to be current", "another or none");
    m_isSkippingSaid = true;
    return true;
}

void CallDecoder::SetThread(std::uint32_t thread)
{
    m_client.SetCurrentThread(thread);
    m_delivered = 0;
    if (m_model)
        m_model->SetThread(thread);
    m_gl->SetCurrentThread(thread);
    m_egl->SetCurrentThread(thread);
}

void CallDecoder::TellModel() const
{
    m_model->Call(CallArguments(m_call, m_view));
}

bool CallDecoder::Refuse(std::uint32_t parameter, const std::string& expected, const std::string& found)
{
    const char* const name = parameter == MaxParameters ? "the returned value" : ParametersOf(m_call)[parameter].name;
    m_diagnostics.Skipped(NameOf(m_call), name, expected, found);
    return false;
}

bool CallDecoder::Find(std::uint32_t parameter, const PointerSlot& slot, Contents& contents)
{
    if (slot.offset == 0)
        return true;
    // Behind the contents of the parameters in front, so that output never overwrites input.
    if (!m_view.HasContents(slot, m_contentsEnd))
        return Refuse(parameter,
                      "contents between " + std::to_string(m_contentsEnd) + " and " + Bytes(m_view.Header().bytes),
                      Bytes(slot.bytes) + " at " + std::to_string(slot.offset));
    m_contentsEnd = slot.offset + slot.bytes;
    contents = {m_record + slot.offset, slot.bytes};
    return true;
}

bool CallDecoder::Missing(std::uint32_t parameter, const PointerSlot& slot, std::int64_t needed, bool isOptional)
{
    m_pointers[parameter].SetValue(0);
    if (needed <= 0 || (isOptional && slot.value == 0))
        return true;
    return Refuse(parameter, "contents", slot.value == 0 ? "a null pointer" : "none");
}

bool CallDecoder::InputContents(std::uint32_t parameter, std::uint32_t at, std::uint32_t elementBytes,
                                std::int64_t needed, bool isOptional)
{
    const auto slot = Value<PointerSlot>(at);
    Contents contents;
    if (!Find(parameter, slot, contents))
        return false;
    if (!contents.data)
        return Missing(parameter, slot, needed, isOptional);
    const std::uint32_t count = contents.bytes / elementBytes;
    if (needed > std::int64_t{count}) {
        if (needed == UnknownSize)
            return Refuse(parameter, "a known pixel format and type", "another");
        return Refuse(parameter, std::to_string(needed) + " elements of " + Bytes(elementBytes), Bytes(contents.bytes));
    }
    m_pointers[parameter].SetContents(contents.data, count, elementBytes, slot.value);
    return true;
}

bool CallDecoder::Input(std::uint32_t parameter, std::uint32_t at, std::uint32_t elementBytes, std::int64_t needed)
{
    return InputContents(parameter, at, elementBytes, needed, false);
}

bool CallDecoder::OptionalInput(std::uint32_t parameter, std::uint32_t at, std::uint32_t elementBytes,
                                std::int64_t needed)
{
    return InputContents(parameter, at, elementBytes, needed, true);
}

bool CallDecoder::OutputRoom(std::uint32_t parameter, std::uint32_t at, std::uint32_t elementBytes, std::int64_t room,
                             bool isOptional, bool needsContents)
{
    const auto slot = Value<PointerSlot>(at);
    PointerData& pointer = m_pointers[parameter];
    Contents contents;
    if (!Find(parameter, slot, contents))
        return false;
    if (!contents.data && isOptional && slot.value == 0) {
        pointer.SetValue(0);
        return true;
    }
    // A driver may take it for a size without a sign.
    if (room < 0)
        return Refuse(parameter, "room for at least 0 elements", std::to_string(room));
    if (room > static_cast<std::int64_t>(PointerData::MaxOwnedBytes / elementBytes))
        return Refuse(parameter, "room for at most " + Bytes(PointerData::MaxOwnedBytes),
                      room == UnknownSize ? "an unknown size" : std::to_string(room) + " elements");
    if (needsContents && room > std::int64_t{contents.bytes / elementBytes})
        return Refuse(parameter, "the " + std::to_string(room) + " names that the driver gave",
                      contents.data ? std::to_string(contents.bytes / elementBytes) : "none");
    if (contents.data) {
        pointer.SetContents(contents.data, contents.bytes / elementBytes, elementBytes, slot.value);
        if (pointer.GetCount() < room)
            pointer.ResizeArray(static_cast<std::uint32_t>(room));
    } else {
        pointer.SetOwned(static_cast<std::uint32_t>(room), elementBytes, slot.value);
    }
    return true;
}

bool CallDecoder::Output(std::uint32_t parameter, std::uint32_t at, std::uint32_t elementBytes, std::int64_t room)
{
    return OutputRoom(parameter, at, elementBytes, room, false, false);
}

bool CallDecoder::OptionalOutput(std::uint32_t parameter, std::uint32_t at, std::uint32_t elementBytes,
                                 std::int64_t room)
{
    return OutputRoom(parameter, at, elementBytes, room, true, false);
}

bool CallDecoder::Names(std::uint32_t parameter, std::uint32_t at, std::uint32_t elementBytes, std::int64_t count)
{
    return OutputRoom(parameter, at, elementBytes, count, false, true);
}

bool CallDecoder::OptionalNames(std::uint32_t parameter, std::uint32_t at, std::uint32_t elementBytes,
                                std::int64_t count)
{
    return OutputRoom(parameter, at, elementBytes, count, true, true);
}

bool CallDecoder::Callback(std::uint32_t parameter, std::uint32_t /*at*/)
{
    m_pointers[parameter].SetValue(0);
    return true;
}

bool CallDecoder::AttribPointer(std::uint32_t parameter, std::uint32_t at)
{
    const auto slot = Value<PointerSlot>(at);
    PointerData& pointer = m_pointers[parameter];
    pointer.SetValue(slot.value);
    if (slot.value == 0 || Bound().BoundBuffer(Enum::ArrayBuffer) != 0)
        return true;
    if (!Bound().AcceptsAttribPointer(slot.value))
        return Refuse(parameter, "an offset into a bound array buffer", "client memory for a vertex array object");
    pointer.SetContents(placeholder, 0, 1, slot.value);
    return true;
}

bool CallDecoder::Text(std::uint32_t parameter, std::uint32_t at, std::int64_t length, bool isOptional)
{
    const auto slot = Value<PointerSlot>(at);
    Contents contents;
    if (!Find(parameter, slot, contents))
        return false;
    // An empty string, also for drivers to which a length of 0 says that it is terminated.
    if (length == 0 && slot.value != 0) {
        m_pointers[parameter].SetContents(placeholder, 0, 1, slot.value);
        return true;
    }
    if (!contents.data)
        return Missing(parameter, slot, length == 0 ? 0 : 1, isOptional);
    if (length < 0 && Terminated(contents.data, contents.bytes) == 0)
        return Refuse(parameter, "a zero byte at the end of the string", Bytes(contents.bytes) + " without one");
    if (length > std::int64_t{contents.bytes})
        return Refuse(parameter, std::to_string(length) + " characters", std::to_string(contents.bytes));
    m_pointers[parameter].SetContents(contents.data, contents.bytes, 1, slot.value);
    return true;
}

bool CallDecoder::CString(std::uint32_t parameter, std::uint32_t at)
{
    return Text(parameter, at, -1, false);
}

bool CallDecoder::String(std::uint32_t parameter, std::uint32_t at, std::int64_t length)
{
    return Text(parameter, at, length, false);
}

bool CallDecoder::OptionalString(std::uint32_t parameter, std::uint32_t at, std::int64_t length)
{
    return Text(parameter, at, length, true);
}

bool CallDecoder::ReturnedString(std::uint32_t at)
{
    if (Value<PointerSlot>(at).offset != 0)
        return Text(MaxParameters, at, -1, false);
    Returned().SetValue(0);
    return true;
}

bool CallDecoder::Strings(std::uint32_t parameter, std::uint32_t at, std::int64_t count)
{
    const auto slot = Value<PointerSlot>(at);
    Contents contents;
    if (!Find(parameter, slot, contents))
        return false;
    if (!contents.data)
        return Missing(parameter, slot, count, false);
    count = std::max<std::int64_t>(count, 0);
    if (count > std::int64_t{contents.bytes / 8})
        return Refuse(parameter, std::to_string(count) + " strings", Bytes(contents.bytes));
    // Each string begins after the one before it, so that looking for their ends takes one pass.
    std::uint64_t earliest = static_cast<std::uint64_t>(count) * 8;
    for (std::int64_t i = 0; i < count; ++i) {
        std::uint8_t* const place = contents.data + i * 8;
        std::uint64_t offset;
        std::memcpy(&offset, place, sizeof offset);
        if (offset < earliest || offset >= contents.bytes)
            return Refuse(parameter,
                          "string " + std::to_string(i) + " between " + std::to_string(earliest) + " and " +
                              Bytes(contents.bytes),
                          "it at " + std::to_string(offset));
        const std::uint32_t bytes =
            Terminated(contents.data + offset, contents.bytes - static_cast<std::uint32_t>(offset));
        if (bytes == 0)
            return Refuse(parameter, "a zero byte at the end of string " + std::to_string(i), "none");
        earliest = offset + bytes;
        const auto address = reinterpret_cast<std::uintptr_t>(contents.data + offset);
        std::memcpy(place, &address, sizeof address);
    }
    m_pointers[parameter].SetContents(contents.data, static_cast<std::uint32_t>(count), 8, slot.value);
    return true;
}

bool CallDecoder::StringLengths(std::uint32_t parameter, std::uint32_t lengths)
{
    const PointerData& strings = m_pointers[parameter];
    const PointerData& counts = m_pointers[lengths];
    if (!counts.HasData() || !strings.HasData())
        return true;
    const auto slot = Value<PointerSlot>(ParametersOf(m_call)[parameter].at);
    const std::uint8_t* const end = m_record + slot.offset + slot.bytes;
    for (std::int32_t i = 0; i < std::min(strings.GetCount(), counts.GetCount()); ++i) {
        std::int32_t length;
        std::memcpy(&length, counts.As<const std::uint8_t>() + std::size_t{4} * static_cast<std::uint32_t>(i), 4);
        const std::uint8_t* const text = strings.As<const std::uint8_t* const>()[i];
        if (length > end - text)
            return Refuse(lengths,
                          "at most " + std::to_string(end - text) + " characters for string " + std::to_string(i),
                          std::to_string(length));
    }
    return true;
}

bool CallDecoder::Lists(std::uint32_t parameter, std::uint32_t at, std::int64_t count, std::uint32_t lengths,
                        std::int64_t elementBytes)
{
    constexpr std::uint64_t SlotBytes = 8;
    if (!Input(parameter, at, SlotBytes, count) || count <= 0)
        return count <= 0;
    const std::uint64_t end = Value<PointerSlot>(at).bytes;
    auto* const slots = m_pointers[parameter].As<std::uint8_t>();
    const auto* const counts = m_pointers[lengths].As<const std::int32_t>();
    // Each begins after the one before it, so that looking at all of them takes one pass.
    std::uint64_t earliest = static_cast<std::uint64_t>(count) * SlotBytes;
    for (std::int64_t i = 0; i < count; ++i) {
        std::uint64_t offset;
        std::memcpy(&offset, slots + static_cast<std::uint64_t>(i) * SlotBytes, sizeof offset);
        const auto bytes = static_cast<std::uint64_t>(std::max<std::int64_t>(counts[i], 0) * elementBytes);
        if (offset < earliest || offset % SlotBytes != 0 || offset > end || bytes > end - offset)
            return Refuse(parameter,
                          Bytes(bytes) + " of list " + std::to_string(i) + " between " + std::to_string(earliest) +
                              " and " + Bytes(end),
                          "it at " + std::to_string(offset));
        earliest = offset + bytes;
        const auto address = reinterpret_cast<std::uintptr_t>(slots + offset);
        std::memcpy(slots + static_cast<std::uint64_t>(i) * SlotBytes, &address, sizeof address);
    }
    return true;
}

template <class T> bool CallDecoder::AttribList(std::uint32_t parameter, std::uint32_t at, T terminator)
{
    const auto slot = Value<PointerSlot>(at);
    Contents contents;
    if (!Find(parameter, slot, contents))
        return false;
    if (!contents.data)
        return Missing(parameter, slot, 1, true);
    const std::uint32_t count = contents.bytes / sizeof(T);
    std::uint32_t values = 0;
    for (; values < count; values += 2) {
        T attribute;
        std::memcpy(&attribute, contents.data + values * sizeof(T), sizeof attribute);
        if (attribute == terminator)
            break;
    }
    if (values >= count)
        return Refuse(parameter, "a closing attribute", std::to_string(count) + " values without one");
    if (values > MaxAttribs)
        return Refuse(parameter, "at most " + std::to_string(MaxAttribs) + " values", std::to_string(values));
    m_pointers[parameter].SetContents(contents.data, count, sizeof(T), slot.value);
    return true;
}

bool CallDecoder::Attribs(std::uint32_t parameter, std::uint32_t at, std::int32_t terminator)
{
    return AttribList(parameter, at, terminator);
}

bool CallDecoder::Attribs64(std::uint32_t parameter, std::uint32_t at)
{
    return AttribList(parameter, at, std::int64_t{Enum::EglNone});
}

bool CallDecoder::IsWithinMemory(std::uint32_t parameter, std::int64_t bytes)
{
    // More than any address space has; what is below 0 is an error that drivers do see.
    constexpr std::int64_t Most = std::int64_t{1} << 56;
    return bytes <= Most || Refuse(parameter, "at most " + std::to_string(Most), std::to_string(bytes));
}

bool CallDecoder::IsWithinImage(std::uint32_t parameter, std::int64_t place, std::int64_t size)
{
    constexpr std::int64_t Most = std::numeric_limits<std::int32_t>::max();
    return place + size <= Most || Refuse(parameter, "at most " + std::to_string(Most - size), std::to_string(place));
}

bool CallDecoder::KnowsBuffer(std::uint32_t parameter, std::uint32_t name)
{
    return Context().KnowsBuffer(name) || Refuse(parameter, "a buffer that was generated", std::to_string(name));
}

bool CallDecoder::KnowsVertexArray(std::uint32_t parameter, std::uint32_t name)
{
    return Context().KnowsVertexArray(name) ||
           Refuse(parameter, "a vertex array that was generated", std::to_string(name));
}

} // namespace Data
