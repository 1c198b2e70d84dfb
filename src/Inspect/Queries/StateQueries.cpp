// What calls have set, as the capture tells without a driver.
#include <filesystem>

#include "Inspect/Capture/UnusedState.h"
#include "Inspect/Error.h"
#include "Inspect/Queries/Parameters.h"
#include "Tools/Info/Notation.h"

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

/// What a sampler of a type, such as GL_INT_SAMPLER_2D_ARRAY, looks at: GL_TEXTURE_2D_ARRAY. Empty for other types.
std::string SampledBy(const std::string& type)
{
    constexpr std::string_view Sampler = "SAMPLER_";
    const std::size_t begin = type.find(Sampler);
    if (begin == std::string::npos)
        return {};
    std::string kind = type.substr(begin + Sampler.size());
    if (const std::size_t shadow = kind.find("_SHADOW"); shadow != std::string::npos)
        kind.erase(shadow);
    return "GL_TEXTURE_" + (kind == "CUBE" ? "CUBE_MAP" : kind);
}

/// What the program in use samples and reads of vertices, as the driver has it.
void AskProgram(Inspector& inspector, const Place& place, const Tools::StateSnapshot& state, StateUser& user)
{
    const bool hasProgram = user.kind == Data::ActionKind::Draw || user.kind == Data::ActionKind::Dispatch;
    const auto context = state.objects.find({});
    if (!hasProgram || context == state.objects.end())
        return;
    const auto program = context->second.find("GL_CURRENT_PROGRAM");
    if (program == context->second.end() || !program->second.is_number() || program->second == 0)
        return;
    const Json answer = inspector.Replay().Ask(place, Inspector::AboutProgram(program->second)).json;
    user.isProgramKnown = answer.contains("uniforms");
    for (const Json& attribute : answer.value("attributes", Json::array()))
        for (int i = 0; i < attribute.value("count", 1); ++i)
            user.attributes.insert(attribute.value("location", 0U) + static_cast<std::uint32_t>(i));
    for (const Json& uniform : answer.value("uniforms", Json::array()))
        if (const std::string target = SampledBy(Tools::EnumText(uniform.value("type", 0U))); !target.empty())
            for (const Json& value : uniform.value("values", Json::array()))
                user.samplers.insert({static_cast<std::uint32_t>(value.get<double>()), target});
}

Json ToJson(const std::vector<ObjectUse>& calls)
{
    constexpr std::pair<ObjectUse::Does, const char*> Names[] = {{ObjectUse::Made, "made"},
                                                                 {ObjectUse::Changed, "changed"},
                                                                 {ObjectUse::Wrote, "wrote"},
                                                                 {ObjectUse::Read, "read"},
                                                                 {ObjectUse::Deleted, "deleted"}};
    Json all = Json::array();
    for (const ObjectUse& use : calls) {
        Json one = {{"call", use.call}, {"function", use.function}, {"does", Json::array()}};
        for (const auto& [does, name] : Names)
            if ((use.does & does) != 0)
                one["does"].push_back(name);
        if (!use.as.empty())
            one["as"] = use.as;
        all.push_back(std::move(one));
    }
    return all;
}

} // namespace

Answer AnswerState(Inspector& inspector, const Parameters& parameters)
{
    const Place place = PlaceOf(inspector, parameters);
    const auto against = parameters.find("against");
    const auto [from, other] = against != parameters.end() ? inspector.FindAnywhere(against->second)
                                                           : std::pair(&inspector, ActionBefore(inspector, place));
    const bool isTogether = from == &inspector && other.frame == place.frame;
    const auto states =
        inspector.States(place.frame, isTogether ? std::vector{other.call, place.call} : std::vector{place.call});
    const auto& state = states.back();
    const auto before = isTogether ? states.front() : from->State(other);
    Json json = {{"at", inspector.NameOf(place)}};
    json.update(Tools::ToJson(*state));
    json["initial"] = Json::object();
    if (const auto initial = state->initial.find(""); initial != state->initial.end())
        for (const auto& [name, value] : initial->second)
            json["initial"][name] = value;
    json["against"] = from->NameOf(other);
    if (from != &inspector)
        json["againstFile"] = std::filesystem::path(from->Path()).filename().string();
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

/// The values that were set and have no part in what the call does.
Answer AnswerUnused(Inspector& inspector, const Parameters& parameters)
{
    const Place place = PlaceOf(inspector, parameters);
    const auto calls = inspector.Calls(place.frame);
    const CallRow& row = calls->calls[place.call - 1];
    const auto state = inspector.State(place);
    StateUser user = {.kind = row.kind, .text = row.text};
    AskProgram(inspector, place, *state, user);
    Json json = {{"at", inspector.NameOf(place)}, {"unused", Json::array()}};
    for (const UnusedState& unused : FindUnused(*state, user)) {
        Json one = {{"state", unused.state}, {"why", unused.why}};
        if (!unused.object.first.empty())
            one["object"] = {{"kind", unused.object.first}, {"name", unused.object.second}};
        json["unused"].push_back(std::move(one));
    }
    return {.body = Text(json)};
}

/// What the calls of a frame did with one object, or with each.
Answer AnswerUses(Inspector& inspector, const Parameters& parameters)
{
    const std::uint32_t frame = NumberOf(parameters, "frame");
    const auto uses = inspector.Uses(frame);
    Json json = {{"frame", frame}};
    if (parameters.contains("kind") != parameters.contains("name"))
        throw Error(Error::Kind::Request, "kind and name go together");
    if (!parameters.contains("kind")) {
        json["objects"] = Json::object();
        for (const auto& [object, calls] : uses->All())
            json["objects"][object.first][object.second] = ToJson(calls);
        return {.body = Text(json)};
    }
    const FrameUses::Object object = {TextOf(parameters, "kind"), TextOf(parameters, "name")};
    const auto found = uses->All().find(object);
    json["kind"] = object.first;
    json["name"] = object.second;
    json["calls"] = found != uses->All().end() ? ToJson(found->second) : Json::array();
    return {.body = Text(json)};
}

/// The calls of the frames in front that made, changed or wrote an object.
Answer AnswerEarlierUses(Inspector& inspector, const Parameters& parameters)
{
    const FrameUses::Object object = {TextOf(parameters, "kind"), TextOf(parameters, "name")};
    Json json = {{"kind", object.first}, {"name", object.second}, {"calls", Json::array()}};
    for (const EarlierUse& earlier : inspector.EarlierUses(NumberOf(parameters, "frame"), object)) {
        Json one = ToJson(std::vector{earlier.use}).front();
        one["at"] = std::to_string(earlier.frame) + ":c" + std::to_string(earlier.use.call);
        json["calls"].push_back(std::move(one));
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
