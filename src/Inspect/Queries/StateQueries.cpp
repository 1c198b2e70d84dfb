// What calls have set, as the capture tells without a driver.
#include <algorithm>

#include "Inspect/Capture/UnusedState.h"
#include "Inspect/Error.h"
#include "Inspect/Queries/Request.h"
#include "Tools/Info/Notation.h"

namespace Inspect {

namespace {

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
    const std::uint32_t program = hasProgram ? ProgramIn(state) : 0;
    if (program == 0)
        return;
    const Json answer = inspector.Replay().Ask(place, Inspector::AboutProgram(program)).json;
    user.isProgramKnown = answer.contains("uniforms");
    for (const Json& attribute : answer.value("attributes", Json::array()))
        for (int i = 0; i < attribute.value("count", 1); ++i)
            user.attributes.insert(attribute.value("location", 0U) + static_cast<std::uint32_t>(i));
    for (const Json& uniform : answer.value("uniforms", Json::array()))
        if (const std::string target = SampledBy(Tools::EnumText(uniform.value("type", 0U))); !target.empty())
            for (const Json& value : uniform.value("values", Json::array()))
                user.samplers.insert({static_cast<std::uint32_t>(value.get<double>()), target});
}

Json ToJson(const ObjectUse& use)
{
    constexpr std::pair<ObjectUse::Does, const char*> Names[] = {{ObjectUse::Made, "made"},
                                                                 {ObjectUse::Changed, "changed"},
                                                                 {ObjectUse::Wrote, "wrote"},
                                                                 {ObjectUse::Read, "read"},
                                                                 {ObjectUse::Deleted, "deleted"}};
    Json json = {{"call", use.call}, {"function", use.function}, {"does", Json::array()}};
    for (const auto& [does, name] : Names)
        if ((use.does & does) != 0)
            json["does"].push_back(name);
    if (!use.as.empty())
        json["as"] = use.as;
    return json;
}

Json ToJson(const std::vector<ObjectUse>& calls)
{
    Json all = Json::array();
    for (const ObjectUse& use : calls)
        all.push_back(ToJson(use));
    return all;
}

Answer State(const Request& request)
{
    Inspector& inspector = request.inspector;
    const Place place = request.At();
    // The action in front; the start of the frame where there is none.
    const Place before = {place.frame, std::max(inspector.Calls(place.frame)->ActionUpTo(place.call - 1), 1U)};
    const auto [from, other] =
        request.Has("against") ? inspector.FindAnywhere(request.Text("against")) : std::pair(&inspector, before);
    const bool isTogether = from == &inspector && other.frame == place.frame;
    const auto states =
        inspector.States(place.frame, isTogether ? std::vector{other.call, place.call} : std::vector{place.call});
    const auto& state = states.back();
    const auto otherState = isTogether ? states.front() : from->State(other);
    Json json = {{"at", inspector.NameOf(place)}};
    json.update(Tools::ToJson(*state));
    json["initial"] = Json::object();
    if (const auto initial = state->initial.find(""); initial != state->initial.end())
        for (const auto& [name, value] : initial->second)
            json["initial"][name] = value;
    json["against"] = from->NameOf(other);
    if (from != &inspector)
        json["againstFile"] = from->FileName();
    json["differences"] = Tools::ToJson(Tools::Compare(*otherState, *state));
    return json;
}

/// Which call set each value last.
Answer Setters(const Request& request)
{
    const Place place = request.At();
    Json json = {{"at", request.NameOf(place)}, {"state", Json::object()}, {"objects", Json::object()}};
    for (const auto& [object, setters] : request.inspector.StateWithSetters(place).setters) {
        Json& values = object.first.empty() ? json["state"] : json["objects"][object.first][object.second];
        for (const auto& [state, moment] : setters)
            values[state] = std::to_string(moment.frame) + ":c" + std::to_string(moment.call);
    }
    return json;
}

/// The values that were set and have no part in what the call does.
Answer Unused(const Request& request)
{
    const Place place = request.At();
    const auto calls = request.inspector.Calls(place.frame);
    const CallRow& row = calls->calls[place.call - 1];
    const auto state = request.inspector.State(place);
    StateUser user = {.kind = row.kind, .text = row.text};
    AskProgram(request.inspector, place, *state, user);
    Json json = {{"at", request.NameOf(place)}, {"unused", Json::array()}};
    for (const UnusedState& unused : FindUnused(*state, user)) {
        Json one = {{"state", unused.state}, {"why", unused.why}};
        if (!unused.object.first.empty())
            one["object"] = {{"kind", unused.object.first}, {"name", unused.object.second}};
        json["unused"].push_back(std::move(one));
    }
    return json;
}

/// What the calls of a frame did with one object, or with each.
Answer Uses(const Request& request)
{
    const std::uint32_t frame = request.Number("frame");
    const auto uses = request.inspector.Uses(frame);
    if (request.Has("kind") != request.Has("name"))
        throw RequestError("kind and name go together");
    if (!request.Has("kind")) {
        Json json = {{"frame", frame}, {"objects", Json::object()}};
        for (const auto& [object, calls] : uses->All())
            json["objects"][object.first][object.second] = ToJson(calls);
        return json;
    }
    const FrameUses::Object object = {request.Text("kind"), request.Text("name")};
    const auto found = uses->All().find(object);
    return Json{{"frame", frame},
                {"kind", object.first},
                {"name", object.second},
                {"calls", found != uses->All().end() ? ToJson(found->second) : Json::array()}};
}

/// The calls of the frames in front that made, changed or wrote an object.
Answer EarlierUses(const Request& request)
{
    const FrameUses::Object object = {request.Text("kind"), request.Text("name")};
    Json json = {{"kind", object.first}, {"name", object.second}, {"calls", Json::array()}};
    for (const EarlierUse& earlier : request.inspector.EarlierUses(request.Number("frame"), object)) {
        Json one = ToJson(earlier.use);
        one["at"] = std::to_string(earlier.frame) + ":c" + std::to_string(earlier.use.call);
        json["calls"].push_back(std::move(one));
    }
    return json;
}

/// The objects that the context at the call can name, with what was set of each.
Answer Resources(const Request& request)
{
    const Place place = request.At();
    const Json state = Tools::ToJson(*request.inspector.State(place));
    return Json{{"at", request.NameOf(place)}, {"objects", state["objects"]}};
}

} // namespace

std::span<const Query> StateQueries()
{
    static constexpr Query All[] = {{"state", State}, {"setters", Setters},          {"unused", Unused},
                                    {"uses", Uses},   {"earlier-uses", EarlierUses}, {"resources", Resources}};
    return All;
}

} // namespace Inspect
