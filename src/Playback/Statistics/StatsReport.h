// The two report formats of statistics. Text is written as it stands, nothing is escaped.
#pragma once

#include <string>

#include "Playback/Statistics/StatsBin.h"

namespace Playback {

/// One element a category, and in it one a key. A key without a value gets an empty one. Writes nothing when the file
/// cannot be opened.
void WriteGroupedReport(const std::string& path, const StatsCategories& categories, StatsMap& statistics);
/// As WriteGroupedReport, without the elements of the categories.
void WriteFlatReport(const std::string& path, const StatsCategories& categories, StatsMap& statistics);

} // namespace Playback
