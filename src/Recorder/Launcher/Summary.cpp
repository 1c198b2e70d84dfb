#include "Recorder/Launcher/Summary.h"

#include <cstdio>
#include <cstring>

#include "Data/CaptureSource.h"

namespace Recorder {
namespace {

std::string NoteText(const std::uint8_t* record, const Data::RecordHeader& header, std::uint64_t& count)
{
    Data::TextRecord note;
    if (header.bytes < sizeof note) {
        return {};
    }
    std::memcpy(&note, record, sizeof note);
    count = note.count;
    if (note.text.offset > header.bytes || note.text.bytes > header.bytes - note.text.offset) {
        return {};
    }
    return {reinterpret_cast<const char*>(record) + note.text.offset, note.text.bytes};
}

void Count(const Data::CaptureSource& source, const Data::Chunk& chunk, Summary& summary)
{
    Data::RecordHeader header;
    for (std::uint32_t at = 0; at + sizeof header <= chunk.bytes; at += header.bytes) {
        const std::uint8_t* const record = chunk.Data() + at;
        std::memcpy(&header, record, sizeof header);
        if (header.bytes < sizeof header || header.bytes > chunk.bytes - at) {
            summary.error = "a record of " + std::to_string(header.bytes) + " bytes that leaves its chunk";
            return;
        }
        if (header.id < source.Calls().size()) {
            ++summary.calls;
            summary.glCalls += source.Calls()[header.id].name.starts_with("gl") ? 1 : 0;
        } else if (header.id == static_cast<std::uint32_t>(Data::RecordId::Note)) {
            std::uint64_t count = 0;
            std::string text = NoteText(record, header, count);
            summary.notes.emplace_back(std::move(text), count);
        }
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
    summary.frames = source->FrameCount();
    summary.fileBytes = source->FileBytes();
    summary.isComplete = source->IsComplete();
    Data::Chunk chunk;
    for (const Data::IndexEntry& entry : source->Chunks()) {
        summary.error = source->ReadChunk(entry, chunk);
        if (summary.error.empty()) {
            Count(*source, chunk, summary);
        }
        if (!summary.error.empty()) {
            return summary;
        }
        summary.timeUs = source->ChunkTimeUs(entry);
    }
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
