// The requests about what is replayed otherwise than recorded.
#pragma once

#include <nlohmann/json.hpp>

#include "Probe/Json.h"
#include "Probe/Replayer.h"

namespace Probe {

/// "edits": from here on these edits, each with "kind" and, for one call of the frame alone, "call"; shaders have
/// "program", "type" and "source". The answer's "faults" have the number of the "edit", the shader "type", or 0 for
/// linking, and the "log".
Reply TakeEdits(Replayer& replayer, const nlohmann::json& request);

} // namespace Probe
