// Writes capture files. May live in the recorded program, so it never throws and keeps its work on that program's
// threads small.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Data/Capture/CaptureHeader.h"
#include "Data/Capture/RecordWriter.h"
#include "Data/Capture/SimilarContents.h"

namespace Data {

class ChunkSink;
struct ChunkBuffer;

/// CLOCK_MONOTONIC in microseconds.
[[nodiscard]] std::uint64_t MonotonicUs() noexcept;
/// CLOCK_REALTIME in microseconds, as headers have it.
[[nodiscard]] std::uint64_t RealTimeUs() noexcept;

/// Appends records to a capture. Records are built in place in a chunk buffer; full chunks are compressed and written
/// by a thread of the writer's own.
///
/// Not thread-safe: all calls but Abandon come under one lock of the caller's. Nothing throws. After a failure (disk
/// full, no memory) Begin answers null for ever and Finish says what happened.
class CaptureWriter : public RecordWriter {
public:
    /// Creates or replaces the file. Null when that fails, with the reason in `error`.
    static std::unique_ptr<CaptureWriter> Create(const std::string& path, const CaptureHeader& header,
                                                 std::string& error) noexcept;
    /// Finishes the file if that was not done.
    ~CaptureWriter() override;

    /// Rewrites the header of the file, for what is known only after the start.
    void UpdateHeader(const CaptureHeader& header) noexcept;

    /// The captured thread, numbered from 1, whose records follow.
    void SetThread(std::uint32_t thread)
    {
        if (thread != m_thread) [[unlikely]]
            ChangeThread(thread);
    }

    /// For a copy of another capture: what follows was recorded at this time, in microseconds from the start of the
    /// recording. From the first call on the clock is not asked any more.
    void SetTime(std::uint64_t timeUs) { m_givenTimeUs = timeUs; }

    /// The recording began at this time, as MonotonicUs has it, and not when the writer was made.
    void SetStart(std::uint64_t startUs) { m_startUs = startUs; }

    /// Counts the frame, and hands the chunk over when it is large or old enough, so that a recorder that is killed
    /// loses little.
    void FrameEnd();
    /// The same for a frame that ended at `timeUs`.
    void FrameEnd(std::uint64_t timeUs);
    void FrameHash(std::uint32_t surface, std::uint32_t width, std::uint32_t height, std::uint64_t hash)
    {
        PutFrameHash(m_frames + 1, surface, width, height, hash);
    }
    /// A record as another writer or a capture has it, other than FrameEnd. What goes with a call stays with it.
    void Copy(const std::uint8_t* record);
    /// As Copy for records that lie one after the other, the last one a call: `bytes` bytes, at most ChunkBytes.
    /// Contents that come again are found by Copy alone, in records of at least SimilarContents::LeastBytes.
    void CopyAll(const std::uint8_t* records, std::uint64_t bytes);

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

    std::uint8_t* PlaceElsewhere(std::uint32_t id, std::uint64_t bytes) override;
    void ChangeThread(std::uint32_t thread);
    void CloseChunk(std::uint8_t* end);
    void CopyContents(const std::uint8_t* record, const RecordHeader& header, std::uint8_t* at);
    /// Contents in large records are more of the chunk than the rest.
    [[nodiscard]] bool IsContents() const;
    [[nodiscard]] bool IsChunkLarge() const;
    [[nodiscard]] std::uint64_t TimeUs() const;
    bool WriteCallTable();

    std::uint8_t* m_begin = nullptr;
    std::unique_ptr<ChunkBuffer> m_chunk;
    SimilarContents m_similar;
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
