#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Host/Results/GpuTimes.h"

namespace Host {

[[nodiscard]] nlohmann::ordered_json ToJson(const GpuTimes& times);
/// A line for each render pass or action, after one with the names of the columns. Without a number where something was
/// not measured.
[[nodiscard]] std::string ToCsv(const GpuTimes& times);
/// Lines for the person at the terminal.
[[nodiscard]] std::vector<std::string> SummaryLines(const GpuTimes& times);

} // namespace Host
