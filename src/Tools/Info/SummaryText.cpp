#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <span>

#include <nlohmann/json.hpp>

#include "Tools/Info/CaptureSummary.h"
#include "Tools/Info/StatisticsText.h"

namespace Tools {

namespace {

std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));

std::string Format(const char* format, ...)
{
    std::va_list args;
    va_start(args, format);
    std::va_list again;
    va_copy(again, args);
    std::string text(static_cast<std::size_t>(std::max(0, std::vsnprintf(nullptr, 0, format, args))), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    va_end(args);
    return text;
}

/// Start of the recording as ISO 8601 text in UTC; empty when the capture does not say.
std::string StartTime(const CaptureSummary& summary)
{
    if (summary.header.startTimeUs == 0)
        return {};
    const auto seconds = static_cast<std::time_t>(summary.header.startTimeUs / 1'000'000);
    std::tm utc = {};
    char text[32];
    if (!gmtime_r(&seconds, &utc) || std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc) == 0)
        return {};
    return text;
}

/// Calls, most frequent first; equal counts by name.
std::vector<std::pair<std::string, std::uint64_t>> ByCount(const std::map<std::string, std::uint64_t>& counts)
{
    std::vector<std::pair<std::string, std::uint64_t>> sorted(counts.begin(), counts.end());
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
    return sorted;
}

const char* NameOf(Data::SurfaceKind kind)
{
    constexpr const char* Names[] = {"", "window", "pbuffer", "pixmap"};
    return Names[static_cast<std::size_t>(kind)];
}

std::string Sizes(const Data::SurfaceSummary& surface)
{
    std::string text;
    for (const auto& [width, height] : surface.sizes)
        text += Format("%s%ux%u", text.empty() ? "" : ", ", width, height);
    return text.empty() ? "size unknown" : text;
}

/// "240, 4.0 a frame, at most 7 (frame 3)".
std::string Draws(const CaptureSummary& summary)
{
    const auto fewer = [](const Data::FrameCounts& a, const Data::FrameCounts& b) { return a.draws < b.draws; };
    const auto frames = std::span(summary.counts.byFrame).first(summary.counts.frames);
    std::uint64_t sum = 0;
    for (const Data::FrameCounts& frame : frames)
        sum += frame.draws;
    std::string text = std::to_string(sum + summary.counts.byFrame.back().draws);
    if (const auto most = std::ranges::max_element(frames, fewer); most != frames.end())
        text += Format(", %.1f a frame, at most %llu (frame %td)",
                       static_cast<double>(sum) / static_cast<double>(frames.size()),
                       static_cast<unsigned long long>(most->draws), most - frames.begin() + summary.firstFrame);
    return text;
}

std::string_view WordFor(Data::FrameEndKind end)
{
    const auto index = static_cast<std::size_t>(end);
    return index < std::size(Data::FrameEndWords) ? Data::FrameEndWords[index] : "not known";
}

/// Nothing of swaps, at which frames are expected to end.
std::string EachFrameEnds(Data::FrameEndKind end)
{
    return end == Data::FrameEndKind::Swap ? "" : ", each up to a " + std::string(WordFor(end));
}

/// "30 frames, 120 draws and the like, 3 pictures by llvmpipe, OpenGL ES 3.2".
std::string References(const Data::ReferenceSummary& references)
{
    std::string text;
    const auto add = [&](std::uint64_t count, const char* one, const char* many) {
        if (count != 0)
            text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + (count == 1 ? one : many);
    };
    add(references.frames, "frame", "frames");
    add(references.actions, "draw or the like", "draws and the like");
    add(references.pictures, "picture", "pictures");
    return (text.empty() ? "none" : text) + " by " +
           (references.renderer.empty() ? "the recording" : references.renderer + ", " + references.version);
}

/// The last frame of the capture in the one that it was cut out of.
std::uint32_t LastOriginFrame(const CaptureSummary& summary)
{
    return summary.header.originFrame + summary.counts.frames - (summary.counts.frames > 0 ? 1 : 0);
}

void Line(std::string& text, const char* name, const std::string& value)
{
    if (!value.empty())
        text += Format("%-12s %s\n", name, value.c_str());
}

} // namespace

