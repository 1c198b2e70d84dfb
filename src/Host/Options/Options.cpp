#include "Host/Options/Options.h"

#include <vector>

#include "Host/Options/OptionValues.h"
#include "Playback/PlaybackSettings.h"
#include "Util/CommandLine.h"

namespace Host {

namespace {

using Playback::PlaybackEnvironment;

constexpr const char* Usage =
    "Usage: playback [options] FILE.glcap\n"
    "Replays a capture in a window, or off screen where there is no compositor.\n"
    "\n"
    "In the window and in the terminal, space pauses and resumes, right arrow or n steps a\n"
    "frame, s takes a screenshot, f toggles full screen, i shows the inside of the frame in a\n"
    "browser (playback-inspect), and q or Escape ends.\n"
    "\n"
    "Examples:\n"
    "  playback -verify x.glcap                compare the frames with the recorded ones\n"
    "  playback -screenshots 10* -screenshotformat png -screenshotdir out x.glcap\n"
    "  playback -loopframe 30 -stopframe 40 -loopcount 10 -json times.json x.glcap";

constexpr Util::Option OwnOptions[] = {
    {"-unfinished", "", "replay the calls too in which the recorded program was when it died", "Program"},
    {"-headless", "", "replay off screen even where there is a compositor", "Program"},
    {"-verify", "",
     "compare frames, and draws where there are hashes of them, with the hashes of playback-record --hash or, on a "
     "driver that -writehashes was given on, with its own; and pixels that were read back",
     "Results"},
    {"-writehashes", "FILE",
     "write a copy of the capture that has the hashes of this driver's frames, too, with which -verify compares on "
     "this driver, and playback-compare",
     "Results"},
    {"-hashes", "frames|draws",
     "with -writehashes: of frames (the default), or of what each draw, clear, blit, dispatch, copy and mipmap has "
     "drawn to as well, as playback-record --hash=draws",
     "Results"},
    {"-referencepictures", "N", "with -writehashes: put a picture of each Nth frame in the file, too", "Results"},
    {"-measureframes", "A-B", "frames to measure, A- for all from A on (default: all but the first)", "Results"},
    {"-check", "", "only say what the capture needs and this driver lacks; status 1 if there is anything", "Results"},
    {"-timecalls", "", "add the CPU time of each function to the results of -json, which slows the replay down",
     "Results"},
    {"-timegpu", "WHAT",
     "take the time of the GPU, of frames, passes (runs of draws, clears and the like to one framebuffer) or draws, by "
     "timer queries; draws finishes each one before the next, so that a tile-based driver tells them apart",
     "Results"},
    {"-gpucounters", "PATTERNS",
     "with -timegpu, read these counters of the driver too (GL_AMD_performance_monitor), by name, such as "
     "*cycles*,*bytes*; list prints the names",
     "Results"},
    {"-json", "FILE",
     "write the results as JSON (to standard output if FILE is -): the summary, and the time and calls of each frame",
     "Results"},
    {"-csv", "FILE",
     "write a table (to standard output if FILE is -) of what was measured: each frame, or pass or draw of -timegpu",
     "Results"},
    {"-statsdir", "DIR", "folder for the reports of -stats, created if missing (default: the capture's folder)",
     "Results"},
    {"-screenshotactions", "",
     "with -screenshots F:A-B: also of the clears, copies, dispatches and mipmaps, and of blits and draws without a "
     "number of their own, from after draw A - 1 to before draw B + 1, with the numbers that playback-info --dump "
     "gives them: frame3_clear0.1.png, frame3_mipmap2.1_level1.png",
     "Screenshots"},
    {"-inspect", "",
     "when replay pauses, as at -pauseframe, show the inside of the frame in a browser by playback-inspect, which i "
     "does "
     "at any time",
     "Frames"},
    {"-framerate", "RATE", "replay at most this many frames a second", "Frames"},
    {"-pace", "HOW", "recorded: replay each frame at the time when the recorded program drew it", "Frames"},
    {"-timelimit", "SECONDS", "end after this time, with status 5, even if the driver does not return from a call",
     "Frames"},
    {"-framesinflight", "N",
     "allow at most this many frames in flight in the driver (default: 2, as a window would; 1 with "
     "-screenshots, so that frames with a picture take as long as the others); 1 finishes each frame before the next "
     "one, 0 never waits, so that times are those of the calls alone",
     "Frames"},
    {"-swapinterval", "N",
     "in a window, wait for N screen refreshes at each swap instead of as many as the program did; 0 does not wait",
     "Frames"},
    {"-turns", "",
     "wait for a line on standard input ahead of each pass, and write one to standard output after it, for programs "
     "that have several replays take turns, as playback-bench does",
     "Frames"},
    {"-quiet", "", "say only what is wrong", "Program"},
    {"-driver", "DIR", "take libEGL.so.1 and libGLESv2.so.2, or libEGL.so and libGLESv2.so, from this folder",
     "Program"},
    {"-help", "", "print this text", "Program"},
    {"-version", "", "print the version", "Program"},
};

std::vector<Util::Option> AllOptions()
{
    std::vector<Util::Option> all(std::begin(OwnOptions), std::end(OwnOptions));
    for (const PlaybackEnvironment::Option& option : PlaybackEnvironment::Options())
        all.push_back({option.name, option.value ? option.value : "", option.help, option.group});
    return all;
}

/// What is wrong with the values; empty for nothing.
std::string Fault(const std::vector<Util::Option>& table, const Util::ParseArgs::CmdLineArgs& args)
{
    for (const Util::Option& option : table) {
        const std::string* const value = args.FindValue(std::string(option.name));
        if (!value)
            continue;
        if (const std::string fault = ValueFault(option.name, option.valueName, *value); !fault.empty()) {
            const bool isQuoted = fault.ends_with('?');
            return "option " + std::string(option.name) + " " + fault + (isQuoted ? "" : ", found \"" + *value + "\"");
        }
    }
    const std::string fault = Util::CaptureFault(args);
    return fault.empty() ? CombinationFault(args) : fault;
}

/// Pace, limits and what is measured.
void ReadTimes(const Util::ParseArgs::CmdLineArgs& args, Options& options)
{
    // The first frame holds the start of the program.
    options.measuredFrames.first = 2;
    if (const std::string* frames = args.FindValue("-measureframes"))
        options.measuredFrames = *Util::ParseFrameRange(*frames);
    if (args.FindValue("-pace"))
        options.pace = Pace::Recorded();
    if (const std::string* rate = args.FindValue("-framerate"))
        options.pace = Pace::Fixed(*PositiveNumber(*rate));
    if (const std::string* seconds = args.FindValue("-timelimit"))
        options.timeLimit = std::chrono::duration<double>(*PositiveNumber(*seconds));
    if (const std::string* frames = args.FindValue("-framesinflight"))
        options.framesInFlight = static_cast<unsigned int>(*WholeNumber(*frames));
    else if (args.FindValue("-screenshots"))
        options.framesInFlight = 1;
    if (const std::string* interval = args.FindValue("-swapinterval"))
        options.swapInterval = WholeNumber(*interval);
    options.timeCalls = args.HasSwitch("-timecalls");
    options.takesTurns = args.HasSwitch("-turns");
    if (const std::string* what = args.FindValue("-timegpu"))
        options.gpuSpans = ParseGpuSpans(*what);
    if (const std::string* counters = args.FindValue("-gpucounters"))
        options.gpuCounters = *counters;
}

/// A list of frames does not stay among the arguments.
void ReadScreenshots(Util::ParseArgs::CmdLineArgs& args, Options& options)
{
    const auto screenshots = args.values.find("-screenshots");
    if (screenshots == args.values.end())
        return;
    options.screenshots = ParseScreenshots(screenshots->second);
    if (options.screenshots.isList)
        args.values.erase(screenshots);
    else
        screenshots->second = options.screenshots.engineValue;
}

} // namespace

std::variant<Options, Util::ExitStatus> ParseOptions(int argc, const char* const* argv)
{
    const std::vector<Util::Option> table = AllOptions();
    const Util::CommandLine commandLine(table);
    Util::CommandLine::Result parsed = commandLine.Parse(argc, argv);
    Util::ParseArgs::CmdLineArgs& args = parsed.args;
    if (const auto answered =
            Util::AnswerCommandLine("playback", Usage, commandLine, parsed, [&] { return Fault(table, args); }))
        return *answered;
    ExpandFunctionPatterns(args);

    Options options;
    options.captureFile = args.positional.front();
    if (const std::string* directory = args.FindValue("-driver"))
        options.driverDirectory = *directory;
    options.statisticsFile = options.captureFile;
    if (const std::string* folder = args.FindValue("-statsdir"))
        options.statisticsFile = *folder + "/" + Util::Path::GetFilePart(options.captureFile);
    if (const std::string* file = args.FindValue("-json"))
        options.jsonFile = *file;
    if (const std::string* file = args.FindValue("-csv"))
        options.csvFile = *file;
    ReadTimes(args, options);
    ReadScreenshots(args, options);
    if (const std::string* file = args.FindValue("-writehashes"))
        options.hashes.output = *file;
    if (const std::string* what = args.FindValue("-hashes"))
        options.hashes.ofActions = *what == "draws";
    if (const std::string* every = args.FindValue("-referencepictures"))
        options.hashes.pictureEvery = static_cast<std::uint32_t>(*WholeNumber(*every));
    options.screenshotActions = args.HasSwitch("-screenshotactions");
    options.check = args.HasSwitch("-check");
    options.inspect = args.HasSwitch("-inspect");
    options.quiet = args.HasSwitch("-quiet");
    options.unfinished = args.HasSwitch("-unfinished");
    options.headless = args.HasSwitch("-headless");
    options.verify = args.HasSwitch("-verify");
    options.arguments.assign(argv + 1, argv + argc);
    options.args = std::move(args);
    return options;
}

std::vector<std::string> WithoutEffect(const Options& options, std::uint32_t frames)
{
    struct Companion {
        const char* option;
        const char* other;
    };
    // An option that only says how another one is meant.
    constexpr Companion Companions[] = {{"-samples", "-config"},
                                        {"-threadFilterStartFrame", "-thread"},
                                        {"-skippbufferdisplay", "-pbuffersurface"},
                                        {"-hashes", "-writehashes"},
                                        {"-referencepictures", "-writehashes"},
                                        {"-timecalls", "-json"},
                                        {"-gpucounters", "-timegpu"},
                                        {"-statsdir", "-stats"}};
    const Util::ParseArgs::CmdLineArgs& args = options.args;
    const auto isGiven = [&](const char* option) { return args.HasSwitch(option) || args.FindValue(option); };
    std::vector<std::string> notes;
    for (const auto& [option, other] : Companions)
        if (isGiven(option) && !isGiven(other))
            notes.push_back(std::string(option) + " has no effect without " + other + ".");
    const auto noteBeyond = [&](const char* option, std::uint32_t first) {
        if (first > frames)
            notes.push_back(std::string(option) + " begins with frame " + std::to_string(first) +
                            ", after the last one, which is " + std::to_string(frames) + ".");
    };
    if (options.screenshotActions && options.screenshots.drawFrame == 0)
        notes.emplace_back("-screenshotactions has no effect without -screenshots F:A-B, F:A- or F:.");
    noteBeyond("-screenshots", options.screenshots.drawFrame != 0 ? options.screenshots.drawFrame
                                                                  : options.screenshots.frames.FirstAfter(0));
    if (args.FindValue("-measureframes"))
        noteBeyond("-measureframes", options.measuredFrames.first);
    if (const std::string* const frame = args.FindValue("-pauseframe"))
        noteBeyond("-pauseframe", static_cast<std::uint32_t>(*WholeNumber(*frame)));
    return notes;
}

} // namespace Host
