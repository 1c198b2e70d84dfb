#include "Data/Records/RecordWalk.h"

#include "Data/Capture/ChunkQueue.h"

namespace Data {

bool WalkRecords(CaptureSource& source, Diagnostics& diagnostics, const std::function<void(const RecordCursor&)>& visit,
                 std::uint32_t frames, std::size_t firstChunk)
{
    Position& position = diagnostics.position;
    position = {};
    if (frames == 0)
        return true;
    std::size_t number = firstChunk;
    if (firstChunk > 0)
        position.frame = source.Chunks()[firstChunk].framesBefore;
    ChunkQueue queue(source, Preload::No, firstChunk);
    std::string trouble;
    Chunk chunk;
    while (trouble.empty() && queue.Next(chunk, trouble)) {
        position.chunkOffset = chunk.fileOffset;
        RecordCursor cursor(chunk);
        while (cursor.Next()) {
            position.recordOffset = cursor.Offset();
            if (cursor.Header().id < FirstBuiltInId)
                ++position.call;
            visit(cursor);
            if (cursor.Is(RecordId::FrameEnd)) {
                ++position.frame;
                position.call = 0;
                if (position.frame == frames)
                    return true;
            }
        }
        if (cursor.IsDamaged())
            trouble = cursor.Damage();
        const IndexEntry& entry = source.Chunks()[number++];
        if (firstChunk > 0 && trouble.empty() && position.frame != entry.framesBefore + entry.frames)
            trouble = "the index is damaged: expected " + std::to_string(entry.framesBefore + entry.frames) +
                      " frames up to chunk " + std::to_string(number) + ", found " + std::to_string(position.frame);
        queue.Recycle(std::move(chunk));
        chunk = {};
    }
    if (!trouble.empty())
        diagnostics.File(trouble);
    if (trouble.empty() && source.IsComplete())
        return true;
    ReportIncomplete(diagnostics, position.frame);
    return false;
}

void ReportIncomplete(Diagnostics& diagnostics, std::uint32_t frames)
{
    diagnostics.File("the capture is incomplete, since the recorded program was killed or the file is damaged: " +
                     std::to_string(frames) + " frames were read");
}

} // namespace Data
