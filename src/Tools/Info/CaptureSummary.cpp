#include "Tools/Info/CaptureSummary.h"

#include "Data/Capture/SummaryCounter.h"
#include "Data/Capture/SummaryReader.h"
#include "Data/Records/RecordWalk.h"

namespace Tools {

CaptureSummary Summarize(Data::CaptureSource& source, Data::Diagnostics& diagnostics, SummaryUse use)
{
    CaptureSummary summary;
    summary.path = diagnostics.FileName();
    summary.fileBytes = source.FileBytes();
    summary.header = source.Header();
    std::string trouble;
    const auto known = use == SummaryUse::Believe ? Data::ReadSummary(source, trouble) : nullptr;
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
    for (std::size_t id = 0; id < source.Calls().size(); ++id) {
        if (const std::uint64_t calls = summary.counts.callsById[id]; calls > 0)
            summary.callsByName[source.Calls()[id].name] += calls;
    }
    return summary;
}

} // namespace Tools
