#include "Recorder/Launcher/Summary.h"

#include <cstdio>

#include "Data/CaptureSource.h"
#include "Data/RecordWalk.h"

namespace Recorder {
namespace {

void CountNote(const Data::RecordCursor& record, Summary& summary)
{
    Data::TextRecord note;
    if (record.Read(note) && note.text.offset <= record.Header().bytes &&
        note.text.bytes <= record.Header().bytes - note.text.offset) {
        const auto* const text = reinterpret_cast<const char*>(record.Record()) + note.text.offset;
        summary.notes.emplace_back(std::string(text, note.text.bytes), note.count);
    }
}

std::string Plural(std::uint64_t count, const char* what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
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
    std::vector<bool> isGL;
    for (const Data::FileCall& call : source->Calls()) {
        isGL.push_back(call.name.starts_with("gl"));
    }
    Data::Diagnostics diagnostics(path, [&summary](const std::string& line) { summary.error = line; });
    Data::WalkRecords(*source, diagnostics, [&](const Data::RecordCursor& record) {
        if (record.Header().id < isGL.size()) {
            ++summary.calls;
            summary.glCalls += isGL[record.Header().id] ? 1 : 0;
        } else if (record.Is(Data::RecordId::Note)) {
            CountNote(record, summary);
        }
    });
    summary.frames = diagnostics.position.frame;
    summary.fileBytes = source->FileBytes();
    summary.isComplete = source->IsComplete();
    summary.timeUs = source->Chunks().empty() ? 0 : source->ChunkTimeUs(source->Chunks().back());
    return summary;
}

std::string Describe(const std::string& path, const Summary& summary)
{
    std::string text = path + ": " + Plural(summary.frames, "frame") + ", " + Plural(summary.calls, "call") + ", " +
                       Size(summary.fileBytes) + ", " + Seconds(summary.timeUs) + "\n";
    if (!summary.error.empty()) {
        text += "  The capture cannot be read to its end: " + summary.error + "\n";
    } else if (!summary.isComplete) {
        text += "  The program was killed: the capture ends with the last chunk that was written.\n";
    }
    if (!summary.notes.empty()) {
        text += "  Could not be recorded:\n";
        for (const auto& [what, count] : summary.notes) {
            text += "    " + what + " (" + Plural(count, "time") + ")\n";
        }
    }
    return text;
}

} // namespace Recorder
