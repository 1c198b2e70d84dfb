#include "Host/Report.h"

#include <cstdarg>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "Util/OutputFile.h"

namespace Host {

namespace {

using Json = nlohmann::ordered_json;

/// "1 frame", "2 frames".
std::string Counted(std::uint64_t count, const char* noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

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
    for (const auto& [name, count] : counts) {
        text += (text.empty() ? "" : ", ") + name + " " + std::to_string(count);
    }
    return text;
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
            {"worstFrame", times.worstFrame}};
}

Json ToJson(const Report& report, const Measurements& measurements)
{
    Json json = {
        {"version", PLAYBACK_VERSION},
        {"capture", {{"file", report.captureFile}, {"frames", report.captureFrames}}},
        {"options", report.options},
        {"driver", report.driver},
        {"clocks", {{"wallMs", "CLOCK_MONOTONIC"}, {"cpuMs", "CLOCK_PROCESS_CPUTIME_ID, all threads of the process"}}},
        {"frames", report.frames},
        {"passes", report.passes},
        {"calls", report.calls},
        {"seconds", report.seconds},
        {"framesPerSecond", PerSecond(report.frames, report.seconds)},
        {"callsPerSecond", PerSecond(report.calls, report.seconds)},
        {"stopped", report.stopReason.empty() ? Json() : Json(report.stopReason)},
        {"errorMessages", report.errorMessages},
        {"errors", report.areErrorsChecked ? Json(report.errors) : Json()},
        {"skipped", report.skipped},
        {"callTimesMs", report.areCallsTimed ? Json(report.callTimesMs) : Json()},
        {"refusedCalls", report.refusedCalls},
        {"verified", report.isVerified ? Json(*report.isVerified) : Json()},
        {"verification", report.verification},
    };
    const auto times = measurements.Times();
    json["frameTimesMs"] = times ? TimesJson(*times) : Json();
    json["screenshots"] = Json::array();
    for (const auto& [frame, file] : report.screenshots) {
        json["screenshots"].push_back({{"frame", frame}, {"file", file}});
    }
    json["measured"] = Json::array();
    for (const FrameCost& cost : measurements.Costs()) {
        json["measured"].push_back(
            {{"frame", cost.frame}, {"wallMs", cost.wallMs}, {"cpuMs", cost.cpuMs}, {"calls", cost.calls}});
    }
    return json;
}

} // namespace

std::vector<std::string> SummaryLines(const Report& report, const Measurements& measurements)
{
    std::vector<std::string> lines;
    lines.push_back(Counted(report.frames, "frame") + " in " + Fixed(report.seconds, 3) + " s, " +
                    Fixed(PerSecond(report.frames, report.seconds), 1) + " frames a second, " +
                    Fixed(PerSecond(report.calls, report.seconds), 0) + " calls a second, " +
                    Counted(report.errorMessages, "error") + ".");
    if (const auto times = measurements.Times()) {
        lines.push_back("Frame times in ms: mean " + Fixed(times->mean, 3) + ", median " + Fixed(times->median, 3) +
                        ", 95 % " + Fixed(times->percentile95, 3) + ", 99 % " + Fixed(times->percentile99, 3) +
                        ", worst " + Fixed(times->worst, 3) + " (frame " + std::to_string(times->worstFrame) + ").");
    }
    if (!report.errors.empty()) {
        lines.push_back("Errors of the driver: " + List(report.errors) + ".");
    }
    if (!report.skipped.empty()) {
        lines.push_back("Not replayed: " + List(report.skipped) + ".");
    }
    if (report.refusedCalls != 0) {
        lines.push_back(Counted(report.refusedCalls, "call") + " of the capture refused.");
    }
    lines.insert(lines.end(), report.verification.begin(), report.verification.end());
    return lines;
}

std::string WriteJson(const std::string& path, const Report& report, const Measurements& measurements)
{
    // Text of a capture or a driver may be no UTF-8.
    return Util::WriteWholeFile(path, ToJson(report, measurements).dump(1, ' ', false, Json::error_handler_t::replace) +
                                          '\n');
}

} // namespace Host
