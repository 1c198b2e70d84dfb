// All records of a capture, for tools that list or count them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>

#include "Data/Capture/CaptureSource.h"
#include "Data/Capture/ChunkQueue.h"
#include "Data/Diagnostics.h"
#include "Data/Records/RecordCursor.h"

namespace Data {

/// Reads record after record; `diagnostics.position` says where the one at hand is. Stops where the capture is damaged.
class RecordReader {
public:
    /// From chunk `firstChunk` on: how many frames lie in front of it is as the index says, and a chunk that has more
    /// or less of them than the index says is reported.
    RecordReader(CaptureSource& source, Diagnostics& diagnostics, std::size_t firstChunk = 0);

    /// Moves to the next record. False at the end, and where the capture is damaged, which is reported.
    bool Next();
    /// The record at hand, valid until the next one.
    [[nodiscard]] const RecordCursor& Record() const { return m_cursor; }
    /// Chunks that were begun: what is kept of a record in an earlier one points to nothing.
    [[nodiscard]] std::size_t ChunksBegun() const { return m_number - m_firstChunk; }
    /// After the last record: the capture was read to its end, and has one. If not, that was reported.
    [[nodiscard]] bool IsWhole() const { return m_isWhole; }

private:
    bool NextChunk();
    void End(const std::string& trouble);

    CaptureSource& m_source;
    Diagnostics& m_diagnostics;
    std::size_t m_firstChunk;
    /// Of the chunk after the one at hand.
    std::size_t m_number;
    Chunk m_chunk;
    RecordCursor m_cursor;
    bool m_isWhole = false;
    bool m_isAtEnd = false;
    /// Last, so that its thread ends first.
    ChunkQueue m_queue;
};

/// Visits every record in order, or those of the first `frames` frames, from chunk `firstChunk` on. False when the
/// capture could not be read that far, or to its end, which is reported.
bool WalkRecords(CaptureSource& source, Diagnostics& diagnostics, const std::function<void(const RecordCursor&)>& visit,
                 std::uint32_t frames = std::numeric_limits<std::uint32_t>::max(), std::size_t firstChunk = 0);

/// Reports a capture without its end, of which `frames` frames were read.
void ReportIncomplete(Diagnostics& diagnostics, std::uint32_t frames);

} // namespace Data
