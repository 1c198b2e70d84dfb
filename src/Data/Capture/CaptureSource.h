// A capture file as a sequence of chunks.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Data/Capture/CaptureHeader.h"
#include "Data/Capture/ChunkPacker.h"
#include "Data/Capture/Format.h"
#include "Data/Records/CallTable.h"

namespace Data {

/// One chunk in memory, as it was before compression. The memory is private: adapters and drivers write to it.
struct Chunk {
    std::unique_ptr<std::uint64_t[]> memory;
    std::size_t capacity = 0;
    std::uint32_t bytes = 0;
    std::uint64_t fileOffset = 0;

    [[nodiscard]] std::uint8_t* Data() const { return reinterpret_cast<std::uint8_t*>(memory.get()); }
};

/// Opens a capture, checks what all of it depends on, and reads chunks. Nothing in the file is believed: each size is
/// checked before memory is allocated for it. ReadChunk may run on another thread than the other members.
class CaptureSource {
public:
    /// Null, with a reason, when nothing of the file can be read.
    static std::unique_ptr<CaptureSource> Open(const std::string& path, std::string& error);
    /// A snapshot, which is a capture of one empty frame that sets up what the frames up to it left behind, and after
    /// it the rest of the capture that it was made of. Frames and their calls count as in that capture.
    static std::unique_ptr<CaptureSource> OpenAt(const std::string& snapshot, const std::string& capture,
                                                 std::string& error);
    ~CaptureSource();
    CaptureSource(const CaptureSource&) = delete;
    CaptureSource& operator=(const CaptureSource&) = delete;

    /// Adds the chunks of another file, in which the same recording goes on, as if they were of this one. Before chunks
    /// are read. Empty when that went well, else what is wrong with that file, which it names.
    std::string Continue(const std::string& path);

    [[nodiscard]] const CaptureHeader& Header() const { return m_header; }
    [[nodiscard]] const std::vector<FileCall>& Calls() const { return m_calls; }
    /// The call of a record; nothing for other records, and when this program does not know it.
    [[nodiscard]] std::optional<CallId> CallOf(const RecordHeader& header) const
    {
        const std::uint32_t known = header.id < m_calls.size() ? m_calls[header.id].known : callCount;
        return known < callCount ? std::optional(static_cast<CallId>(known)) : std::nullopt;
    }
    /// The chunks of records, in order.
    [[nodiscard]] const std::vector<IndexEntry>& Chunks() const { return m_chunks; }
    /// Of the first file.
    [[nodiscard]] std::uint64_t FileBytes() const { return m_fileBytes; }
    /// Frames in front of the first chunk: of a snapshot, those that it stands for but the last one.
    [[nodiscard]] std::uint32_t FramesBefore() const { return m_framesBefore; }
    /// Whole frames up to the last chunk, as the file says.
    [[nodiscard]] std::uint32_t FrameCount() const;
    /// Number of the chunk, from 0, in which a frame begins, counted from 1; 0 where the index does not say.
    [[nodiscard]] std::size_t ChunkOfFrame(std::uint32_t frame) const;
    /// False for a file without its end: the chunks are those that could be found.
    [[nodiscard]] bool IsComplete() const { return m_isComplete; }

    /// Reads and decompresses a chunk of records. Empty when that went well, else what is wrong with it.
    std::string ReadChunk(const IndexEntry& entry, Chunk& chunk);
    /// Reads the summary of a complete file. False when it has none, and with a reason in `trouble` when that cannot be
    /// read.
    bool ReadSummary(Chunk& chunk, std::string& trouble);
    /// Microseconds from the start of the recording to the end of a chunk; 0 when its header cannot be read.
    [[nodiscard]] std::uint64_t ChunkTimeUs(const IndexEntry& entry) const;

private:
    struct Continuation {
        std::unique_ptr<CaptureSource> source;
        /// What its offsets are counted from in m_chunks.
        std::uint64_t begin;
        /// Added to its times, which count from the start of the recording, for the times of the first file.
        std::int64_t shiftUs;
        /// Frames at the beginning of its first chunk that are left out.
        std::uint32_t skippedFrames = 0;
        /// Its calls by the numbers of the first file's table; empty where both tables are the same.
        std::vector<std::uint32_t> calls = {};
    };

    CaptureSource() = default;
    std::string GoOnIn(std::unique_ptr<CaptureSource> capture);
    [[nodiscard]] std::uint64_t NextBegin() const;
    [[nodiscard]] std::vector<std::uint32_t> CallsBy(const std::vector<FileCall>& others) const;
    std::string ReadContinued(const Continuation& next, const IndexEntry& entry, Chunk& chunk);
    std::string ReadHeader();
    std::string ReadCallTable();
    bool ReadIndex();
    void FindChunks();
    std::string ReadChunkHeader(std::uint64_t offset, ChunkHeader& header) const;
    std::string ReadChunkAt(std::uint64_t offset, ChunkKind kind, Chunk& chunk, ChunkHeader& header);
    bool ReadAt(void* data, std::size_t bytes, std::uint64_t offset) const;

    int m_fd = -1;
    std::uint64_t m_fileBytes = 0;
    CaptureHeader m_header;
    std::vector<FileCall> m_calls;
    std::vector<IndexEntry> m_chunks;
    bool m_isComplete = false;
    std::uint32_t m_framesBefore = 0;
    /// First byte after the call table.
    std::uint64_t m_recordsOffset = 0;
    /// Of a complete file.
    std::uint64_t m_indexOffset = 0;
    ChunkUnpacker m_unpacker;
    /// A chunk as it lies in the file.
    Scratch m_stored;
    std::vector<Continuation> m_continuations;
};

} // namespace Data
