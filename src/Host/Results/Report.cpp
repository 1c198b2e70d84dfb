#include "Host/Results/Report.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "Host/Results/GpuTimesText.h"
#include "Util/OutputFile.h"
#include "Util/Spelling.h"

namespace Host {

namespace {

using Json = nlohmann::ordered_json;

std::string Fixed(double value, int digits)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

/// "a 2, b 1".
std::string List(const std::map<std::string, std::uint64_t>& counts)
{
    std::string text;
    for (const auto& [name, count] : counts)
        text += (text.empty() ? "" : ", ") + name + " " + std::to_string(count);
    return text;
}

/// What took time beside the replay; empty where that is next to nothing.
std::string BesideLine(const Report& report)
{
    constexpr double NextToNothing = 0.0005;
    std::string text;
    for (const auto& [seconds, what] :
         {std::pair(report.restSeconds, " s of calls after the last frame"),
          std::pair(report.pictureSeconds, " s for pictures"), std::pair(report.comparisonSeconds, " s for comparing"),
          std::pair(report.loopStartSeconds, " s for the state at the start of the loop"),
          std::pair(report.waitingSeconds, " s of waiting")})
        if (seconds >= NextToNothing)
            text += (text.empty() ? "Not in these times: " : ", ") + Fixed(seconds, 3) + what;
    return text.empty() ? text : text + ".";
}

double PerSecond(std::uint64_t count, double seconds)
{
    return seconds > 0 ? static_cast<double>(count) / seconds : 0.0;
}

Json TimesJson(const FrameTimes& times)
{
    return {{"mean", times.mean},
            {"median", times.median},
            {"percentile95", times.percentile95},
            {"percentile99", times.percentile99},
            {"worst", times.worst},
            {"worstFrame", times.worstFrame},
            {"worstPass", times.worstPass}};
}

Json PictureJson(const Replay::Picture& picture)
{
    char hash[20] = "";
    if (picture.hash)
        std::snprintf(hash, sizeof hash, "%016" PRIx64, *picture.hash);
    return {{"width", picture.width}, {"height", picture.height}, {"hash", picture.hash ? Json(hash) : Json()}};
}

/// What belongs to single frames, each with its pass.
void AddFrames(Json& json, const Report& report, const Measurements& measurements, const GpuTimes* gpu)
{
    json["differences"] = Json::array();
    for (const FrameVerifier::Difference& frame : report.differences) {
        json["differences"].push_back({{"pass", frame.pass},
                                       {"frame", frame.frame},
                                       {"surface", frame.surface},
                                       {"framebuffer", frame.framebuffer},
                                       {"expected", PictureJson(frame.recorded)},
                                       {"found", PictureJson(frame.replayed)}});
        if (!frame.action.empty())
            json["differences"].back().update(
                Json{{"action", frame.action}, {"call", frame.call}, {"function", frame.function}});
    }
    json["screenshots"] = Json::array();
    for (const Screenshots::File& file : report.screenshots)
        json["screenshots"].push_back({{"pass", file.pass}, {"frame", file.frame}, {"file", file.name}});
    json["actionScreenshots"] = Json::array();
    for (const Screenshots::File& file : report.actionScreenshots)
        json["actionScreenshots"].push_back(
            {{"pass", file.pass}, {"frame", file.frame}, {"number", file.action}, {"file", file.name}});
    json["measured"] = Json::array();
    const GpuTimes::FrameSums gpuMs = gpu ? gpu->Frames() : GpuTimes::FrameSums();
    for (const FrameCost& cost : measurements.Costs()) {
        Json frame = {{"pass", cost.pass},
                      {"frame", cost.frame},
                      {"wallMs", cost.time.wallMs},
                      {"cpuMs", cost.time.cpuMs},
                      {"calls", cost.calls}};
        if (gpu) {
            const auto found = gpuMs.find({cost.pass, cost.frame});
            frame["gpuMs"] = found != gpuMs.end() && found->second ? Json(*found->second) : Json();
        }
        json["measured"].push_back(std::move(frame));
    }
}

Json ToJson(const Report& report, const Measurements& measurements, const GpuTimes* gpu)
{
    Json json = {
        {"version", PLAYBACK_VERSION},
        {"capture", {{"file", report.captureFile}, {"frames", report.captureFrames}}},
        {"options", report.options},
        {"driver", report.driver},
        {"clocks", {{"wallMs", "CLOCK_MONOTONIC"}, {"cpuMs", "CLOCK_PROCESS_CPUTIME_ID, all threads of the process"}}},
        {"replayed", report.isReplay},
        {"frames", report.frames},
        {"passes", report.passes},
        {"calls", report.calls},
        {"seconds", report.seconds},
        {"besideSeconds",
         {{"callsAfterFrames", report.restSeconds},
          {"pictures", report.pictureSeconds},
          {"comparison", report.comparisonSeconds},
          {"loopStart", report.loopStartSeconds},
          {"waiting", report.waitingSeconds}}},
        {"framesInFlight", report.framesInFlight},
        {"framesPerSecond", PerSecond(report.frames, report.seconds)},
        {"callsPerSecond", PerSecond(report.calls, report.seconds + report.restSeconds)},
        {"cutOff", report.isCutOff},
        {"stopped", report.stopReason.empty() ? Json() : Json(report.stopReason)},
        {"errorMessages", report.errorMessages},
        {"errors", report.areErrorsChecked ? Json(report.errors) : Json()},
        {"skipped", report.skipped},
        {"callTimesMs", report.areCallsTimed ? Json(report.callTimesMs) : Json()},
        {"refusedCalls", report.refusedCalls},
        {"missingPictures", report.missingPictures},
        {"verified", report.isVerified ? Json(*report.isVerified) : Json()},
        {"verification", report.verification},
    };
    const auto times = measurements.Times();
    json["frameTimesMs"] = times ? TimesJson(*times) : Json();
    json["gpu"] = gpu ? ToJson(*gpu) : Json();
    AddFrames(json, report, measurements, gpu);
    return json;
}

} // namespace

std::vector<std::string> SummaryLines(const Report& report, const Measurements& measurements, const GpuTimes* gpu)
{
    if (!report.isReplay) {
        return {"Read " + Util::Counted(report.frames, "frame") + " with " + Util::Counted(report.calls, "call") +
                " in " + Fixed(report.seconds + report.restSeconds, 3) + " s; nothing was replayed."};
    }
    std::vector<std::string> lines;
    // Where no call was replayed, why is said already.
    if (report.calls != 0) {
        lines.push_back(Util::Counted(report.frames, "frame") + " in " + Fixed(report.seconds, 3) + " s, " +
                        Fixed(PerSecond(report.frames, report.seconds), 1) + " frames a second, " +
                        Fixed(PerSecond(report.calls, report.seconds + report.restSeconds), 0) + " calls a second, " +
                        Util::Counted(report.errorMessages, "error") + ".");
        if (std::string beside = BesideLine(report); !beside.empty())
            lines.push_back(std::move(beside));
    }
    if (const auto times = measurements.Times()) {
        const auto [first, last] = std::ranges::minmax(measurements.Costs(), {}, &FrameCost::frame);
        lines.push_back("Frame times in ms, " +
                        (first.frame == last.frame
                             ? "frame " + std::to_string(first.frame)
                             : "frames " + std::to_string(first.frame) + " to " + std::to_string(last.frame)) +
                        ", " +
                        (report.framesInFlight == 0
                             ? "calls alone"
                             : "drawing included, " + Util::Counted(report.framesInFlight, "frame") + " in flight") +
                        ": mean " + Fixed(times->mean, 3) + ", median " + Fixed(times->median, 3) + ", 95 % " +
                        Fixed(times->percentile95, 3) + ", 99 % " + Fixed(times->percentile99, 3) + ", worst " +
                        Fixed(times->worst, 3) + " (frame " + std::to_string(times->worstFrame) +
                        (report.passes > 1 ? " of pass " + std::to_string(times->worstPass) : "") + ").");
    }
    if (gpu)
        std::ranges::move(SummaryLines(*gpu), std::back_inserter(lines));
    if (!report.errors.empty())
        lines.push_back("Errors from the driver: " + List(report.errors) + ".");
    if (!report.skipped.empty())
        lines.push_back("Not replayed: " + List(report.skipped) + ".");
    if (report.refusedCalls != 0)
        lines.push_back(Util::Counted(report.refusedCalls, "call") + " of the capture refused.");
    if (report.missingPictures != 0)
        lines.push_back(Util::Counted(report.missingPictures, "picture") + " could not be written.");
    lines.insert(lines.end(), report.verification.begin(), report.verification.end());
    return lines;
}

std::string WriteJson(const std::string& path, const Report& report, const Measurements& measurements,
                      const GpuTimes* gpu)
{
    // Text of a capture or a driver may be no UTF-8.
    return Util::WriteResult(
        path, ToJson(report, measurements, gpu).dump(1, ' ', false, Json::error_handler_t::replace) + '\n');
}

std::string WriteCsv(const std::string& path, const Measurements& measurements, const GpuTimes* gpu)
{
    if (gpu && gpu->by != GpuSpans::Frames)
        return Util::WriteResult(path, ToCsv(*gpu));
    std::string text = "pass,frame,calls,wallMs,cpuMs,gpuMs\n";
    const GpuTimes::FrameSums gpuMs = gpu ? gpu->Frames() : GpuTimes::FrameSums();
    for (const FrameCost& cost : measurements.Costs()) {
        const auto found = gpuMs.find({cost.pass, cost.frame});
        text += std::to_string(cost.pass) + "," + std::to_string(cost.frame) + "," + std::to_string(cost.calls) + "," +
                Fixed(cost.time.wallMs, 6) + "," + Fixed(cost.time.cpuMs, 6) + "," +
                (found != gpuMs.end() && found->second ? Fixed(*found->second, 6) : "") + "\n";
    }
    return Util::WriteResult(path, text);
}

} // namespace Host
