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

class Parser {
public:
    explicit Parser(const Util::CommandLine::Result& parsed) : m_parsed(parsed) {}

    BenchOptions Options()
    {
        BenchOptions options;
        const Util::ParseArgs::CmdLineArgs& args = m_parsed.args;
        if (args.positional.size() != 1)
            Fail(args.positional.empty() ? "no capture file given"
                                         : "one capture file expected, found a second one: " + args.positional[1]);
        else
            options.captureFile = args.positional[0];
        if (options.captureFile == "-")
            Fail("a capture is read from a file, not from standard input");
        if (const std::string* const frames = args.FindValue("--frames")) {
            options.frames = Util::ParseFrameRange(*frames);
            if (!options.frames)
                Fail("--frames needs A-B with A from 1 and B not below A, or A- or A, found \"" + *frames + "\"");
        }
        ReadCount("--repeat", MostRounds, options.rounds);
        ReadCount("--passes", MostPasses, options.passes);
        ReadCount("--warm-up", MostPasses, options.warmUp);
        ReadPercents(options);
        options.isInWindow = args.HasSwitch("--window");
        options.timesCalls = args.HasSwitch("--calls");
        options.timesGpu = args.HasSwitch("--gpu");
        if (const std::string* const file = args.FindValue("--json"))
            options.jsonFile = *file;
        options.a = Sides::ParseSide('a', m_parsed, m_error);
        if (Sides::IsSideGiven('b', m_parsed))
            options.b = Sides::ParseSide('b', m_parsed, m_error);
        if (options.limit && !options.b)
            Fail("--fail-above needs a side B, such as --b-driver DIR");
        return options;
    }

    [[nodiscard]] const std::string& Error() const { return m_error; }

private:
    void Fail(const std::string& error)
    {
        if (m_error.empty())
            m_error = error;
    }

    void ReadCount(const std::string& option, std::uint32_t most, std::uint32_t& count)
    {
        const std::string* const text = m_parsed.args.FindValue(option);
        if (!text)
            return;
        count = Util::ParseCount(*text);
        if (count == 0 || count > most)
            Fail("option " + option + " needs 1 to " + std::to_string(most) + ", found \"" + *text + "\"");
    }

    void ReadPercents(BenchOptions& options)
    {
        if (const std::string* const text = m_parsed.args.FindValue("--fail-above")) {
            options.limit = Percent(*text);
            if (!options.limit)
                Fail("option --fail-above needs a number of per cent, found \"" + *text + "\"");
        }
        if (const std::string* const text = m_parsed.args.FindValue("--confidence")) {
            options.confidence = Percent(*text).value_or(0);
            if (options.confidence < 0.5 || options.confidence > 0.9999)
                return Fail("option --confidence needs 50 to 99.99, found \"" + *text + "\"");
        }
        if (const std::size_t fewest = FewestValues(options.confidence); options.rounds < fewest) {
            Fail("--repeat " + std::to_string(options.rounds) + " is too few for the confidence, which needs " +
                 std::to_string(fewest) + " rounds; see --confidence");
        }
    }

    const Util::CommandLine::Result& m_parsed;
    std::string m_error;
};

} // namespace

std::variant<BenchOptions, BenchAnswer> ParseBenchOptions(int argc, const char* const* argv)
{
    const std::vector<Util::Option> table = Sides::WithSideOptions(Options);
    const Util::CommandLine commandLine(table);
    const Util::CommandLine::Result parsed = commandLine.Parse(argc, argv);
    if (parsed.args.HasSwitch("--help"))
        return BenchAnswer{Util::ExitStatus::Done, commandLine.Help(Usage)};
    if (parsed.args.HasSwitch("--version"))
        return BenchAnswer{Util::ExitStatus::Done, "playback-bench " PLAYBACK_VERSION "\n"};
    Parser parser(parsed);
    BenchOptions options;
    if (parsed.error.empty())
        options = parser.Options();
    if (const std::string& error = parsed.error.empty() ? parser.Error() : parsed.error; !error.empty())
        return BenchAnswer{Util::ExitStatus::Usage, Util::UsageError("playback-bench", error) + "\n"};
    return options;
}

} // namespace Tools
