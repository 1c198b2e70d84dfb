// playback-compare: replays a capture on two drivers and finds the first draw that differs.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "Compare/Comparison.h"
#include "Compare/FolderComparison.h"
#include "Compare/ResultText.h"
#include "Compare/Suite/SuiteCommand.h"
#include "Util/CommandLine.h"
#include "Util/ExitStatus.h"
#include "Util/OutputFile.h"
#include "Util/ProgressLine.h"

namespace {

using Util::ExitStatus;

constexpr const char* Program = "playback-compare";
const auto Fail = std::bind_front(Util::Fail, Program);

constexpr Util::Option Options[] = {
    {"--frames", "A-B", "frames to compare, counted from 1; A- for all from A on, A for one (default: all)", "Options"},
    {"--first", "", "stop at the first frame that differs", "Options"},
    {"--from-reference", "",
     "look for a draw that goes wrong by itself: in the frame that differs, each draw of side B starts from what side "
     "A has",
     "Tolerance"},
    {"--by-draw", "", "the same, and judge all draws of that frame, the one that is furthest off as the wrong one",
     "Tolerance"},
    {"--tolerance", "N", "accept pixels whose components differ by at most N steps of 255", "Tolerance"},
    {"--fuzz", "PERCENT", "accept images of which at most so many pixels are further apart", "Tolerance"},
    {"--perceptual", "DISTANCE",
     "accept images, too, whose Butteraugli distance is at most this; people see no difference below 1", "Tolerance"},
    {"--timelimit", "SECONDS",
     "give up a capture whose comparison takes longer, since a driver may never come back; in a suite the others go on",
     "Options"},
    {"-o", "DIR", "write pictures of what was expected and found to this folder", "Results"},
    {"--json", "FILE", "write the result as JSON (to standard output if FILE is -)", "Results"},
    {"--page", "FILE",
     "write a page that shows the result in a browser, whole in one file; of a suite, the captures that differ",
     "Results"},
    {"--progress", "", "say on standard error how far the comparison is, a line for each frame", "Results"},
    {"--quiet", "", "say nothing but what is wrong with the comparison itself", "Results"},
    {"--suite", "DIR", "compare all captures of this folder and those in it, each by itself", "Suites"},
    {"--shard", "I/N", "of the captures of the folder, only part I of N, for N machines", "Suites"},
    {"--jobs", "N", "compare so many captures at a time (default: as many as there are processors)", "Suites"},
    {"--junit", "FILE", "write the results as JUnit XML", "Suites"},
    {"--help", "", "print this text", "Options"},
    {"--version", "", "print the version", "Options"},
};
constexpr const char* Usage =
    "Usage: playback-compare [options] FILE.glcap\n"
    "       playback-compare --suite DIR [options]\n"
    "       playback-compare [options] EXPECTED_DIR FOUND_DIR\n"
    "\n"
    "Replays a capture on two sides, off screen and frame by frame: A is what is expected, B what is\n"
    "found. In the first frame that differs it goes on draw by draw and names the first one that went\n"
    "wrong, the state that was set since the one in front, what it reads that differs, and the call that\n"
    "made that so. Without an option of side B, A is compared with the hashes of the recording, or with\n"
    "those that playback -writehashes has put in for its driver; a tolerance then goes for frames that it\n"
    "has put pictures in of (-referencepictures).\n"
    "Of two folders the PNG pictures of the same names are compared, as playback -screenshots writes\n"
    "them on two machines.\n"
    "Ends with 0 where all is equal and with 1 where something differs.\n"
    "\n"
    "Examples:\n"
    "  playback-compare --b-driver /opt/new/lib -o wrong x.glcap\n"
    "  playback-compare --b-env LP_NATIVE_VECTOR_WIDTH=128 --tolerance 1 x.glcap\n"
    "  playback-compare --suite captures --a-driver /opt/new/lib --junit r.xml --page r.html";

/// A number from 0 on, or what is wrong with it.
std::optional<double> Number(const Util::ParseArgs::CmdLineArgs& args, const char* option, double most,
                             std::string& error)
{
    const std::string* const text = args.FindValue(option);
    if (!text)
        return std::nullopt;
    char* end = nullptr;
    const double value = std::strtod(text->c_str(), &end);
    if (!text->empty() && *end == '\0' && value >= 0 && value <= most)
        return value;
    error = std::string(option) + " needs a number from 0 to " + std::to_string(std::lround(most)) + ", found \"" +
            *text + "\"";
    return std::nullopt;
}

/// What is wrong with the command line; empty when it can be followed.
std::string ReadRequest(const Util::CommandLine::Result& parsed, Compare::Request& request)
{
    const Util::ParseArgs::CmdLineArgs& args = parsed.args;
    const bool isSuite = args.FindValue("--suite") != nullptr;
    for (const char* const option : {"--shard", "--jobs", "--junit"})
        if (!isSuite && args.FindValue(option))
            return std::string(option) + " goes with --suite";
    const bool areFolders = !isSuite && args.positional.size() == 2 &&
                            std::filesystem::is_directory(args.positional[0]) &&
                            std::filesystem::is_directory(args.positional[1]);
    if (!isSuite && !areFolders && args.positional.size() != 1)
        return args.positional.empty()
                   ? "no capture file given"
                   : "one capture file or two folders of pictures expected, found a second one: " + args.positional[1];
    if (areFolders)
        request.foundFolder = args.positional[1];
    std::string error;
    request.capture = isSuite ? "" : args.positional.front();
    request.a = Sides::ParseSide('a', parsed, error);
    request.b = Sides::ParseSide('b', parsed, error);
    if (request.b->IsPlain())
        request.b.reset();
    request.stopsAtFirst = args.HasSwitch("--first");
    request.isFromReference = args.HasSwitch("--from-reference");
    request.isByDraw = args.HasSwitch("--by-draw");
    constexpr double MostDistance = 1000;
    request.tolerance.steps = Number(args, "--tolerance", MostDistance, error).value_or(0);
    request.tolerance.pixels = Number(args, "--fuzz", 100, error).value_or(0) / 100;
    request.tolerance.perceptual = Number(args, "--perceptual", MostDistance, error);
    if (const std::string* const seconds = args.FindValue("--timelimit")) {
        request.timeLimit = std::chrono::seconds(Util::ParseCount(*seconds));
        if (request.timeLimit->count() == 0)
            return "--timelimit needs a number of seconds from 1 on, found \"" + *seconds + "\"";
    }
    Util::ReadFrameRange(args, "--frames", request.frames, error);
    return error;
}

/// Empty, or what could not be written.
std::string WriteResults(const Compare::Result& result, const Compare::Request& request,
                         const Util::ParseArgs::CmdLineArgs& args)
{
    const std::string* const json = args.FindValue("--json");
    const std::string* const page = args.FindValue("--page");
    const std::string* const folder = args.FindValue("-o");
    const bool isJsonPrinted = json && *json == "-";
    if (!args.HasSwitch("--quiet") && !isJsonPrinted)
        Util::Print(Compare::ToText(result, request));
    std::string error;
    if (json)
        error = Util::WriteResult(*json, Compare::ToJson(result, request).dump(2) + "\n");
    if (page && error.empty())
        error = Compare::WritePage(result, request, *page);
    if (folder && result.action && error.empty())
        error = Compare::WritePictures(*result.action, request.tolerance, *folder);
    return error;
}

/// Tells a result and answers how the program ends.
ExitStatus Conclude(const Compare::Result& result, const Compare::Request& request,
                    const Util::ParseArgs::CmdLineArgs& args)
{
    if (result.framesCompared == 0)
        return Fail(ExitStatus::NoDriver, request.capture +
                                              ": has no frame to compare; hashes of frames are recorded with "
                                              "playback-record --hash");
    if (const std::string error = WriteResults(result, request, args); !error.empty())
        return Fail(ExitStatus::NotWritten, error);
    return result.IsEqual() ? ExitStatus::Done : ExitStatus::Differed;
}

ExitStatus Compare(const Compare::Request& request, const Util::ParseArgs::CmdLineArgs& args)
{
    Compare::Result pictures;
    std::optional<Util::ProgressLine> progress(std::in_place);
    const bool hasLines = args.HasSwitch("--progress");
    Compare::Comparison comparison(request, [&](std::uint32_t frame, std::uint32_t frames) {
        const std::string text = "frame " + std::to_string(frame) + " of " + std::to_string(frames);
        if (hasLines)
            std::fprintf(stderr, "%s\n", text.c_str());
        else
            progress->Show(text);
    });
    const bool areFolders = !request.foundFolder.empty();
    const Util::Outcome failure = areFolders ? Compare::CompareFolders(request, pictures) : comparison.Run();
    progress.reset();
    if (failure)
        return Fail(failure->status, failure->message);
    return Conclude(areFolders ? pictures : comparison.Get(), request, args);
}

ExitStatus Run(int argc, char** argv)
{
    const std::vector<Util::Option> table = Sides::WithSideOptions(Options);
    const Util::CommandLine commandLine(table);
    const Util::CommandLine::Result parsed = commandLine.Parse(argc, argv);
    Compare::Request request;
    Compare::SuiteRequest suite;
    const bool isSuite = parsed.args.FindValue("--suite") != nullptr;
    if (const std::optional<ExitStatus> answered = Util::AnswerCommandLine(Program, Usage, commandLine, parsed, [&] {
            const std::string error = ReadRequest(parsed, request);
            return error.empty() && isSuite ? Compare::ReadSuite(parsed.args, suite) : error;
        }))
        return *answered;
    suite.each = request;
    return isSuite ? Compare::CompareSuite(suite, parsed.args) : Compare(request, parsed.args);
}

} // namespace

int main(int argc, char** argv)
{
    return Util::EndProgram(Program, Run(argc, argv));
}
