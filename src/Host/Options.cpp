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

constexpr const char* Introduction =
    "\n\n"
    "In the window and in the terminal space pauses and goes on, right arrow or n steps a\n"
    "frame, s takes a screenshot, f toggles full screen, q or Escape ends.\n"
    "\n"
    "Examples:\n"
    "  playback -verify x.glcap                compare the frames with the recorded ones\n"
    "  playback -screenshots 10* -screenshotformat png -screenshotdir out x.glcap\n"
    "  playback -loopframe 30 -stopframe 40 -loopcount 10 -json times.json x.glcap";

constexpr Util::Option OwnOptions[] = {
    {"-headless", "", "replay off screen even where there is a compositor", "Program"},
    {"-verify", "", "compare frames with the hashes of playback-record --hash, and pixels that were read back",
     "Results"},
    {"-measureframes", "A-B", "frames whose times are measured; all but the first when not given", "Results"},
    {"-check", "", "only tell what the capture needs and this driver lacks; status 1 when there is something",
     "Results"},
    {"-timecalls", "", "add the CPU time of each function to the results of -json; replay is slower then", "Results"},
    {"-json", "FILE",
     "write the results as JSON, to standard output for -: the summary, and time and calls of each frame", "Results"},
    {"-framerate", "RATE", "replay so many frames a second at most", "Frames"},
    {"-pace", "HOW", "recorded: replay frames when the recorded program drew them", "Frames"},
    {"-timelimit", "SECONDS", "end after this time, with status 5, even when the driver does not come back from a call",
     "Frames"},
    {"-framesinflight", "N",
     "have at most so many frames under way in the driver (default: 2, as a window would); 0 and 1 finish each frame",
     "Frames"},
    {"-swapinterval", "N",
     "in a window, wait for N pictures of the screen at each swap instead of as many as the program did; 0 runs free",
     "Frames"},
    {"-quiet", "", "say only what is wrong", "Program"},
    {"-driver", "DIR", "take libEGL.so.1 and libGLESv2.so.2 from this folder", "Program"},
    {"-help", "", "print this text", "Program"},
    {"-version", "", "print the version", "Program"},
};

constexpr int LargestWindow = 32767;
constexpr int LargestCount = 60;
/// Of seconds, and of frames a second.
constexpr double LargestNumber = 1e6;

std::vector<Util::Option> AllOptions()
{
    std::vector<Util::Option> all(std::begin(OwnOptions), std::end(OwnOptions));
    for (const PlaybackEnvironment::Option& option : PlaybackEnvironment::Options()) {
        all.push_back({option.name, option.value ? option.value : "", option.help, option.group});
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

std::optional<double> PositiveNumber(const std::string& text)
{
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return isNumber && value > 0 && value <= LargestNumber ? std::optional(value) : std::nullopt;
}

/// What is wrong with an option's value, as the end of a sentence; empty when it is fine.
std::string ValueFault(std::string_view name, std::string_view placeholder, const std::string& value)
{
    if (placeholder == "N" && !WholeNumber(value)) {
        return "needs a whole number";
    }
    if (name == "-measureframes") {
        return Util::ParseFrameRange(value) ? "" : "needs frames A-B, A from 1 and B not below A";
    }
    if (name == "-framesinflight" || name == "-swapinterval") {
        const int number = *WholeNumber(value);
        return number >= 0 && number <= LargestCount ? "" : "needs 0 to " + std::to_string(LargestCount);
    }
    if (name == "-framerate" || name == "-timelimit") {
        return PositiveNumber(value) ? "" : "needs a number above 0";
    }
    if (name == "-pace") {
        return value == "recorded" ? "" : "needs recorded";
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
        return Answer{ExitStatus::Done, commandLine.Help(std::string(Usage) + Introduction)};
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
    if (const std::string* file = args.FindValue("-json")) {
        options.jsonFile = *file;
    }
    // The first frame holds the start of the program.
    options.measuredFrames.first = 2;
    if (const std::string* frames = args.FindValue("-measureframes")) {
        options.measuredFrames = *Util::ParseFrameRange(*frames);
    }
    if (args.FindValue("-pace")) {
        options.pace = Pace::Recorded();
    }
    if (const std::string* rate = args.FindValue("-framerate")) {
        options.pace = Pace::Fixed(*PositiveNumber(*rate));
    }
    if (const std::string* seconds = args.FindValue("-timelimit")) {
        options.timeLimit = std::chrono::duration<double>(*PositiveNumber(*seconds));
    }
    if (const std::string* frames = args.FindValue("-framesinflight")) {
        options.framesInFlight = static_cast<unsigned int>(*WholeNumber(*frames));
    }
    if (const std::string* interval = args.FindValue("-swapinterval")) {
        options.swapInterval = WholeNumber(*interval);
    }
    options.check = args.HasSwitch("-check");
    options.timeCalls = args.HasSwitch("-timecalls");
    options.quiet = args.HasSwitch("-quiet");
    options.arguments.assign(argv + 1, argv + argc);
    options.headless = args.HasSwitch("-headless");
    options.verify = args.HasSwitch("-verify");
    options.args = std::move(args);
    return options;
}

} // namespace Host
