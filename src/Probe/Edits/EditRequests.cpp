#include "Probe/Edits/EditRequests.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace Probe {

namespace {

/// In the order of Edit::Kind.
constexpr std::string_view Kinds[] = {"shader", "skip", "scissor", "textures", "simple", "no-blending"};

} // namespace

Reply TakeEdits(Replayer& replayer, const nlohmann::json& request)
{
    std::vector<Edit> edits;
    for (const nlohmann::json& json : request.value("edits", nlohmann::json::array())) {
        const std::string name = json.value("kind", "");
        const auto* const kind = std::ranges::find(Kinds, name);
        if (kind == std::end(Kinds))
            return {{{"problem", "there is no edit \"" + name + "\""}}};
        Edit edit = {static_cast<Edit::Kind>(kind - std::begin(Kinds)), json.value("call", 0U)};
        edit.shader = {json.value("program", 0U), {json.value("type", 0U), json.value("source", "")}};
        edits.push_back(std::move(edit));
    }
    Json faults = Json::array();
    for (const Edits::Fault& fault : replayer.ChangedDraws().Set(std::move(edits)))
        faults.push_back({{"edit", fault.edit}, {"type", fault.what.type}, {"log", fault.what.log}});
    return {{{"faults", std::move(faults)}}};
}

} // namespace Probe
