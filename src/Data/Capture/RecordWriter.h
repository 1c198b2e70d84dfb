// Builds records in place, in memory that the kinds of writers provide. Part of it lives in the recorded program, so
// nothing here throws.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "Data/Capture/Format.h"
#include "Data/Capture/ReferenceFormat.h"

namespace Data {

/// The start of each record, and the records that are not calls.
///
/// Not thread-safe.
class RecordWriter {
public:
    virtual ~RecordWriter() = default;
    RecordWriter(const RecordWriter&) = delete;
    RecordWriter& operator=(const RecordWriter&) = delete;

    /// Begins a record of `bytes` bytes, header included, and answers its start, aligned to 8. The header is filled in
    /// and the last 8 bytes are zeroed; the caller writes the rest from offset 8 on and calls End. Null when the record
    /// is larger than MaxChunkBytes allows or nothing can be written any more: the record is dropped and End must not
    /// be called.
    [[nodiscard, gnu::always_inline]] std::uint8_t* Begin(std::uint32_t id, std::uint64_t bytes)
    {
        std::uint8_t* const at = Place(id, RoundUp8(bytes));
        m_ahead = nullptr;
        return at;
    }
    void End() { m_at += reinterpret_cast<const RecordHeader*>(m_at)->bytes; }

    // Records that are not calls. Each is dropped when Begin would answer null. `surface`, `display` and the like are
    // captured identifiers.

    /// The thread of the records that follow.
    void Thread(std::uint32_t thread);
    void BlockStart(std::uint32_t type);
    void BlockEnd(std::uint32_t type);
    /// `timeUs` counts from the start of the recording.
    void PutFrameEnd(std::uint64_t timeUs);
    /// `frame` counts from 1.
    void PutFrameHash(std::uint32_t frame, std::uint32_t surface, std::uint32_t width, std::uint32_t height,
                      std::uint64_t hash);
    /// `picture` gives all but the header.
    void PutFramePicture(const FramePictureRecord& picture);
    void ReferenceDriver(std::uint32_t driver, std::string_view renderer, std::string_view version);
    /// `hash` gives all but the header.
    void PutReferenceHash(const ReferenceHashRecord& hash);
    /// `fields` gives all but header and picture.
    void ReferencePicture(const ReferencePictureRecord& fields, std::span<const std::uint8_t> png);
    /// Begins vertices for the draw that follows and answers the place for `dataBytes` bytes; null as Begin. Stays in
    /// one chunk with the draw. `fields` gives all but header and data.
    [[nodiscard]] std::uint8_t* BeginVertexAttribData(const VertexAttribDataRecord& fields, std::uint32_t dataBytes);
    void FlushMappedBufferRange(std::uint32_t target, std::uint32_t offset, const void* data, std::uint32_t bytes);
    void UnmapBuffer(std::uint32_t target, const void* data, std::uint32_t bytes);
    /// A call that had begun and not returned when the program ended: its record, and those that belong to it in front.
    void Unfinished(const void* records, std::uint32_t bytes);
    void ProgramEnd(ProgramEndKind kind, std::uint32_t value);
    void Note(const char* text, std::uint64_t count);
    /// `fields` gives all but header and contents; `buildId` and `path` are cut at what the format allows.
    void Module(const ModuleRecord& fields, std::span<const std::uint8_t> buildId, std::string_view path);
    void Stack(std::uint32_t stack, std::span<const StackFrame> frames);
    /// The call that follows came from `stack`. Stays in one chunk with it.
    void CallStack(std::uint32_t stack);
    void WindowSize(std::uint32_t display, std::uint32_t surface, std::uint32_t width, std::uint32_t height);
    /// `attribs` holds `count` values, the closing EGL_NONE included.
    void ConfigAttribs(std::uint32_t display, std::uint32_t config, const std::int32_t* attribs, std::uint32_t count);
    void SurfaceAttribs(std::uint32_t display, std::uint32_t surface, const std::int32_t* attribs, std::uint32_t count);
    /// TextAscii, TextXml, TextJson or DisplayMessage.
    void Text(RecordId kind, const char* text);
    /// DefaultColor, DefaultDepth or DefaultStencil. `fields` gives all but header and data.
    void DefaultBuffer(RecordId kind, const DefaultBufferRecord& fields, const void* data, std::uint32_t bytes);
    void MultisampleTexture(const MultisampleTextureRecord& fields, const void* data, std::uint32_t bytes);
    /// EGLImageCreate or EGLImageContent; the planes' data slots are filled in from `planeData`, which may hold nulls.
    void EGLImage(RecordId kind, const EGLImageRecord& fields, const void* const (&planeData)[MaxImagePlanes]);

protected:
    RecordWriter() = default;

    /// As Begin, for a record that does not end what goes with the next call. `bytes` is a multiple of 8.
    [[gnu::always_inline]] std::uint8_t* Place(std::uint32_t id, std::uint64_t bytes)
    {
        if (bytes > static_cast<std::uint64_t>(m_end - m_at)) [[unlikely]]
            return PlaceElsewhere(id, bytes);
        return PlaceAt(m_at, id, bytes);
    }
    [[gnu::always_inline]] static std::uint8_t* PlaceAt(std::uint8_t* at, std::uint32_t id, std::uint64_t bytes)
    {
        const RecordHeader header{static_cast<std::uint32_t>(bytes), id};
        std::memset(at + bytes - sizeof header, 0, sizeof header);
        std::memcpy(at, &header, sizeof header);
        return at;
    }
    /// Places a record that has no room between m_at and m_end. Null as Begin.
    virtual std::uint8_t* PlaceElsewhere(std::uint32_t id, std::uint64_t bytes) = 0;

    /// Next record, and end of the room for it; both null where there is none.
    std::uint8_t* m_at = nullptr;
    std::uint8_t* m_end = nullptr;
    /// First of the records right in front of m_at that go with the next call; null when there is none.
    std::uint8_t* m_ahead = nullptr;

private:
    template <class Record> void Put(RecordId id, Record record);
    template <class Record>
    void Put(RecordId id, Record record, PointerSlot Record::*slot, const void* data, std::uint64_t bytes);
};

} // namespace Data