std::string ToText(const CaptureSummary& summary)
{
    const Data::CaptureHeader& header = summary.header;
    std::string text;
    Line(text, "file",
         summary.path + Format(", %llu bytes", static_cast<unsigned long long>(summary.fileBytes)) +
             (summary.isComplete ? "" : ", incomplete"));
    Line(text, "format", Format("version %u", header.version));
    Line(text, "recorded by", header.toolVersion);
    Line(text, "recorded at", StartTime(summary));
    Line(text, "command", header.command);
    Line(text, "EGL", header.eglVendor + (header.eglVersion.empty() ? "" : ", " + header.eglVersion));
    Line(text, "OpenGL ES", header.glVersion);
    Line(text, "renderer", header.glRenderer + (header.glVendor.empty() ? "" : ", " + header.glVendor));
    if (header.surfaceWidth != 0)
        Line(text, "first size", Format("%ux%u", header.surfaceWidth, header.surfaceHeight));
    Line(text, "frames",
         Format("%u in %.3f s", summary.counts.frames, static_cast<double>(summary.counts.durationUs) / 1e6) +
             (summary.counts.frames < summary.allFrames
                  ? Format(", from frame %u of %u on", summary.firstFrame, summary.allFrames)
                  : "") +
             EachFrameEnds(summary.counts.frameEnd) +
             (summary.counts.frameHashes > 0 ? Format(", %u with a hash", summary.counts.frameHashes) : "") +
             (summary.counts.hasStateBlock ? ", after a state-setup block" : ""));
    for (const auto& [driver, references] : summary.counts.references)
        Line(text, "hashes", References(references));
    if (summary.end.isKnown)
        Line(text, "the program", Data::Describe(summary.end));
    if (header.originFrame != 0)
        Line(text, "cut from",
             Format("frames %u to %u of %s", header.originFrame, LastOriginFrame(summary), header.originFile.c_str()));
    Line(text, "calls", std::to_string(summary.counts.calls));
    Line(text, "draws", Draws(summary));
    for (const auto& [thread, calls] : summary.counts.callsByThread)
        Line(text, "thread", Format("%u: %llu calls", thread, static_cast<unsigned long long>(calls)));
    for (const auto& [context, shared] : summary.counts.contexts)
        Line(text, "context", shared != 0 ? Format("%u, shares with %u", context, shared) : std::to_string(context));
    for (const auto& [surface, what] : summary.counts.surfaces)
        Line(text, "surface",
             Format("%u: %s%s%s", surface, NameOf(what.kind), what.kind != Data::SurfaceKind::Unknown ? ", " : "",
                    Sizes(what).c_str()));
    for (const auto& [note, count] : ByCount(summary.counts.notes))
        Line(
            text, "not recorded",
            Format("%s, %llu %s", note.c_str(), static_cast<unsigned long long>(count), count == 1 ? "time" : "times"));
    if (!summary.callsByName.empty())
        text += "\n";
    for (const auto& [name, count] : ByCount(summary.callsByName))
        text += Format("%12llu %s\n", static_cast<unsigned long long>(count), name.c_str());
    return text;
}

namespace {

using Json = nlohmann::ordered_json;

Json ToJson(const Data::ProgramEnd& end)
{
    Json json = {{"text", Data::Describe(end)}, {"unfinishedCalls", Json::array()}};
    if (end.kind == Data::ProgramEndKind::Signal)
        json["signal"] = end.value;
    else if (end.kind == Data::ProgramEndKind::Exited)
        json["status"] = end.value;
    for (const Data::UnfinishedCall& call : end.calls) {
        json["unfinishedCalls"].push_back(
            {{"name", call.name}, {"frame", call.frame}, {"call", call.call}, {"thread", call.thread}});
    }
    return json;
}

/// Of each driver.
Json References(const std::map<std::uint32_t, Data::ReferenceSummary>& all, const Data::CaptureHeader& header)
{
    Json json = Json::array();
    for (const auto& [driver, references] : all)
        json.push_back({{"driver", driver},
                        {"renderer", driver == 0 ? header.glRenderer : references.renderer},
                        {"version", driver == 0 ? header.glVersion : references.version},
                        {"frameHashes", references.frames},
                        {"actionHashes", references.actions},
                        {"pictures", references.pictures}});
    return json;
}

} // namespace

std::string ToJson(const CaptureSummary& summary, const CaptureStatistics* statistics)
{
    const Data::CaptureHeader& header = summary.header;
    Json json;
    json["file"] = summary.path;
    json["bytes"] = summary.fileBytes;
    json["complete"] = summary.isComplete;
    json["version"] = header.version;
    json["tool"] = header.toolVersion;
    json["started"] = StartTime(summary);
    json["command"] = header.command;
    json["driver"] = {{"eglVendor", header.eglVendor},
                      {"eglVersion", header.eglVersion},
                      {"glVendor", header.glVendor},
                      {"glRenderer", header.glRenderer},
                      {"glVersion", header.glVersion}};
    json["width"] = header.surfaceWidth;
    json["height"] = header.surfaceHeight;
    json["frames"] = summary.counts.frames;
    json["frameEnd"] = WordFor(summary.counts.frameEnd);
    json["seconds"] = static_cast<double>(summary.counts.durationUs) / 1e6;
    json["frameHashes"] = summary.counts.frameHashes;
    json["references"] = References(summary.counts.references, header);
    if (header.originFrame != 0)
        json["cutFrom"] = {
            {"file", header.originFile}, {"firstFrame", header.originFrame}, {"lastFrame", LastOriginFrame(summary)}};
    json["stateBlock"] = summary.counts.hasStateBlock;
    json["callCount"] = summary.counts.calls;
    json["threads"] = Json::array();
    for (const auto& [thread, calls] : summary.counts.callsByThread)
        json["threads"].push_back({{"thread", thread}, {"calls", calls}});
    json["contexts"] = Json::array();
    for (const auto& [context, shared] : summary.counts.contexts)
        json["contexts"].push_back({{"context", context}, {"sharesWith", shared}});
    json["surfaces"] = Json::array();
    for (const auto& [surface, what] : summary.counts.surfaces) {
        Json sizes = Json::array();
        for (const auto& [width, height] : what.sizes)
            sizes.push_back({{"width", width}, {"height", height}});
        json["surfaces"].push_back({{"surface", surface}, {"kind", NameOf(what.kind)}, {"sizes", sizes}});
    }
    if (summary.end.isKnown)
        json["programEnd"] = ToJson(summary.end);
    json["notRecorded"] = Json::object();
    for (const auto& [note, count] : summary.counts.notes)
        json["notRecorded"][note] = count;
    json["calls"] = Json::object();
    for (const auto& [name, count] : ByCount(summary.callsByName))
        json["calls"][name] = count;
    if (statistics)
        json["statistics"] = ToJson(*statistics);
    // Text of the recorded system may be anything; what is no UTF-8 is replaced.
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace Tools
