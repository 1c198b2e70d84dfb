#include "Interfaces/Core.h"
#include "Interfaces/Util.h"

#include <array>
#include <charconv>
#include <optional>
#include <string_view>

namespace Util {

namespace {

constexpr std::array<std::string_view, 6> LevelNames = {"none", "error", "warning", "notice", "diagnostic", "trace"};
constexpr int MaxZone = 63;

/// The whole text as a decimal number from 0 to `max`.
std::optional<int> ToNumber(std::string_view text, int max)
{
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 0 || value > max)
        return std::nullopt;
    return value;
}

} // namespace

void ParseCmdArgsLogLevel(const std::string& text)
{
    const std::string name = String::ToLower(text);
    for (int level = 0; level < static_cast<int>(LevelNames.size()); ++level)
        if (name == LevelNames[level] || ToNumber(name, level) == level)
            return Core::Log::SetLevel(level);
    Core::Console::Print(Core::LogWarning, false,
                         "Unrecognized -loglevel option: %s. Expected 0 to 5, or none, error, warning, notice, "
                         "diagnostic, trace.",
                         text.c_str());
}

void ParseCmdArgsLogZone(const std::string& text)
{
    if (String::ToLower(text) == "all")
        return Core::Log::SetZones(~std::uint64_t{0});

    std::uint64_t zones = 0;
    for (const std::string& token : String::Tokenize(text, ", ")) {
        const std::optional<int> zone = ToNumber(token, MaxZone);
        if (!zone) {
            Core::Console::Print(Core::LogWarning, false,
                                 "Unrecognized -logzone option: %s. Expected zone numbers from 0 to %d with commas "
                                 "between them, or all.",
                                 text.c_str(), MaxZone);
            return;
        }
        zones |= std::uint64_t{1} << *zone;
    }
    Core::Log::SetZones(zones);
}

void ParseCmdArgsLogIOPipe(const std::string& text)
{
    // The log says itself why it could not open the file.
    (void)Core::Log::SetOutput(text);
}

} // namespace Util
