#include "Tools/Bench/BenchOptions.h"

#include <charconv>
#include <vector>

#include "Tools/Bench/Estimates.h"

namespace Tools {

namespace {

constexpr std::uint32_t MostRounds = 200;
constexpr std::uint32_t MostPasses = 10'000;

constexpr Util::Option Options[] = {
    {"--frames", "A-B",
     "frames to measure, counted from 1, both included; A- for all from A on, A for one (default: all but the first)",
     "Measurement"},
    {"--repeat", "N",
     "rounds (default: 12, up to 200): in each one a process of each side is started anew, and both replay the frames "
     "in turn, A B B A",
     "Measurement"},
    {"--passes", "N",
     "how often each process replays the frames for the measurement (default: as often as half a second allows, 4 to "
     "100 "
     "times)",
     "Measurement"},
    {"--warm-up", "N",
     "how often it replays them before that (default: 2); the first time it also replays what is before them",
     "Measurement"},
    {"--confidence", "PERCENT",
     "of the intervals (default: 99.9, so that 1 in 1000 comparisons of equal sides finds a difference); a lower one "
     "needs fewer rounds",
     "Measurement"},
    {"--calls", "", "compare the CPU time of each function too, which slows both sides down", "Measurement"},
    {"--gpu", "",
     "compare the GPU time of each render pass too, by the driver's timer queries, which slows both sides down",
     "Measurement"},
    {"--window", "", "replay in a window where there is a compositor, without waiting for screen refreshes",
     "Measurement"},
    {"--json", "FILE", "write the results as JSON (to standard output, without the text, if FILE is -)", "Results"},
    {"--fail-above", "PERCENT", "end with status 1 when B is slower than A by more than this for certain", "Results"},
    {"--help", "", "print this text", "Program"},
    {"--version", "", "print the version", "Program"},
};

constexpr const char* Usage =
    "Usage: playback-bench [options] FILE.glcap\n"
    "\n"
    "Measures how long frames of a capture take to replay, and whether side B takes another time than\n"
    "side A: two drivers, or settings of one. Each side is a process of its own. Without any option of\n"
    "side B only A is measured. Off screen, so that no screen is waited for.\n"
    "\n"
    "Examples:\n"
    "  playback-bench --b-driver /opt/new/lib x.glcap       is the new driver slower?\n"
    "  playback-bench --frames 100-120 --b-env LP_NUM_THREADS=1 --json times.json x.glcap\n"
    "  playback-bench --b-driver /opt/new/lib --fail-above 2% x.glcap       for a test: status 1 where it is";

/// A number with or without a sign for per cent after it.
std::optional<double> Percent(std::string_view text)
{
    if (text.ends_with('%'))
        text.remove_suffix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isNumber = error == std::errc() && end == text.data() + text.size() && value >= 0;
    return isNumber ? std::optional(value / 100) : std::nullopt;
}

/// A number from 1 to `most`; `count` stays where the option is not given.
void ReadCount(const Util::ParseArgs::CmdLineArgs& args, const std::string& option, std::uint32_t most,
               std::uint32_t& count, std::string& error)
{
    const std::string* const text = args.FindValue(option);
    if (!text)
        return;
    count = Util::ParseCount(*text);
    if (error.empty() && (count == 0 || count > most))
        error = "option " + option + " needs 1 to " + std::to_string(most) + ", found \"" + *text + "\"";
}

/// What is wrong with them; empty for nothing.
std::string ReadPercents(const Util::ParseArgs::CmdLineArgs& args, BenchOptions& options)
{
    if (const std::string* const text = args.FindValue("--fail-above")) {
        options.limit = Percent(*text);
        if (!options.limit)
            return "option --fail-above needs a number of per cent, found \"" + *text + "\"";
    }
    if (const std::string* const text = args.FindValue("--confidence")) {
        options.confidence = Percent(*text).value_or(0);
        if (options.confidence < 0.5 || options.confidence > 0.9999)
            return "option --confidence needs 50 to 99.99, found \"" + *text + "\"";
    }
    const std::size_t fewest = FewestValues(options.confidence);
    return options.rounds >= fewest
               ? ""
               : "--repeat " + std::to_string(options.rounds) + " is too few for the confidence, which needs " +
                     std::to_string(fewest) + " rounds; see --confidence";
}

/// What is wrong with the command line; empty when it can be followed.
std::string ReadOptions(const Util::CommandLine::Result& parsed, BenchOptions& options)
{
    const Util::ParseArgs::CmdLineArgs& args = parsed.args;
    std::string error = Util::CaptureFault(args);
    if (!error.empty())
        return error;
    options.captureFile = args.positional[0];
    Util::FrameRange frames;
    Util::ReadFrameRange(args, "--frames", frames, error);
    if (args.FindValue("--frames"))
        options.frames = frames;
    ReadCount(args, "--repeat", MostRounds, options.rounds, error);
    ReadCount(args, "--passes", MostPasses, options.passes, error);
    ReadCount(args, "--warm-up", MostPasses, options.warmUp, error);
    error = error.empty() ? ReadPercents(args, options) : error;
    options.isInWindow = args.HasSwitch("--window");
    options.timesCalls = args.HasSwitch("--calls");
    options.timesGpu = args.HasSwitch("--gpu");
    if (const std::string* const file = args.FindValue("--json"))
        options.jsonFile = *file;
    options.a = Sides::ParseSide('a', parsed, error);
    if (Sides::IsSideGiven('b', parsed))
        options.b = Sides::ParseSide('b', parsed, error);
    return error.empty() && options.limit && !options.b ? "--fail-above needs a side B, such as --b-driver DIR" : error;
}

} // namespace

std::variant<BenchOptions, Util::ExitStatus> ParseBenchOptions(int argc, const char* const* argv)
{
    const std::vector<Util::Option> table = Sides::WithSideOptions(Options);
    const Util::CommandLine commandLine(table);
    const Util::CommandLine::Result parsed = commandLine.Parse(argc, argv);
    BenchOptions options;
    if (const auto answered = Util::AnswerCommandLine("playback-bench", Usage, commandLine, parsed,
                                                      [&] { return ReadOptions(parsed, options); }))
        return *answered;
    return options;
}

} // namespace Tools
