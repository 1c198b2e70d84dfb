#include "Data/Records/RecordWalk.h"

#include <utility>

namespace Data {

RecordReader::RecordReader(CaptureSource& source, Diagnostics& diagnostics, std::size_t firstChunk)
    : m_source(source), m_diagnostics(diagnostics), m_firstChunk(firstChunk), m_number(firstChunk),
      m_queue(source, Preload::No, firstChunk)
{
    m_diagnostics.position = {};
    m_diagnostics.position.frame = firstChunk > 0 ? source.Chunks()[firstChunk].framesBefore : source.FramesBefore();
}

bool RecordReader::Next()
{
    Position& position = m_diagnostics.position;
    if (m_cursor.Record() && m_cursor.Is(RecordId::FrameEnd)) {
        ++position.frame;
        position.call = 0;
    }
    while (!m_isAtEnd && !m_cursor.Next())
        if (!NextChunk())
            return false;
    if (m_isAtEnd)
        return false;
    position.recordOffset = m_cursor.Offset();
    if (m_cursor.Header().id < FirstBuiltInId)
        ++position.call;
    return true;
}

bool RecordReader::NextChunk()
{
    std::string trouble = m_cursor.IsDamaged() ? m_cursor.Damage() : "";
    if (m_firstChunk > 0 && m_number > m_firstChunk && trouble.empty()) {
        const IndexEntry& entry = m_source.Chunks()[m_number - 1];
        const std::uint32_t found = m_diagnostics.position.frame;
        if (found != entry.framesBefore + entry.frames)
            trouble = "the index is damaged: expected " + std::to_string(entry.framesBefore + entry.frames) +
                      " frames up to chunk " + std::to_string(m_number) + ", found " + std::to_string(found);
    }
    m_queue.Recycle(std::exchange(m_chunk, {}));
    m_cursor = {};
    if (!trouble.empty() || !m_queue.Next(m_chunk, trouble)) {
        End(trouble);
        return false;
    }
    ++m_number;
    m_diagnostics.position.chunkOffset = m_chunk.fileOffset;
    m_cursor = RecordCursor(m_chunk);
    return true;
}

void RecordReader::End(const std::string& trouble)
{
    m_isAtEnd = true;
    m_isWhole = trouble.empty() && m_source.IsComplete();
    if (!trouble.empty())
        m_diagnostics.File(trouble);
    if (!m_isWhole)
        ReportIncomplete(m_diagnostics, m_diagnostics.position.frame);
}

bool WalkRecords(CaptureSource& source, Diagnostics& diagnostics, const std::function<void(const RecordCursor&)>& visit,
                 std::uint32_t frames, std::size_t firstChunk)
{
    diagnostics.position = {};
    if (frames == 0)
        return true;
    RecordReader reader(source, diagnostics, firstChunk);
    while (reader.Next()) {
        visit(reader.Record());
        if (reader.Record().Is(RecordId::FrameEnd) && diagnostics.position.frame + 1 == frames) {
            ++diagnostics.position.frame;
            diagnostics.position.call = 0;
            return true;
        }
    }
    return reader.IsWhole();
}

void ReportIncomplete(Diagnostics& diagnostics, std::uint32_t frames)
{
    diagnostics.File("the capture is incomplete, since the recorded program was killed or the file is damaged: " +
                     std::to_string(frames) + " frames were read");
}

} // namespace Data
