#include "Host/Options.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

#include "Interfaces/Core.h"
#include "Playback/PlaybackSettings.h"
#include "Util/CommandLine.h"

namespace Host {

namespace {

using Playback::PlaybackEnvironment;

constexpr const char* Usage = "Usage: playback [options] FILE.glcap\n"
                              "Replays a capture in a window, or off screen where there is no compositor.";

constexpr Util::Option OwnOptions[] = {
    {"-headless", "", "replay off screen even where there is a compositor", "Program"},
    {"-verify", "", "compare frames with the hashes of playback-record --hash, and pixels that were read back",
     "Program"},
    {"-driver", "DIR", "take libEGL.so.1 and libGLESv2.so.2 from this folder", "Program"},
    {"-help", "", "print this text", "Program"},
    {"-version", "", "print the version", "Program"},
};

/// Parsed and kept in the settings, but nothing looks at them yet.
constexpr const char* WithoutEffect[] = {
    "-paused", "-pauseframe", "-loopframe", "-loopcount", "-thread", "-threadFilterStartFrame", "-extracttextures",
};

constexpr int LargestWindow = 32767;

std::vector<Util::Option> AllOptions()
{
    std::vector<Util::Option> all(std::begin(OwnOptions), std::end(OwnOptions));
    for (const PlaybackEnvironment::Option& option : PlaybackEnvironment::Options()) {
        all.push_back({option.name, option.value ? option.value : "", option.help, "Replay"});
    }
    return all;
}

std::optional<int> WholeNumber(std::string_view text)
{
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

/// What is wrong with an option's value, as the end of a sentence; empty when it is fine.
std::string ValueFault(std::string_view name, std::string_view placeholder, const std::string& value)
{
    if (placeholder == "N" && !WholeNumber(value)) {
        return "needs a whole number";
    }
    if (name == "-width" || name == "-height") {
        const int pixels = *WholeNumber(value);
        return pixels >= 1 && pixels <= LargestWindow ? "" : "needs 1 to " + std::to_string(LargestWindow) + " pixels";
    }
    if (name == "-config" && value.size() < 4 && value.find('R') == std::string::npos) {
        return "needs components (R8G8B8A8D24S8) or, from the second character on, the colour depth, any character and "
               "the depth buffer's depth (C32D24)";
    }
    if (name == "-screenshots" && !value.empty() &&
        (value.find_first_not_of("0123456789:-*") != std::string::npos ||
         value.find_first_of("0123456789") == std::string::npos)) {
        return "needs a frame N, frames A-B, every N frames N*, draws F:A-B of a frame, or \"\" for all frames";
    }
    return "";
}

Answer UsageError(const std::string& what)
{
    return {ExitStatus::Usage, "playback: " + what + "\n" + Usage + "\n'playback -help' lists the options.\n"};
}

} // namespace

std::variant<Options, Answer> ParseOptions(int argc, const char* const* argv)
{
    const std::vector<Util::Option> table = AllOptions();
    const Util::CommandLine commandLine(table);
    auto [args, error] = commandLine.Parse(argc, argv);
    if (!error.empty()) {
        return UsageError(error);
    }
    if (args.HasSwitch("-help")) {
        return Answer{ExitStatus::Done, commandLine.Help(Usage)};
    }
    if (args.HasSwitch("-version")) {
        return Answer{ExitStatus::Done, "playback " PLAYBACK_VERSION "\n"};
    }
    for (const Util::Option& option : table) {
        if (const std::string* value = args.FindValue(std::string(option.name))) {
            if (const std::string fault = ValueFault(option.name, option.valueName, *value); !fault.empty()) {
                return UsageError("option " + std::string(option.name) + " " + fault + ", found \"" + *value + "\"");
            }
        }
    }
    if (args.positional.size() != 1) {
        return UsageError(args.positional.empty()
                              ? "no capture file given"
                              : "one capture file expected, found a second one: " + args.positional[1]);
    }

    if (args.HasSwitch("-stats") && args.HasSwitch("-verify")) {
        return UsageError("-stats draws no frame that -verify could compare; give one of them");
    }

    Options options;
    options.captureFile = args.positional.front();
    if (const std::string* directory = args.FindValue("-driver")) {
        options.driverDirectory = *directory;
    }
    options.headless = args.HasSwitch("-headless");
    options.verify = args.HasSwitch("-verify");
    options.args = std::move(args);
    return options;
}

void ReportOptionsWithoutEffect(const Util::ParseArgs::CmdLineArgs& args)
{
    std::string given;
    for (const char* name : WithoutEffect) {
        if (args.HasSwitch(name) || args.FindValue(name)) {
            given += given.empty() ? name : std::string(", ") + name;
        }
    }
    if (!given.empty()) {
        Core::Console::Print(Core::LogWarning, false, "This build does not act on %s.", given.c_str());
    }
}

} // namespace Host
