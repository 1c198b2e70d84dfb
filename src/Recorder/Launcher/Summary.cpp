#include "Recorder/Launcher/Summary.h"

#include <cstdio>

#include "Data/Capture/CaptureSource.h"
#include "Data/Capture/SummaryCounter.h"
#include "Data/Capture/SummaryReader.h"
#include "Data/Records/CallTable.h"
#include "Data/Records/RecordWalk.h"
#include "Util/Spelling.h"

namespace Recorder {
namespace {

/// The counts at the end of the file or, in a file without them, of what can be read. Trouble goes to `error`.
Data::SummaryCounts Count(Data::CaptureSource& source, const std::string& path, std::string& error)
{
    std::string unused;
    if (const auto counts = Data::ReadSummary(source, unused))
        return *counts;
    Data::Diagnostics diagnostics(path, [&error](const std::string& line) { error = line; });
    Data::SummaryCounter counter(source.Calls());
    Data::WalkRecords(source, diagnostics, [&](const Data::RecordView& record) { counter.Count(record); });
    return counter.Counts();
}

std::string Seconds(std::uint64_t us)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f s", static_cast<double>(us) / 1e6);
    return text;
}

} // namespace

Summary Summarize(const std::string& path)
{
    Summary summary;
    const auto source = Data::CaptureSource::Open(path, summary.error);
    if (!source)
        return summary;
    summary.startTimeUs = source->Header().startTimeUs;
    summary.fileBytes = source->FileBytes();
    summary.isComplete = source->IsComplete();
    summary.timeUs = source->Chunks().empty() ? 0 : source->ChunkTimeUs(source->Chunks().back());
    const Data::SummaryCounts counts = Count(*source, path, summary.error);
    summary.frames = counts.frames;
    summary.calls = counts.calls;
    for (std::size_t id = 0; id < counts.callsById.size(); ++id)
        summary.hasCalls = summary.hasCalls || (counts.callsById[id] != 0 && !Data::IsEGL(source->Calls()[id].name));
    summary.notes.assign(counts.notes.begin(), counts.notes.end());
    summary.end = Data::FindProgramEnd(*source);
    return summary;
}

std::string SizeText(std::uint64_t bytes)
{
    char text[32];
    if (bytes < 1024 * 1024)
        std::snprintf(text, sizeof text, "%.0f KiB", static_cast<double>(bytes) / 1024);
    else
        std::snprintf(text, sizeof text, "%.1f MiB", static_cast<double>(bytes) / (1024 * 1024));
    return text;
}

std::string Describe(const std::string& path, const Summary& summary)
{
    return path + ": " + Util::Counted(summary.frames, "frame") + ", " + Util::Counted(summary.calls, "call") + ", " +
           SizeText(summary.fileBytes) + ", " + Seconds(summary.timeUs) + "\n";
}

std::string DescribeMissing(const Summary& summary)
{
    std::string text;
    // The end of one that is not complete is missing; why, is known to who recorded it.
    if (summary.isComplete && !summary.error.empty())
        text += "  The capture cannot be read to its end: " + summary.error + "\n";
    if (!summary.notes.empty()) {
        text += "  Could not be recorded:\n";
        for (const auto& [what, count] : summary.notes)
            text += "    " + what + " (" + Util::Counted(count, "time") + ")\n";
    }
    return text;
}

} // namespace Recorder
