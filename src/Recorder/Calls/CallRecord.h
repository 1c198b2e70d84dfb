// Building the record of one call in place in the capture.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "Data/Capture/Format.h"
#include "Data/Records/CallTable.h"
#include "Recorder/Capture.h"
#include "Recorder/Identifiers.h"

namespace Recorder {

/// An argument as a number of the size in which sizes are computed.
template <class T> constexpr std::int64_t Wide(T value)
{
    return static_cast<std::int64_t>(value);
}

/// Arguments that claim to be longer are mistakes of the program's, which the driver refuses.
inline constexpr std::int64_t MaxArgumentBytes = Data::MaxChunkBytes;

/// Bytes of `count` elements behind `array`; 0 for null and for counts that make no sense.
inline std::uint64_t ArrayBytes(const void* array, std::int64_t count, std::int64_t elementBytes)
{
    return array == nullptr || count <= 0 || count > MaxArgumentBytes / elementBytes
               ? 0
               : static_cast<std::uint64_t>(count * elementBytes);
}

/// A string with its terminator.
inline std::uint64_t TextBytes(const void* text)
{
    return text == nullptr ? 0 : std::strlen(static_cast<const char*>(text)) + 1;
}

/// A string of `length` characters; a negative length says that it ends at its terminator, which is then included.
inline std::uint64_t TextBytes(const void* text, std::int64_t length)
{
    return length < 0 ? TextBytes(text) : ArrayBytes(text, length, 1);
}

/// What the driver wrote into room for `size` characters.
inline std::uint64_t OutTextBytes(const char* text, std::int64_t size)
{
    const std::uint64_t room = ArrayBytes(text, size, 1);
    return room == 0 ? 0 : std::min<std::uint64_t>(strnlen(text, room) + 1, room);
}

/// A list of (attribute, value) pairs with the value that closes it: EGL_NONE, or GL_NONE in calls of OpenGL ES.
template <class Attrib> std::uint64_t AttribBytes(const Attrib* attribs, Attrib end = 0x3038)
{
    std::uint64_t count = 0;
    while (attribs != nullptr && attribs[count] != end)
        count += 2;
    return attribs == nullptr ? 0 : (count + 1) * sizeof(Attrib);
}

/// Configs that a call wrote into room for `size` of them.
inline std::int64_t WrittenConfigs(std::int64_t size, const std::int32_t* count)
{
    return count != nullptr ? std::min<std::int64_t>(size, *count) : 0;
}

/// Length without terminator of string `i` of an array of strings; `lengths` may be null or hold negative numbers.
inline std::uint64_t StringLength(const char* text, const std::int32_t* lengths, std::int64_t i)
{
    if (text == nullptr)
        return 0;
    return lengths != nullptr && lengths[i] >= 0 ? static_cast<std::uint64_t>(lengths[i]) : std::strlen(text);
}

/// Bytes that an array of strings takes in a record.
std::uint64_t StringsBytes(const char* const* strings, std::int64_t count, const std::int32_t* lengths);

/// An array of `count` arrays; list `i` has `lengths[i]` elements of `elementBytes` bytes.
class Lists {
public:
    Lists(const void* const* lists, std::int64_t count, const std::int32_t* lengths, std::int64_t elementBytes)
        : m_lists(lists), m_count(lengths != nullptr ? ArrayBytes(lists, count, SlotBytes) / SlotBytes : 0),
          m_lengths(lengths), m_elementBytes(elementBytes)
    {
    }
    /// What they take in a record.
    [[nodiscard]] std::uint64_t Bytes() const;
    /// Each slot gets the place of its list, counted from the first slot.
    void Write(std::uint8_t* slots) const;
    [[nodiscard]] const void* Value() const { return m_lists; }

private:
    static constexpr std::uint64_t SlotBytes = 8;
    [[nodiscard]] std::uint64_t BytesOf(std::uint64_t list) const
    {
        return m_elementBytes <= 0 ? 0 : ArrayBytes(m_lists[list], m_lengths[list], m_elementBytes);
    }

    const void* const* m_lists;
    std::uint64_t m_count;
    const std::int32_t* m_lengths;
    std::int64_t m_elementBytes;
};

/// The record of one call, in two steps: before the driver's call with all that goes in, and after it with the results.
/// From Open on, while its contents are read and in the driver, it stands in the capture as the call that the thread is
/// in. Contents of pointer arguments follow the values in the order in which they are added. False: there is no
/// capture, the record is too large, or nothing can be written any more. A record that is not completed is no part of
/// the capture.
///
/// What each call passes on its way is inlined by force, here and in the classes that this one uses: compilers hold it
/// to be too large for hundreds of functions, and the sizes that it is called with are constants of theirs.
class CallRecord {
public:
    static constexpr std::uint64_t LinesAheadBytes = 512;

