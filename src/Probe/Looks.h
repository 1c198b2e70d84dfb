// Requests of those who look at one call of a frame, whether it is an action or not.
#pragma once

#include <optional>
#include <string_view>

#include "Probe/Json.h"
#include "Probe/Replayer.h"

namespace Probe {

/// Nothing for a request that is none of these.
std::optional<Reply> Look(Replayer& replayer, std::string_view what, const nlohmann::json& request);

} // namespace Probe
