#include "Playback/Statistics/StatsReport.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>

namespace Playback {

namespace {

constexpr const char* Header = "<features category=\"ESXCapture\">\n";
constexpr const char* Footer = "</features>\n";

std::string WriteFile(const std::string& path, std::string_view text)
{
    errno = 0;
    std::ofstream file(path);
    const bool isOpen = file.is_open();
    file << text;
    file.close();
    if (isOpen && file)
        return "";
    std::string error = path + ": " + (errno != 0 ? std::strerror(errno) : "a write failed");
    if (std::error_code ignored; isOpen && std::filesystem::is_regular_file(path, ignored))
        std::filesystem::remove(path, ignored);
    return error;
}

} // namespace

std::string WriteGroupedReport(const std::string& path, const StatsCategories& categories, StatsMap& statistics)
{
    std::ostringstream file;
    file << Header;
    for (const auto& [category, keys] : categories) {
        file << "<" << category << ">\n";
        for (const std::string& key : keys)
            file << "\t<" << key << ">\n\t\t" << statistics[key] << "\n\t</" << key << ">\n";
        file << "</" << category << ">\n";
    }
    file << Footer;
    return WriteFile(path, file.view());
}

std::string WriteFlatReport(const std::string& path, const StatsCategories& categories, StatsMap& statistics)
{
    std::ostringstream file;
    file << Header;
    for (const auto& [category, keys] : categories)
        for (const std::string& key : keys)
            file << "<" << key << ">\n\t" << statistics[key] << "\n</" << key << ">\n\n";
    file << Footer;
    return WriteFile(path, file.view());
}

} // namespace Playback
