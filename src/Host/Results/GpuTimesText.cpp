#include "Host/Results/GpuTimesText.h"

#include <algorithm>
#include <cstdio>

#include "Data/Records/CallTable.h"
#include "Util/Spelling.h"

namespace Host {

namespace {

using Json = nlohmann::ordered_json;

/// As many as a person reads.
constexpr std::size_t MostDear = 3;

std::string Fixed(double value, int digits)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

/// RFC 4180.
std::string Quoted(const std::string& field)
{
    std::string text = "\"";
    for (const char c : field)
        text += c == '"' ? std::string("\"\"") : std::string(1, c);
    return text + "\"";
}

const char* WhyNot(NotMeasured reason)
{
    switch (reason) {
    case NotMeasured::No:
        break;
    case NotMeasured::Disjoint:
        return "disjoint";
    case NotMeasured::OwnQuery:
        return "ownQuery";
    case NotMeasured::ContextLost:
        return "contextLost";
    case NotMeasured::NoClock:
        return "noClock";
    }
    return "";
}

const char* NameOf(GpuSpans by)
{
    constexpr const char* Names[] = {"frames", "passes", "draws"};
    return Names[static_cast<std::size_t>(by)];
}

/// How many costs have no time, by reason.
std::map<std::string, std::uint64_t> CountMissing(const GpuTimes& times)
{
    std::map<std::string, std::uint64_t> missing;
    for (const GpuCost& cost : times.costs)
        if (cost.notMeasured != NotMeasured::No)
            ++missing[WhyNot(cost.notMeasured)];
    return missing;
}

/// By name.
Json CountersJson(const GpuTimes& times, const GpuCost& cost)
{
    Json json = Json::object();
    for (std::size_t i = 0; i < std::min(times.counters.size(), cost.counters.size()); ++i)
        json[times.counters[i]] = cost.counters[i];
    return json;
}

Json CostJson(const GpuTimes& times, const GpuCost& cost, bool isAction)
{
    Json json = {{"pass", cost.pass}, {"frame", cost.frame}, {"renderPass", cost.renderPass}};
    if (!isAction)
        json["actions"] = cost.actions;
    json["action"] = cost.number.Text();
    if (isAction)
        json["kind"] = Data::NameOf(Data::ActionOf(cost.function));
    json["call"] = cost.call;
    json["function"] = Data::NameOf(cost.function);
    json["context"] = cost.context;
    json["framebuffer"] = cost.framebuffer;
    const bool isMeasured = cost.notMeasured == NotMeasured::No;
    json["gpuMs"] = isMeasured ? Json(cost.gpuMs) : Json();
    json["cpuMs"] = cost.cpuMs;
    if (!isMeasured)
        json["notMeasured"] = WhyNot(cost.notMeasured);
    if (!times.counters.empty())
        json["counters"] = CountersJson(times, cost);
    return json;
}

Json CostsJson(const GpuTimes& times, const std::vector<GpuCost>& costs, bool areActions)
{
    Json json = Json::array();
    for (const GpuCost& cost : costs)
        json.push_back(CostJson(times, cost, areActions));
    return json;
}

std::string Describe(const GpuCost& cost, GpuSpans by)
{
    std::string text = "frame " + std::to_string(cost.frame);
    if (by == GpuSpans::RenderPasses)
        text += " pass " + std::to_string(cost.renderPass) + " (framebuffer " + std::to_string(cost.framebuffer) +
                ", " + Util::Counted(cost.actions, "action") + ")";
    else if (by == GpuSpans::Actions)
        text += " " + std::string(Data::NameOf(Data::ActionOf(cost.function))) + " " + cost.number.Text() + " (call " +
                std::to_string(cost.call) + " " + Data::NameOf(cost.function) + ")";
    return text + " " + Fixed(cost.gpuMs, 3);
}

/// "the dearest: frame 7 draw 12 (call 90 glDrawArrays) 3.120, ...".
std::string Dearest(const GpuTimes& times)
{
    std::vector<GpuCost> dearest(std::min(MostDear, times.costs.size()));
    std::ranges::partial_sort_copy(times.costs, dearest, std::ranges::greater(), &GpuCost::gpuMs, &GpuCost::gpuMs);
    std::string text;
    for (const GpuCost& cost : dearest)
        text += (text.empty() ? "" : ", ") + Describe(cost, times.by);
    return text;
}

} // namespace

Json ToJson(const GpuTimes& times)
{
    Json json = {{"by", NameOf(times.by)},
                 {"unavailable", times.unavailable.empty() ? Json() : Json(times.unavailable)},
                 {"notMeasured", CountMissing(times)}};
    if (times.by == GpuSpans::Frames && !times.counters.empty()) {
        json["frames"] = Json::array();
        for (const GpuCost& cost : times.costs)
            json["frames"].push_back(
                {{"pass", cost.pass}, {"frame", cost.frame}, {"counters", CountersJson(times, cost)}});
    }
    if (times.by != GpuSpans::Frames)
        json["passes"] = CostsJson(times, times.RenderPasses(), false);
    if (times.by == GpuSpans::Actions)
        json["draws"] = CostsJson(times, times.costs, true);
    return json;
}

std::string ToCsv(const GpuTimes& times)
{
    const bool areActions = times.by == GpuSpans::Actions;
    std::string text = std::string("pass,frame,renderPass,") + (areActions ? "kind" : "actions") +
                       ",action,call,function,context,framebuffer,gpuMs,cpuMs";
    for (const std::string& name : times.counters)
        text += "," + Quoted(name);
    text += "\n";
    for (const GpuCost& cost : times.costs) {
        text += std::to_string(cost.pass) + "," + std::to_string(cost.frame) + "," + std::to_string(cost.renderPass) +
                "," + (areActions ? Data::NameOf(Data::ActionOf(cost.function)) : std::to_string(cost.actions)) + "," +
                cost.number.Text() + "," + std::to_string(cost.call) + "," + Data::NameOf(cost.function) + "," +
                std::to_string(cost.context) + "," + std::to_string(cost.framebuffer) + "," +
                (cost.notMeasured == NotMeasured::No ? Fixed(cost.gpuMs, 6) : "") + "," + Fixed(cost.cpuMs, 6);
        for (std::size_t i = 0; i < times.counters.size(); ++i)
            text += "," + (i < cost.counters.size() ? Fixed(cost.counters[i], 3) : "");
        text += "\n";
    }
    return text;
}

std::vector<std::string> SummaryLines(const GpuTimes& times)
{
    double sum = 0;
    std::size_t frames = 0;
    for (const auto& [frame, ms] : times.Frames()) {
        sum += ms.value_or(0);
        frames += ms ? 1 : 0;
    }
    std::vector<std::string> lines;
    if (frames != 0) {
        lines.push_back("GPU times in ms, " + std::string("by ") + NameOf(times.by) + ": " + Fixed(sum, 3) + " in " +
                        Util::Counted(frames, "frame") + ", mean " + Fixed(sum / static_cast<double>(frames), 3) +
                        "; the dearest: " + Dearest(times) + ".");
    }
    if (const auto missing = CountMissing(times); !missing.empty()) {
        std::string text;
        for (const auto& [why, count] : missing)
            text += (text.empty() ? "" : ", ") + why + " " + std::to_string(count);
        lines.push_back("GPU times not taken: " + text + " of " + std::to_string(times.costs.size()) + ".");
    }
    return lines;
}

} // namespace Host
