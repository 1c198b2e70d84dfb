#include "Data/Records/ProgramEnd.h"

#include <algorithm>

#include "Data/Capture/CaptureSource.h"
#include "Data/Records/RecordCursor.h"

namespace Data {

namespace {

/// More threads are not told of.
constexpr std::size_t MaxUnfinished = 256;

/// Follows the records from a chunk with a frame's end on.
class EndReader {
public:
    explicit EndReader(const CaptureSource& source) : m_source(source) {}

    /// False at damage.
    bool Read(const Chunk& chunk)
    {
        RecordCursor record(chunk);
        while (record.Next())
            Visit(record);
        return !record.IsDamaged();
    }
    void SetFrames(std::uint32_t frames) { m_frames = frames; }
    [[nodiscard]] const ProgramEnd& Found() const { return m_end; }

private:
    void Visit(const RecordCursor& record)
    {
        const std::uint32_t id = record.Header().id;
        if (id < FirstBuiltInId) {
            ++m_call;
            m_lastCall = id;
        } else if (record.Is(RecordId::FrameEnd)) {
            ++m_frames;
            m_call = 0;
        } else if (ThreadRecord thread; record.Is(RecordId::Thread) && record.Read(thread)) {
            m_thread = thread.thread;
        } else if (record.Is(RecordId::Unfinished)) {
            AddUnfinished(record, m_source.Calls(),
                          {NameOfCall(m_source.Calls(), m_lastCall), m_frames + 1, m_call, m_thread}, m_end);
        } else if (ProgramEndRecord end; record.Is(RecordId::ProgramEnd) && record.Read(end)) {
            m_end.isKnown = true;
            m_end.kind = end.kind;
            m_end.value = end.value;
        }
    }

    const CaptureSource& m_source;
    ProgramEnd m_end;
    std::uint32_t m_frames = 0;
    std::uint32_t m_call = 0;
    std::uint32_t m_lastCall = 0;
    std::uint32_t m_thread = 0;
};

std::string SignalText(std::uint32_t signal)
{
    const char* const name = sigabbrev_np(static_cast<int>(signal));
    return name ? std::string("SIG") + name : "signal " + std::to_string(signal);
}

} // namespace

std::string NameOfCall(const std::vector<FileCall>& calls, std::uint32_t id)
{
    return id < calls.size() ? calls[id].name : "a call";
}

RecordCursor UnfinishedRecords(const RecordCursor& record)
{
    UnfinishedRecord unfinished;
    if (!record.Is(RecordId::Unfinished) || !record.Read(unfinished) || !record.HasContents(unfinished.records))
        return {};
    return {record.Record() + unfinished.records.offset, unfinished.records.bytes, 0};
}

void AddUnfinished(const RecordCursor& record, const std::vector<FileCall>& calls, UnfinishedCall last, ProgramEnd& end)
{
    RecordCursor inner = UnfinishedRecords(record);
    bool isInFront = true;
    while (end.calls.size() < MaxUnfinished && inner.Next()) {
        if (const std::uint32_t id = inner.Header().id; id < FirstBuiltInId) {
            ++last.call;
            last.name = NameOfCall(calls, id);
            end.calls.push_back(last);
            isInFront = false;
        }
    }
    if (isInFront && end.calls.size() < MaxUnfinished)
        end.calls.push_back(last);
}

ProgramEnd FindProgramEnd(CaptureSource& source)
{
    const std::vector<IndexEntry>& chunks = source.Chunks();
    const auto lastEnd =
        std::find_if(chunks.rbegin(), chunks.rend(), [](const IndexEntry& chunk) { return chunk.frames > 0; });
    const std::size_t first = lastEnd == chunks.rend() ? 0 : static_cast<std::size_t>(chunks.rend() - lastEnd) - 1;
    EndReader reader(source);
    if (!chunks.empty())
        reader.SetFrames(chunks[first].framesBefore);
    Chunk chunk;
    for (std::size_t i = first; i < chunks.size(); ++i)
        if (!source.ReadChunk(chunks[i], chunk).empty() || !reader.Read(chunk))
            break;
    return reader.Found();
}

std::string Describe(const ProgramEnd& end)
{
    std::string text = end.kind == ProgramEndKind::Signal ? "died by " + SignalText(end.value)
                       : end.kind == ProgramEndKind::Exited
                           ? "ended with status " + std::to_string(end.value) + ", without its exit handlers"
                       : end.kind == ProgramEndKind::Replaced ? "became another program"
                                                              : "was killed, or ended without its exit handlers";
    for (const UnfinishedCall& call : end.calls) {
        text += (&call == &end.calls.front() ? " in " : " and ") + call.name + ", frame " + std::to_string(call.frame) +
                ", call " + std::to_string(call.call) + ", thread " + std::to_string(call.thread);
    }
    return text;
}

} // namespace Data
