// Statistics as part of a JSON document.
#pragma once

#include <nlohmann/json.hpp>

#include "Tools/Info/Statistics.h"

namespace Tools {

nlohmann::ordered_json ToJson(const CaptureStatistics& statistics);

} // namespace Tools
