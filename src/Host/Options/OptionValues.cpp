#include "Host/Options/OptionValues.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <vector>

#include <fnmatch.h>

#include "Data/Records/CallTable.h"
#include "Host/Options/ScreenshotChoice.h"
#include "Interfaces/Core.h"
#include "Util/FrameRange.h"
#include "Util/Spelling.h"

namespace Host {

namespace {

constexpr int LargestWindow = 32767;
constexpr int LargestCount = 60;
/// Of seconds, and of frames a second.
constexpr double LargestNumber = 1e6;

/// Whether a value is one of a few words, whatever their case.
bool IsAnyOf(const std::string& value, std::initializer_list<std::string_view> words)
{
    return std::ranges::find(words, std::string_view(Util::String::ToLower(value))) != words.end();
}

std::string NumberFault(std::string_view name, int number)
{
    if (name == "-width" || name == "-height")
        return number >= 1 && number <= LargestWindow ? "" : "needs 1 to " + std::to_string(LargestWindow) + " pixels";
    if (name == "-stopframe" || name == "-pauseframe")
        return number >= 1 ? "" : "counts frames from 1";
    if (name == "-framesinflight" || name == "-swapinterval")
        return number >= 0 && number <= LargestCount ? "" : "needs 0 to " + std::to_string(LargestCount);
    if (name == "-referencepictures")
        return number >= 1 ? "" : "needs 1 or a larger number of frames";
    if (name == "-samples")
        return number >= 1 ? "" : "needs 1 sample or more";
    return number >= 0 ? "" : "needs 0 or a larger number";
}

/// Letters with one or two digits each, and F, in any order.
bool IsComponents(std::string_view value)
{
    const auto isDigit = [](char letter) { return letter >= '0' && letter <= '9'; };
    while (!value.empty()) {
        const bool hasNumber = std::string_view("RGBADS").find(value[0]) != std::string_view::npos;
        if (!hasNumber && value[0] != 'F')
            return false;
        const auto digits = std::find_if_not(value.begin() + 1, value.end(), isDigit) - (value.begin() + 1);
        if (hasNumber ? digits < 1 || digits > 2 : digits != 0)
            return false;
        value.remove_prefix(static_cast<std::size_t>(digits) + 1);
    }
    return true;
}

/// Two depths at their places, each after a letter that nobody reads.
bool IsDepths(std::string_view value)
{
    const auto isDepth = [](std::string_view digits) { return digits == "16" || digits == "24" || digits == "32"; };
    return value.size() == 6 && isDepth(value.substr(1, 2)) && isDepth(value.substr(4));
}

std::string ConfigFault(const std::string& value)
{
    const bool hasRed = value.find('R') != std::string::npos;
    return (hasRed ? IsComponents(value) : IsDepths(value))
               ? ""
               : "needs components (R8G8B8A8D24S8) or a letter, the colour depth, a letter and the depth buffer's "
                 "depth, each 16, 24 or 32 (C32D24)";
}

std::string ZonesFault(const std::string& value)
{
    constexpr int LastZone = 63;
    const std::vector<std::string> zones = Util::String::Tokenize(value, ", ");
    const bool areNumbers = !zones.empty() && std::ranges::all_of(zones, [](const std::string& zone) {
        return WholeNumber(zone).value_or(-1) >= 0 && *WholeNumber(zone) <= LastZone;
    });
    return areNumbers || IsAnyOf(value, {"all"})
               ? ""
               : "needs all, or zones from 0 to " + std::to_string(LastZone) + " with commas between them";
}

bool IsPattern(const std::string& text)
{
    return text.find_first_of("*?[") != std::string::npos;
}

/// The functions that a pattern names.
std::vector<std::string_view> FunctionsLike(const std::string& pattern)
{
    std::vector<std::string_view> names;
    for (const Data::CallDescription& call : Data::callTable)
        if (fnmatch(pattern.c_str(), call.name, 0) == 0)
            names.emplace_back(call.name);
    return names;
}

std::string FunctionsFault(const std::string& value)
{
    for (const std::string& name : Util::String::Tokenize(value, ","))
        if (IsPattern(name) ? FunctionsLike(name).empty() : Core::KHRLayer::GetEglGlFuncId(name) == 0)
            return "knows no function " + name + Util::Suggestion(name, FunctionsLike("*"));
    return value.empty() ? "needs names of functions, such as glFinish,glDraw*" : "";
}

std::string NumbersFault(const std::string& value, const char* separator, std::initializer_list<std::size_t> counts,
                         const char* needed)
{
    const std::vector<std::string> numbers = Util::String::Tokenize(value, separator);
    const bool areNumbers =
        std::ranges::all_of(numbers, [](const std::string& text) { return WholeNumber(text).has_value(); });
    const bool isCountRight =
        counts.size() == 0 ? !numbers.empty() : std::ranges::find(counts, numbers.size()) != counts.end();
    return areNumbers && isCountRight ? "" : needed;
}

} // namespace

std::optional<int> WholeNumber(std::string_view text)
{
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::optional<double> PositiveNumber(const std::string& text)
{
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return isNumber && value > 0 && value <= LargestNumber ? std::optional(value) : std::nullopt;
}

std::optional<GpuSpans> ParseGpuSpans(std::string_view value)
{
    if (value == "frames")
        return GpuSpans::Frames;
    if (value == "passes")
        return GpuSpans::RenderPasses;
    return value == "draws" ? std::optional(GpuSpans::Actions) : std::nullopt;
}

std::string ValueFault(std::string_view name, std::string_view placeholder, const std::string& value)
{
    if (placeholder == "N")
        return WholeNumber(value) ? NumberFault(name, *WholeNumber(value)) : "needs a whole number";
    if (name == "-measureframes")
        return Util::ParseFrameRange(value) ? "" : "needs frames A-B, A from 1 and B not below A; or A- or A";
    if (name == "-framerate" || name == "-timelimit")
        return PositiveNumber(value) ? "" : "needs a number above 0";
    if (name == "-timegpu")
        return ParseGpuSpans(value) ? "" : "needs frames, passes or draws";
    if (name == "-hashes")
        return value == "frames" || value == "draws" ? "" : "needs frames or draws";
    if (name == "-writehashes")
        return value.empty() || value == "-" ? "needs the name of a file" : "";
    if (name == "-pace")
        return value == "recorded" ? "" : "needs recorded";
    if (name == "-config")
        return ConfigFault(value);
    if (name == "-screenshots")
        return ParseScreenshots(value).fault;
    if (name == "-screenshotformat")
        return IsAnyOf(value, {"bmp", "png", "dds"}) ? "" : "needs bmp, png or dds";
    if (name == "-perdrawscreenshotsfilter")
        return IsAnyOf(value, {"all", "rtv", "dsv", "uav"}) ? "" : "needs rtv, dsv, uav or all";
    if (name == "-swapfbo")
        return NumbersFault(value, ":", {1, 3}, "needs a framebuffer N, or N:X:Y with the corner");
    if (name == "-thread")
        return NumbersFault(value, ",", {}, "needs numbers of threads with commas between them");
    if (name == "-loglevel") {
        return IsAnyOf(value,
                       {"none", "error", "warning", "notice", "diagnostic", "trace", "0", "1", "2", "3", "4", "5"})
                   ? ""
                   : "needs none, error, warning, notice, diagnostic or trace, or 0 to 5";
    }
    if (name == "-logzone")
        return ZonesFault(value);
    const bool isFunctionList = name == "-skipapi" || name == "-skipstateapi" || name == "-skipframeapi";
    return isFunctionList ? FunctionsFault(value) : "";
}

std::string CombinationFault(const Util::ParseArgs::CmdLineArgs& args)
{
    if (args.HasSwitch("-stats") && args.HasSwitch("-verify"))
        return "-stats draws no frame that -verify could compare; give one of them";
    const std::string* const stop = args.FindValue("-stopframe");
    const std::string* const measured = args.FindValue("-measureframes");
    if (stop && measured && static_cast<std::int64_t>(Util::ParseFrameRange(*measured)->first) > *WholeNumber(*stop))
        return "-measureframes " + *measured + " begins after the last frame, which -stopframe " + *stop + " sets";
    return "";
}

void ExpandFunctionPatterns(Util::ParseArgs::CmdLineArgs& args)
{
    for (const char* const option : {"-skipapi", "-skipstateapi", "-skipframeapi"}) {
        const auto given = args.values.find(option);
        if (given == args.values.end())
            continue;
        std::string names;
        for (const std::string& name : Util::String::Tokenize(given->second, ",")) {
            if (!IsPattern(name)) {
                names += name + ",";
                continue;
            }
            for (const std::string_view function : FunctionsLike(name))
                names += std::string(function) + ",";
        }
        given->second = names;
    }
}

} // namespace Host
