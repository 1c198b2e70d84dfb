// Writes capture files. Lives in the recorded program, so it never throws and keeps its work on that program's threads
// small.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "Data/Capture/CaptureHeader.h"
#include "Data/Capture/Format.h"

namespace Data {

class ChunkSink;
struct ChunkBuffer;

/// Appends records to a capture. Records are built in place in a chunk buffer; full chunks are compressed and written
/// by a thread of the writer's own.
///
/// Not thread-safe: all calls but Abandon come under one lock of the caller's. Nothing throws. After a failure (disk
/// full, no memory) Begin answers null for ever and Finish says what happened.
class CaptureWriter {
public:
    /// Creates or replaces the file. Null when that fails, with the reason in `error`.
    static std::unique_ptr<CaptureWriter> Create(const std::string& path, const CaptureHeader& header,
                                                 std::string& error) noexcept;
    /// Finishes the file if that was not done.
    ~CaptureWriter();
    CaptureWriter(const CaptureWriter&) = delete;
    CaptureWriter& operator=(const CaptureWriter&) = delete;

    /// Rewrites the header of the file, for what is known only after the start.
    void UpdateHeader(const CaptureHeader& header) noexcept;

    /// The captured thread, numbered from 1, whose records follow.
    void SetThread(std::uint32_t thread)
    {
        if (thread != m_thread) [[unlikely]]
            ChangeThread(thread);
    }

    /// Begins a record of `bytes` bytes, header included, and answers its start, aligned to 8 and zeroed after the
    /// header, which is filled in. The caller writes from offset 8 on and calls End. Null when the record is larger
    /// than maxChunkBytes allows or writing has failed: the record is dropped and End must not be called.
    [[nodiscard]] std::uint8_t* Begin(std::uint32_t id, std::uint64_t bytes)
    {
        bytes = RoundUp8(bytes);
        if (bytes > static_cast<std::uint64_t>(m_end - m_at)) [[unlikely]] {
            if (!MakeRoom(bytes))
                return nullptr;
        }
        m_vertexData = nullptr;
        return Place(id, bytes);
    }
    void End() { m_at += reinterpret_cast<const RecordHeader*>(m_at)->bytes; }

    /// For a copy of another capture: what follows was recorded at this time, in microseconds from the start of the
    /// recording. From the first call on the clock is not asked any more.
    void SetTime(std::uint64_t timeUs) { m_givenTimeUs = timeUs; }

    // Records that are not calls. Each is dropped when Begin would answer null. `surface`, `display` and the like are
    // captured identifiers.

    void BlockStart(std::uint32_t type);
    void BlockEnd(std::uint32_t type);
    /// Counts the frame, and hands the chunk over when it is large or old enough, so that a program that is killed
    /// loses little.
    void FrameEnd();
    void FrameHash(std::uint32_t surface, std::uint32_t width, std::uint32_t height, std::uint64_t hash);
    /// Begins vertices for the draw that follows and answers the place for `dataBytes` bytes; null as Begin. Stays in
    /// one chunk with the draw. `fields` gives all but header and data.
    [[nodiscard]] std::uint8_t* BeginVertexAttribData(const VertexAttribDataRecord& fields, std::uint32_t dataBytes);
    void FlushMappedBufferRange(std::uint32_t target, std::uint32_t offset, const void* data, std::uint32_t bytes);
    void UnmapBuffer(std::uint32_t target, const void* data, std::uint32_t bytes);
    void Note(const char* text, std::uint64_t count);
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
    void EGLImage(RecordId kind, const EGLImageRecord& fields, const void* const (&planeData)[maxImagePlanes]);

    [[nodiscard]] std::uint32_t Frames() const { return m_frames; }
    [[nodiscard]] bool Failed() const;
    /// What failed and why; for after Failed.
    [[nodiscard]] const char* Error() const;

    /// Hands the chunk over now, so that everything recorded so far reaches the file soon.
    void Flush() noexcept;
    /// Writes everything, the index included, and closes the file. False, with the reason in `error`, when something
    /// could not be written. No record may follow.
    bool Finish(std::string& error) noexcept;
    /// In the child of a fork: lets go of the file without writing or waiting. The writer's thread is not there.
    void Abandon() noexcept;

private:
    explicit CaptureWriter(std::unique_ptr<ChunkSink> sink);

    std::uint8_t* Place(std::uint32_t id, std::uint64_t bytes)
    {
        const RecordHeader header{static_cast<std::uint32_t>(bytes), id};
        std::memcpy(m_at, &header, sizeof header);
        return m_at;
    }
    bool MakeRoom(std::uint64_t bytes);
    void ChangeThread(std::uint32_t thread);
    void CloseChunk(std::uint8_t* end);
    [[nodiscard]] std::uint64_t TimeUs() const;
    bool WriteCallTable();
    template <class Record> void Put(RecordId id, Record record);
    template <class Record>
    void Put(RecordId id, Record record, PointerSlot Record::*slot, const void* data, std::uint64_t bytes);

    /// Next record, and end of the chunk buffer; both null between chunks.
    std::uint8_t* m_at = nullptr;
    std::uint8_t* m_end = nullptr;
    /// First of the vertex data records right in front of m_at; null when there is none.
    std::uint8_t* m_vertexData = nullptr;
    std::uint8_t* m_begin = nullptr;
    std::unique_ptr<ChunkBuffer> m_chunk;
    std::uint32_t m_thread = 1;
    std::uint32_t m_frames = 0;
    /// Value of m_frames when the chunk was opened.
    std::uint32_t m_chunkFrames = 0;
    std::uint64_t m_startUs = 0;
    std::optional<std::uint64_t> m_givenTimeUs;
    std::uint64_t m_chunkOpenedUs = 0;
    std::unique_ptr<ChunkSink> m_sink;
};

} // namespace Data
