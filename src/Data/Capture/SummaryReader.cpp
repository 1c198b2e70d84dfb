#include "Data/Capture/SummaryReader.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "Data/Capture/ReferenceFormat.h"
#include "Data/Records/RecordCursor.h"

namespace Data {

namespace {

std::string Differs(const char* what, std::uint64_t expected, std::uint64_t found)
{
    return std::string("expected ") + std::to_string(expected) + " " + what + ", found " + std::to_string(found);
}

/// Reads the records of a summary one by one, then compares them with one another and with the file.
class Decoder {
public:
    explicit Decoder(const CaptureSource& source) : m_source(source)
    {
        m_counts.byFrame.clear();
        m_counts.callsById.resize(source.Calls().size());
    }

    /// False for a record that cannot be.
    bool Read(const RecordView& record)
    {
        const auto part = static_cast<SummaryPart>(record.Header().id);
        if (part != SummaryPart::Surface && part != SummaryPart::Note && part != SummaryPart::Bindings &&
            part != SummaryPart::References && (m_seen >> (record.Header().id % 32) & 1) != 0)
            return false;
        m_seen |= 1u << record.Header().id % 32;
        switch (part) {
        case SummaryPart::Totals:
            return ReadTotals(record);
        case SummaryPart::Calls:
            return ReadCalls(record);
        case SummaryPart::Threads:
            return ReadThreads(record);
        case SummaryPart::Contexts:
            for (const auto& [context, shared] : Entries<Pair>(record, sizeof(RecordHeader)))
                m_counts.contexts[context] = shared;
            return true;
        case SummaryPart::Surface:
            return ReadSurface(record);
        case SummaryPart::Note:
            return ReadNote(record);
        case SummaryPart::References:
            return ReadReferences(record);
        case SummaryPart::Frames:
            m_counts.byFrame = Entries<FrameCounts>(record, sizeof(RecordHeader));
            return true;
        case SummaryPart::Bindings:
            m_counts.bindings.push_back(Entries<BindingChange>(record, sizeof(RecordHeader)));
            return true;
        case SummaryPart::Stacks:
            m_counts.stacks = Entries<CountEntry>(record, sizeof(RecordHeader));
            return std::ranges::all_of(*m_counts.stacks,
                                       [&](const CountEntry& entry) { return entry.key < m_source.Chunks().size(); });
        }
        return true;
    }

    /// What contradicts; empty when all fits together.
    [[nodiscard]] std::string Check() const
    {
        if (m_counts.frames != m_source.FrameCount())
            return Differs("frames", m_source.FrameCount(), m_counts.frames);
        if (m_counts.byFrame.size() != std::size_t{m_counts.frames} + 1)
            return Differs("counts of frames", std::size_t{m_counts.frames} + 1, m_counts.byFrame.size());
        for (const std::uint64_t chunks : {std::uint64_t{m_chunks}, std::uint64_t{m_counts.bindings.size()}})
            if (chunks != m_source.Chunks().size())
                return Differs("chunks of records", m_source.Chunks().size(), chunks);
        std::uint32_t frames = 0;
        for (const IndexEntry& chunk : m_source.Chunks()) {
            if (chunk.framesBefore != frames)
                return Differs("frames in front of a chunk", frames, chunk.framesBefore);
            frames += chunk.frames;
        }
        std::uint64_t calls = m_source.Header().calls;
        if (calls != 0 && m_counts.calls != calls)
            return Differs("calls", calls, m_counts.calls);
        calls = m_counts.stateBlockCalls;
        for (const FrameCounts& frame : m_counts.byFrame) {
            calls += frame.calls;
            if (frame.draws > m_counts.calls)
                return Differs("draws in a frame at most", m_counts.calls, frame.draws);
        }
        for (const std::uint64_t sum : {calls, m_callsByName, m_callsByThread})
            if (sum != m_counts.calls)
                return Differs("calls", m_counts.calls, sum);
        return {};
    }

    [[nodiscard]] std::uint32_t Version() const { return m_version; }
    SummaryCounts Take() { return std::move(m_counts); }

private:
    using Pair = std::pair<std::uint32_t, std::uint32_t>;

