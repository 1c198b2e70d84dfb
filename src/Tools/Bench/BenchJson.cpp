#include <nlohmann/json.hpp>

#include "Tools/Bench/BenchText.h"
#include "Tools/Bench/Machine.h"

namespace Tools {

namespace {

using Json = nlohmann::ordered_json;

Json EstimateJson(const std::optional<Estimate>& estimate)
{
    return estimate ? Json{{"value", estimate->value}, {"low", estimate->low}, {"high", estimate->high}} : Json();
}

Json TimesJson(const Distribution& times)
{
    return {{"medianMs", times.median}, {"quartilesMs", {times.lowQuartile, times.highQuartile}}};
}

Json QuantityJson(const Quantity& quantity)
{
    Json json = {{"name", quantity.name}, {"a", TimesJson(quantity.a)}};
    if (quantity.b) {
        json["b"] = TimesJson(*quantity.b);
        json["ratio"] = EstimateJson(quantity.ratio);
        json["isDifferent"] = IsDifferent(quantity);
    } else {
        json["centreMs"] = EstimateJson(quantity.centre);
    }
    return json;
}

Json ListJson(const std::vector<Quantity>& quantities)
{
    Json list = Json::array();
    for (const Quantity& quantity : quantities)
        list.push_back(QuantityJson(quantity));
    return list;
}

Json SideJson(const Sides::Side& side, const std::vector<ReplayResults>& rounds)
{
    Json json = {{"driverDirectory", side.driverDirectory},
                 {"environment", side.environment},
                 {"options", side.options},
                 {"driver", rounds.front().driver},
                 {"errors", rounds.front().errors},
                 {"gpuUnavailable", rounds.front().gpuUnavailable}};
    Json& times = json["wallMs"] = Json::array();
    for (const ReplayResults& round : rounds) {
        times.push_back(Json::array());
        for (const std::vector<PassTime>& pass : round.frames) {
            times.back().push_back(Json::array());
            for (const PassTime& frame : pass)
                times.back().back().push_back(frame.wallMs);
        }
    }
    return json;
}

} // namespace

std::string BenchJson(const BenchOptions& options, const Measurement& measurement, const Comparison& comparison)
{
    Json json = {
        {"version", PLAYBACK_VERSION},
        {"capture", options.captureFile},
        {"frames", {{"first", measurement.frames.first}, {"last", measurement.frames.last}}},
        {"rounds", options.rounds},
        {"passes", measurement.passes},
        {"warmUp", options.warmUp},
        {"confidence", options.confidence},
        {"machine", DescribeMachine()},
        {"load", {{"before", measurement.loadBefore}, {"after", measurement.loadAfter}}},
        {"verdict", Verdict(comparison)},
        {"time", QuantityJson(comparison.wall)},
        {"cpuTime", QuantityJson(comparison.cpu)},
        {"frameTimes", ListJson(comparison.frames)},
        {"gpuTime", comparison.gpu ? QuantityJson(*comparison.gpu) : Json()},
        {"renderPassTimes", ListJson(comparison.renderPasses)},
        {"callTimes", ListJson(comparison.calls)},
        {"a", SideJson(options.a, measurement.a)},
    };
    json["b"] = options.b ? SideJson(*options.b, measurement.b) : Json();
    return json.dump(1, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace Tools
