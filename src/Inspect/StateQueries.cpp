// What calls have set, as the capture tells without a driver.
#include "Inspect/Parameters.h"

namespace Inspect {

namespace {

/// The action in front of a call; the start of the frame where there is none.
Place ActionBefore(Inspector& inspector, const Place& place)
{
    const auto calls = inspector.Calls(place.frame);
    std::uint32_t call = place.call - 1;
    while (call > 0 && calls->calls[call - 1].kind == Data::ActionKind::None)
        --call;
    return {place.frame, std::max(call, 1U)};
}

} // namespace

Answer AnswerState(Inspector& inspector, const Parameters& parameters)
{
    const Place place = PlaceOf(inspector, parameters);
    const auto against = parameters.find("against");
    const Place other = against != parameters.end() ? inspector.Find(against->second) : ActionBefore(inspector, place);
    const auto state = inspector.State(place);
    const auto before = inspector.State(other);
    Json json = {{"at", inspector.NameOf(place)}};
    json.update(Tools::ToJson(*state));
    json["initial"] = Json::object();
    if (const auto initial = state->initial.find(""); initial != state->initial.end())
        for (const auto& [name, value] : initial->second)
            json["initial"][name] = value;
    json["against"] = inspector.NameOf(other);
    json["differences"] = Tools::ToJson(Tools::Compare(*before, *state));
    return {.body = Text(json)};
}

/// Which call set each value last.
Answer AnswerSetters(Inspector& inspector, const Parameters& parameters)
{
    const Place place = PlaceOf(inspector, parameters);
    Json json = {{"at", inspector.NameOf(place)}, {"state", Json::object()}, {"objects", Json::object()}};
    for (const auto& [object, setters] : inspector.StateWithSetters(place).setters) {
        Json& values = object.first.empty() ? json["state"] : json["objects"][object.first][object.second];
        for (const auto& [state, moment] : setters)
            values[state] = std::to_string(moment.frame) + ":c" + std::to_string(moment.call);
    }
    return {.body = Text(json)};
}

/// The objects that the context at the call can name, with what was set of each.
Answer AnswerResources(Inspector& inspector, const Parameters& parameters)
{
    const Place place = PlaceOf(inspector, parameters);
    const Json state = Tools::ToJson(*inspector.State(place));
    return {.body = Text({{"at", inspector.NameOf(place)}, {"objects", state["objects"]}})};
}

} // namespace Inspect
