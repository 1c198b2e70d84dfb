#include "Data/Capture/SummaryCounts.h"

#include <cstring>
#include <utility>

#include "Data/Capture/ReferenceFormat.h"

namespace Data {

namespace {

struct PairEntry {
    std::uint32_t first;
    std::uint32_t second;
};

template <class Range> std::vector<PairEntry> Pairs(const Range& range)
{
    std::vector<PairEntry> pairs;
    for (const auto& [first, second] : range)
        pairs.push_back({first, second});
    return pairs;
}

/// Writes one record after the other.
class Encoder {
public:
    std::vector<std::uint8_t> bytes;

    /// A record of the struct, which begins with its header, and of what follows it.
    template <class Record, class Entry> void Put(SummaryPart part, Record record, const std::vector<Entry>& entries)
    {
        const std::uint64_t size = sizeof record + entries.size() * sizeof(Entry);
        record.header = Header(part, size);
        const std::size_t at = bytes.size();
        bytes.resize(at + record.header.bytes);
        std::memcpy(bytes.data() + at, &record, sizeof record);
        if (!entries.empty())
            std::memcpy(bytes.data() + at + sizeof record, entries.data(), entries.size() * sizeof(Entry));
    }
    template <class Entry> void Put(SummaryPart part, const std::vector<Entry>& entries)
    {
        struct Plain {
            RecordHeader header;
        };
        Put(part, Plain{}, entries);
    }

private:
    static RecordHeader Header(SummaryPart part, std::uint64_t size)
    {
        return {static_cast<std::uint32_t>(RoundUp8(size)), static_cast<std::uint32_t>(part)};
    }
};

void PutReferences(const SummaryCounts& counts, Encoder& encoder)
{
    for (const auto& [driver, summary] : counts.references) {
        const auto rendererBytes = static_cast<std::uint32_t>(summary.renderer.size());
        const auto versionBytes = static_cast<std::uint32_t>(summary.version.size());
        constexpr auto At = static_cast<std::uint32_t>(sizeof(ReferenceSummaryRecord));
        const auto versionAt = static_cast<std::uint32_t>(RoundUp8(At + rendererBytes));
        std::vector<char> texts(summary.renderer.begin(), summary.renderer.end());
        texts.resize(versionAt - At);
        texts.insert(texts.end(), summary.version.begin(), summary.version.end());
        encoder.Put(SummaryPart::References,
                    ReferenceSummaryRecord{{},
                                           driver,
                                           summary.frames,
                                           summary.actions,
                                           summary.pictures,
                                           0,
                                           {0, rendererBytes, At},
                                           {0, versionBytes, versionAt}},
                    texts);
    }
}

} // namespace

std::vector<std::uint8_t> EncodeSummary(const SummaryCounts& counts)
{
    if (counts.byFrame.size() > MaxChunkBytes / sizeof(FrameCounts) / 2)
        return {};
    Encoder encoder;
    SummaryTotals totals = {};
    totals.version = SummaryVersion;
    totals.chunks = static_cast<std::uint32_t>(counts.bindings.size());
    totals.calls = counts.calls;
    totals.stateBlockCalls = counts.stateBlockCalls;
    totals.durationUs = counts.durationUs;
    totals.frames = counts.frames;
    totals.frameHashes = counts.frameHashes;
    totals.hasStateBlock = counts.hasStateBlock ? 1 : 0;
    totals.frameEnd = counts.frameEnd;
    encoder.Put(SummaryPart::Totals, totals, std::vector<std::uint8_t>());

    std::vector<CountEntry> entries;
    for (std::uint32_t id = 0; id < counts.callsById.size(); ++id)
        if (counts.callsById[id] > 0)
            entries.push_back({id, 0, counts.callsById[id]});
    encoder.Put(SummaryPart::Calls, entries);
    entries.clear();
    for (const auto& [thread, calls] : counts.callsByThread)
        entries.push_back({thread, 0, calls});
    encoder.Put(SummaryPart::Threads, entries);
    encoder.Put(SummaryPart::Contexts, Pairs(counts.contexts));
    for (const auto& [surface, summary] : counts.surfaces)
        encoder.Put(SummaryPart::Surface, SurfaceRecord{{}, surface, summary.kind}, Pairs(summary.sizes));
    for (const auto& [note, count] : counts.notes) {
        const PointerSlot text{0, static_cast<std::uint32_t>(note.size()), sizeof(TextRecord)};
        encoder.Put(SummaryPart::Note, TextRecord{{}, count, text}, std::vector(note.begin(), note.end()));
    }
    PutReferences(counts, encoder);
    encoder.Put(SummaryPart::Frames, counts.byFrame);
    for (const std::vector<BindingChange>& changes : counts.bindings)
        encoder.Put(SummaryPart::Bindings, changes);
    if (counts.stacks)
        encoder.Put(SummaryPart::Stacks, *counts.stacks);
    if (encoder.bytes.size() > MaxChunkBytes)
        return {};
    return std::move(encoder.bytes);
}

} // namespace Data