    CallRecord() = default;
    /// `bytes` includes what goes in.
    [[gnu::always_inline]] CallRecord(Data::CallId id, std::uint32_t fixedBytes, std::uint64_t bytes)
        : m_stream(OwnStream()), m_contents(fixedBytes)
    {
        if (m_stream == nullptr) [[unlikely]]
            return;
        if (thread.stack != 0) [[unlikely]]
            m_stream->CallStack(thread.stack);
        m_at = m_stream->Begin(static_cast<std::uint32_t>(id), bytes);
        if (m_at == nullptr) [[unlikely]] {
            Drop(id);
            return;
        }
        // The process that writes has read this memory: its lines are fetched back before they are needed.
        __builtin_prefetch(m_at + LinesAheadBytes, 1);
        std::memset(m_at + sizeof(Data::RecordHeader), 0, fixedBytes - sizeof(Data::RecordHeader));
    }
    ~CallRecord()
    {
        if (m_isOpen)
            m_stream->Close();
    }
    CallRecord(CallRecord&& other) noexcept
        : m_stream(other.m_stream), m_at(other.m_at), m_contents(other.m_contents),
          m_isOpen(std::exchange(other.m_isOpen, false))
    {
    }
    CallRecord& operator=(const CallRecord&) = delete;

    explicit operator bool() const { return m_at != nullptr; }

    /// The call goes to the driver as soon as its contents are added.
    void Open()
    {
        m_stream->Open();
        m_isOpen = true;
    }
    /// It came back, with `resultBytes` bytes of contents. False: they have no room.
    [[nodiscard, gnu::always_inline]] bool Return(std::uint64_t resultBytes)
    {
        if (m_isOpen) {
            m_stream->Close();
            m_isOpen = false;
        }
        if (m_at != nullptr && resultBytes > 0)
            m_at = m_stream->Grow(m_at, m_contents, m_contents + resultBytes);
        return m_at != nullptr;
    }
    /// The record is complete.
    void End() { m_stream->End(); }

    template <class T> void Put(std::uint32_t at, T value) { std::memcpy(m_at + at, &value, sizeof value); }

    /// A pointer without contents: an offset into a buffer, or a value that nobody reads through.
    void Pointer(std::uint32_t at, const void* value)
    {
        Put(at, Data::PointerSlot{reinterpret_cast<std::uintptr_t>(value), 0, 0});
    }

    /// A pointer and the `bytes` bytes behind it. Contents may be empty; null has none.
    void Contents(std::uint32_t at, const void* data, std::uint64_t bytes)
    {
        if (data != nullptr)
            Place(
                at, data, bytes, [&](std::uint8_t* to) { std::memcpy(to, data, bytes); });
    }

    /// An array of handles: their numbers, 8 bytes each.
    template <class Handle> void Handles(std::uint32_t at, Identifier kind, const Handle* handles, std::uint64_t bytes)
    {
        if (handles == nullptr)
            return;
        Place(at, handles, bytes, [&](std::uint8_t* to) {
            for (std::uint64_t i = 0; i < bytes / sizeof *handles; ++i) {
                const std::uint64_t number = Identify(kind, handles[i]);
                std::memcpy(to + i * sizeof number, &number, sizeof number);
            }
        });
    }

    /// `bytes` are those of the lists.
    void Add(std::uint32_t at, const Lists& lists, std::uint64_t bytes)
    {
        if (lists.Value() != nullptr)
            Place(
                at, lists.Value(), bytes, [&](std::uint8_t* to) { lists.Write(to); });
    }

    /// An array of strings, sized by StringsBytes.
    void Strings(std::uint32_t at, const char* const* strings, std::int64_t count, const std::int32_t* lengths,
                 std::uint64_t bytes);

private:
    /// Until all is there that is behind a pointer, the record has its value alone: a program whose pointer leads
    /// nowhere dies here rather than in the driver.
    template <class Fill> void Place(std::uint32_t at, const void* value, std::uint64_t bytes, Fill fill)
    {
        Pointer(at, value);
        std::uint8_t* const to = m_at + m_contents;
        const std::uint64_t padded = Data::RoundUp8(bytes);
        if (padded != bytes)
            std::memset(to + padded - 8, 0, 8);
        fill(to);
        Put(at, Data::PointerSlot{reinterpret_cast<std::uintptr_t>(value), static_cast<std::uint32_t>(bytes),
                                  static_cast<std::uint32_t>(m_contents)});
        m_contents += padded;
    }

    /// Counts the call as one that could not be recorded.
    static void Drop(Data::CallId id) noexcept;

    RecordStream* m_stream = nullptr;
    std::uint8_t* m_at = nullptr;
    std::uint64_t m_contents = 0;
    bool m_isOpen = false;
};

/// Lives while a call is in the driver that was recorded in front of it.
class LastIsOpen {
public:
    explicit LastIsOpen(bool isRecorded) : m_stream(isRecorded ? OwnStream() : nullptr)
    {
        if (m_stream != nullptr)
            m_stream->OpenLast();
    }
    ~LastIsOpen()
    {
        if (m_stream != nullptr)
            m_stream->CloseLast();
    }
    LastIsOpen(const LastIsOpen&) = delete;
    LastIsOpen& operator=(const LastIsOpen&) = delete;

private:
    RecordStream* const m_stream;
};

/// Makes a call in the driver whose record is written afterwards. Meanwhile `begun` says which call the thread is in.
template <class Call> auto While(const CallRecord& begun, Call call)
{
    static_cast<void>(begun);
    return call();
}

} // namespace Recorder
