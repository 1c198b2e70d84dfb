#include "Recorder/Launcher/Summary.h"

#include <algorithm>
#include <cstdio>

#include "Data/Capture/CaptureSource.h"
#include "Data/Records/CallTable.h"
#include "Data/Records/RecordWalk.h"
#include "Util/Spelling.h"

namespace Recorder {
namespace {

void CountNote(const Data::RecordView& record, Summary& summary)
{
    Data::TextRecord note;
    if (record.Read(note) && record.HasContents(note.text)) {
        summary.notes.emplace_back(record.Text(note.text), note.count);
    }
}

/// The notes are the last records of a capture that was finished, in its last chunk or the two last ones.
void ReadNotes(Data::CaptureSource& source, Summary& summary)
{
    Data::Chunk chunk;
    const std::size_t count = source.Chunks().size();
    for (std::size_t i = count - std::min<std::size_t>(count, 2); i < count && summary.error.empty(); ++i) {
        summary.error = source.ReadChunk(source.Chunks()[i], chunk);
        Data::RecordCursor record(chunk);
        while (summary.error.empty() && record.Next()) {
            if (record.Is(Data::RecordId::Note)) {
                CountNote(record, summary);
            }
        }
    }
}

/// For captures that were not finished, and do not say how much is in them.
void CountAll(Data::CaptureSource& source, const std::string& path, Summary& summary)
{
    Data::Diagnostics diagnostics(path, [&summary](const std::string& line) { summary.error = line; });
    const std::vector<Data::FileCall>& calls = source.Calls();
    Data::WalkRecords(source, diagnostics, [&](const Data::RecordCursor& record) {
        const std::uint32_t id = record.Header().id;
        if (id < calls.size()) {
            ++summary.calls;
            summary.eglCalls += Data::IsEGL(calls[id].name) ? 1 : 0;
        }
    });
    summary.frames = diagnostics.position.frame;
}

std::string Size(std::uint64_t bytes)
{
    char text[32];
    if (bytes < 1024 * 1024) {
        std::snprintf(text, sizeof text, "%.0f KiB", static_cast<double>(bytes) / 1024);
    } else {
        std::snprintf(text, sizeof text, "%.1f MiB", static_cast<double>(bytes) / (1024 * 1024));
    }
    return text;
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
    if (!source) {
        return summary;
    }
    summary.startTimeUs = source->Header().startTimeUs;
    summary.fileBytes = source->FileBytes();
    summary.isComplete = source->IsComplete();
    summary.calls = source->Header().calls;
    summary.eglCalls = source->Header().eglCalls;
    summary.timeUs = source->Chunks().empty() ? 0 : source->ChunkTimeUs(source->Chunks().back());
    if (summary.isComplete && summary.calls != 0) {
        summary.frames = source->FrameCount();
        ReadNotes(*source, summary);
        summary.end = Data::FindProgramEnd(*source);
    } else {
        CountAll(*source, path, summary);
    }
    return summary;
}

std::string Describe(const std::string& path, const Summary& summary)
{
    std::string text = path + ": " + Util::Counted(summary.frames, "frame") + ", " +
                       Util::Counted(summary.calls, "call") + ", " + Size(summary.fileBytes) + ", " +
                       Seconds(summary.timeUs) + "\n";
    // The end of one that is not complete is missing; why, is known to who recorded it.
    if (summary.isComplete && !summary.error.empty()) {
        text += "  The capture cannot be read to its end: " + summary.error + "\n";
    }
    if (!summary.notes.empty()) {
        text += "  Could not be recorded:\n";
        for (const auto& [what, count] : summary.notes) {
            text += "    " + what + " (" + Util::Counted(count, "time") + ")\n";
        }
    }
    return text;
}

} // namespace Recorder
