#include "Tools/Info/CaptureSummary.h"

#include <algorithm>

#include "Data/Capture/SummaryCounter.h"
#include "Data/Capture/SummaryReader.h"
#include "Data/Records/RecordWalk.h"

namespace Tools {

namespace {

CaptureSummary Begin(const Data::CaptureSource& source, const Data::Diagnostics& diagnostics)
{
    CaptureSummary summary;
    summary.path = diagnostics.FileName();
    summary.fileBytes = source.FileBytes();
    summary.header = source.Header();
    return summary;
}

void NameCalls(const Data::CaptureSource& source, CaptureSummary& summary)
{
    for (std::size_t id = 0; id < source.Calls().size(); ++id)
        if (const std::uint64_t calls = summary.counts.callsById[id]; calls > 0)
            summary.callsByName[source.Calls()[id].name] += calls;
}

} // namespace

CaptureSummary Summarize(Data::CaptureSource& source, Data::Diagnostics& diagnostics, SummaryUse use)
{
    CaptureSummary summary = Begin(source, diagnostics);
    std::string trouble;
    auto known = use == SummaryUse::Believe ? Data::ReadSummary(source, trouble) : std::nullopt;
    if (!trouble.empty())
        diagnostics.File("the summary at the end is not used, and the capture counted by reading it: " + trouble);
    if (known) {
        summary.counts = std::move(*known);
        summary.isComplete = true;
    } else {
        Data::SummaryCounter counter(source.Calls());
        summary.isComplete =
            Data::WalkRecords(source, diagnostics, [&](const Data::RecordView& record) { counter.Count(record); });
        summary.counts = counter.Counts();
    }
    summary.allFrames = summary.counts.frames;
    summary.end = Data::FindProgramEnd(source);
    NameCalls(source, summary);
    return summary;
}

CaptureSummary Summarize(Data::CaptureSource& source, Data::Diagnostics& diagnostics, Util::FrameRange range)
{
    CaptureSummary summary = Begin(source, diagnostics);
    summary.firstFrame = range.first;
    summary.allFrames = source.FrameCount();
    std::uint64_t startUs = 0;
    Data::SummaryCounter counter(source.Calls());
    const auto visit = [&](const Data::RecordView& record) {
        if (diagnostics.position.frame + 1 >= range.first || record.Is(Data::RecordId::Thread))
            counter.Count(record);
        else if (Data::FrameEndRecord end; record.Is(Data::RecordId::FrameEnd) && record.Read(end))
            startUs = end.timeUs;
    };
    summary.isComplete = Data::WalkRecords(source, diagnostics, visit, range.last, source.ChunkOfFrame(range.first)) &&
                         source.IsComplete();
    summary.counts = counter.Counts();
    summary.counts.durationUs -= std::min(startUs, summary.counts.durationUs);
    NameCalls(source, summary);
    return summary;
}

} // namespace Tools
