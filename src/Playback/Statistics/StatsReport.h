// The two report formats of statistics. Text is written as it stands, nothing is escaped.
#pragma once

#include <string>

#include "Playback/Statistics/StatsBin.h"

namespace Playback {

/// One element a category, and in it one a key. A key without a value gets an empty one. Empty on success, else
/// "PATH: REASON"; the file is whole or not there.
[[nodiscard]] std::string WriteGroupedReport(const std::string& path, const StatsCategories& categories,
                                             StatsMap& statistics);
/// As WriteGroupedReport, without the elements of the categories.
[[nodiscard]] std::string WriteFlatReport(const std::string& path, const StatsCategories& categories,
                                          StatsMap& statistics);

} // namespace Playback