    /// What lies in the record from `from` on; what is less than an entry is padding.
    template <class Entry> static std::vector<Entry> Entries(const RecordView& record, std::size_t from)
    {
        const std::span<const std::uint8_t> bytes = record.Bytes().subspan(from);
        std::vector<Entry> entries(bytes.size() / sizeof(Entry));
        if (!entries.empty())
            std::memcpy(static_cast<void*>(entries.data()), bytes.data(), entries.size() * sizeof(Entry));
        return entries;
    }

    bool ReadTotals(const RecordView& record)
    {
        SummaryTotals totals;
        if (!record.Read(totals))
            return false;
        m_version = totals.version;
        m_chunks = totals.chunks;
        m_counts.calls = totals.calls;
        m_counts.stateBlockCalls = totals.stateBlockCalls;
        m_counts.durationUs = totals.durationUs;
        m_counts.frames = totals.frames;
        m_counts.frameHashes = totals.frameHashes;
        m_counts.hasStateBlock = totals.hasStateBlock != 0;
        m_counts.frameEnd = totals.frameEnd;
        return true;
    }
    bool ReadCalls(const RecordView& record)
    {
        for (const CountEntry& entry : Entries<CountEntry>(record, sizeof(RecordHeader))) {
            if (entry.key >= m_counts.callsById.size() || m_counts.callsById[entry.key] != 0)
                return false;
            m_counts.callsById[entry.key] = entry.count;
            m_callsByName += entry.count;
        }
        return true;
    }
    bool ReadThreads(const RecordView& record)
    {
        for (const CountEntry& entry : Entries<CountEntry>(record, sizeof(RecordHeader))) {
            m_counts.callsByThread[entry.key] += entry.count;
            m_callsByThread += entry.count;
        }
        return true;
    }
    bool ReadSurface(const RecordView& record)
    {
        SurfaceRecord surface;
        if (!record.Read(surface) || surface.kind > SurfaceKind::Pixmap)
            return false;
        m_counts.surfaces[surface.surface] = {surface.kind, Entries<Pair>(record, sizeof surface)};
        return true;
    }
    bool ReadNote(const RecordView& record)
    {
        TextRecord note;
        if (!record.Read(note) || !record.HasContents(note.text))
            return false;
        m_counts.notes[std::string(record.Text(note.text))] += note.count;
        return true;
    }
    bool ReadReferences(const RecordView& record)
    {
        ReferenceSummaryRecord reference;
        if (!record.Read(reference) || reference.driver > MaxReferenceDrivers ||
            !record.HasContents(reference.renderer) || !record.HasContents(reference.version) ||
            m_counts.references.contains(reference.driver))
            return false;
        m_counts.references[reference.driver] = {std::string(record.Text(reference.renderer)),
                                                 std::string(record.Text(reference.version)), reference.frames,
                                                 reference.actions, reference.pictures};
        return true;
    }

    const CaptureSource& m_source;
    SummaryCounts m_counts;
    /// Bit i: a record of this part came.
    std::uint32_t m_seen = 0;
    std::uint32_t m_version = 0;
    std::uint32_t m_chunks = 0;
    std::uint64_t m_callsByName = 0;
    std::uint64_t m_callsByThread = 0;
};

} // namespace

std::optional<SummaryCounts> ReadSummary(CaptureSource& source, std::string& trouble)
{
    Chunk chunk;
    return source.ReadSummary(chunk, trouble) ? DecodeSummary(chunk, source, trouble) : std::nullopt;
}

std::optional<SummaryCounts> DecodeSummary(const Chunk& chunk, const CaptureSource& source, std::string& trouble)
{
    Decoder decoder(source);
    RecordCursor cursor(chunk);
    while (cursor.Next()) {
        if (!decoder.Read(cursor)) {
            trouble = "record " + std::to_string(cursor.Header().id) + " at " + std::to_string(cursor.Offset()) +
                      " cannot be";
            return std::nullopt;
        }
        if (decoder.Version() != SummaryVersion)
            return std::nullopt;
    }
    trouble = cursor.IsDamaged() ? cursor.Damage() : decoder.Check();
    if (!trouble.empty())
        return std::nullopt;
    return decoder.Take();
}

} // namespace Data
