#include "Playback/Statistics/StatsReport.h"

#include <fstream>

namespace Playback {

namespace {

constexpr const char* header = "<features category=\"ESXCapture\">\n";
constexpr const char* footer = "</features>\n";

} // namespace

void WriteGroupedReport(const std::string& path, const StatsCategories& categories, StatsMap& statistics)
{
    std::ofstream file(path);
    file << header;
    for (const auto& [category, keys] : categories) {
        file << "<" << category << ">\n";
        for (const std::string& key : keys) {
            file << "\t<" << key << ">\n\t\t" << statistics[key] << "\n\t</" << key << ">\n";
        }
        file << "</" << category << ">\n";
    }
    file << footer;
}

void WriteFlatReport(const std::string& path, const StatsCategories& categories, StatsMap& statistics)
{
    std::ofstream file(path);
    file << header;
    for (const auto& [category, keys] : categories) {
        for (const std::string& key : keys) {
            file << "<" << key << ">\n\t" << statistics[key] << "\n</" << key << ">\n\n";
        }
    }
    file << footer;
}

} // namespace Playback
