// playback-info: prints what is in a capture.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include <unistd.h>

#include "Tools/Info/CaptureSummary.h"
#include "Tools/Info/Dump.h"
#include "Tools/Info/Report/Report.h"
#include "Tools/Info/StateText.h"
#include "Tools/Info/Statistics.h"
#include "Util/CommandLine.h"
#include "Util/ExitStatus.h"
#include "Util/OutputFile.h"
#include "Util/ProgressLine.h"

namespace {

using Util::ExitStatus;

constexpr const char* Program = "playback-info";
const auto Fail = std::bind_front(Util::Fail, Program);
using Util::Print;

constexpr Util::Option Options[] = {
    {"--recount", "",
     "count by reading all of the capture, which finds damage too, rather than believe the summary at its end",
     "Options"},
    {"--json", "", "print the same as JSON, with statistics of the whole capture and of each frame", "Options"},
    {"--csv", "", "print the statistics as a table instead, one line for each frame", "Options"},
    {"--dump", "",
     "list all calls instead, one on each line, with frame, number of the call in its frame, thread and "
     "context; with --json, a JSON object on each line",
     "Options"},
    {"--frames", "A-B",
     "only these frames, counted from 1; A- for all from A on, A for one frame; alone or with --dump, --json or --csv",
     "Options"},
    {"--calls", "PATTERNS", "with --dump: only functions whose names match, such as glDraw*,glClear", "Options"},
    {"--full", "", "with --dump: texts and arrays in full, shaders included", "Options"},
    {"--stacks", "",
     "with --dump: where in the program each call came from, where playback-record --stacks recorded that; with "
     "functions and lines as far as this machine has the debug information",
     "Options"},
    {"--debug-path", "DIR[:DIR...]",
     "with --stacks: look there first for the program's files and their debug information, as "
     "DIR/.build-id/ab/cdef.debug, by the path that they had, or by name",
     "Options"},
    {"--state", "F:C",
     "print as JSON what was set before call C of frame F, or F for the end of frame F: the state of the current "
     "context "
     "and of its objects, in the names of OpenGL ES",
     "Options"},
    {"--against", "F:C", "with --state: print instead what differs from there to here; with --json as JSON", "Options"},
    {"--report", "DIR", "write a page to DIR/index.html that shows the capture in a browser", "Options"},
    {"--results", "FILE", "with --report: what playback -json wrote of a replay, with the screenshots that it took",
     "Options"},
    {"--check", "",
     "only say what the capture needs and the driver of this machine lacks; status 1 if there is anything", "Options"},
    {"--help", "", "print this text", "Options"},
    {"--version", "", "print the version", "Options"},
};
constexpr const char* Usage =
    "Usage: playback-info [options] FILE.glcap\n"
    "\n"
    "Prints what is in a capture: header, frames, threads, contexts, surfaces and calls. The statistics, in\n"
    "total and by frame: draws, instances, vertices, dispatches, clears, blits, uploaded bytes, objects,\n"
    "shaders, programs, extensions, and state changes that changed nothing.";

void Report(const std::string& line)
{
    std::fprintf(stderr, "%s\n", line.c_str());
}

/// What is wrong with the options together; fills in what to list.
std::string Check(const Util::ParseArgs::CmdLineArgs& args, Tools::DumpChoice& choice)
{
    std::string error = Util::CaptureFault(args);
    if (!error.empty())
        return error;
    const bool isDump = args.HasSwitch("--dump");
    if (args.HasSwitch("--check") && (args.switches.size() > 1 || !args.values.empty()))
        return "--check cannot be combined with other options";
    const bool isReport = args.FindValue("--report") != nullptr;
    const bool isState = args.FindValue("--state") != nullptr;
    if (args.HasSwitch("--csv") + isDump + isReport + isState > 1 ||
        (args.HasSwitch("--json") && (args.HasSwitch("--csv") || isReport)))
        return "options exclude each other: one of --json, --csv, --dump, --state and --report, or --dump or --against "
               "with --json";
    if (args.FindValue("--against") && !isState)
        return "--against goes with --state";
    for (const char* const option : {"--state", "--against"}) {
        const std::string* const moment = args.FindValue(option);
        if (moment && Tools::ParseMoment(*moment).frame == 0)
            return std::string(option) + " needs F:C, call C of frame F, or F, both from 1, found \"" + *moment + "\"";
    }
    if (args.FindValue("--calls") && !isDump)
        return "--calls goes with --dump";
    if (args.HasSwitch("--stacks") && !isDump)
        return "--stacks goes with --dump";
    if (args.FindValue("--debug-path") && !args.HasSwitch("--stacks"))
        return "--debug-path goes with --stacks";
    if (args.FindValue("--frames") && (isReport || isState || args.HasSwitch("--recount")))
        return "--frames goes alone, or with --dump, --json or --csv";
    if (isReport && *args.FindValue("--report") == "-")
        return "--report needs a folder for the page, which does not go to standard output";
    if (args.FindValue("--results") && !isReport)
        return "--results goes with --report";
    Util::ReadFrameRange(args, "--frames", choice.frames, error);
    if (const std::string* const calls = args.FindValue("--calls"))
        choice.calls = *calls;
    if (args.HasSwitch("--full") && (!isDump || args.HasSwitch("--json")))
        return isDump ? "--json shows everything in full anyway" : "--full goes with --dump";
    choice.stacks = args.HasSwitch("--stacks");
    if (const std::string* const folders = args.FindValue("--debug-path"))
        choice.debugFolders = *folders;
    choice.notation = args.HasSwitch("--json")   ? Tools::Notation::Json
                      : args.HasSwitch("--full") ? Tools::Notation::Full
                                                 : Tools::Notation::Plain;
    return error;
}

/// Whether the summary at the end of a capture will do.
Tools::SummaryUse UseOf(const Util::ParseArgs::CmdLineArgs& args)
{
    return args.HasSwitch("--recount") ? Tools::SummaryUse::Ignore : Tools::SummaryUse::Believe;
}

/// The table, the JSON document or the page. Trouble is reported once, by the reader that looks closer.
ExitStatus PrintStatistics(Data::CaptureSource& source, const std::string& path,
                           const Util::ParseArgs::CmdLineArgs& args, const Util::FrameRange& frames)
{
    std::optional<Util::ProgressLine> progress;
    if (args.FindValue("--report"))
        progress.emplace().Show("counting calls");
    Data::Diagnostics quiet(path, nullptr);
    Tools::CaptureSummary summary = args.FindValue("--frames") ? Tools::Summarize(source, quiet, frames)
                                                               : Tools::Summarize(source, quiet, UseOf(args));
    std::string error;
    std::optional<Tools::CaptureStatistics> statistics = Tools::CollectStatistics(path, Report, error, frames);
    if (!statistics)
        return Fail(ExitStatus::Unreadable, error);
    // Damage that only who reads all of it meets.
    if (statistics->isIncomplete && summary.isComplete && !args.FindValue("--frames"))
        summary = Tools::Summarize(source, quiet, Tools::SummaryUse::Ignore);
    Tools::SetCalls(*statistics, summary.counts);
    if (const std::string* const folder = args.FindValue("--report")) {
        const std::string* const results = args.FindValue("--results");
        const Util::Outcome failure = Tools::WriteReport(*folder, {path, results ? *results : "", summary, *statistics,
                                                                   [&](const char* what) { progress->Show(what); }});
        progress.reset();
        return failure ? Fail(failure->status, failure->message) : ExitStatus::Done;
    }
    Print(args.HasSwitch("--csv") ? Tools::ToCsv(*statistics) : Tools::ToJson(summary, &*statistics));
    return ExitStatus::Done;
}

ExitStatus PrintDump(Data::CaptureSource& source, Data::Diagnostics& diagnostics, Tools::DumpChoice choice)
{
    const std::string& path = diagnostics.FileName();
    const std::string error =
        Tools::CheckChoice(source, choice, [&](const std::string& note) { Report(path + ": " + note); });
    if (!error.empty())
        return Fail(ExitStatus::Usage, path + ": " + error);
    const std::uint64_t lines = Tools::Dump(source, diagnostics, choice, Print);
    if (lines == 0)
        Report(path + ": has no such calls");
    return ExitStatus::Done;
}

/// Labels may be any bytes; what is no UTF-8 is replaced.
std::string Text(const nlohmann::ordered_json& json)
{
    return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

/// The state at a moment, or what differs from another one to it.
ExitStatus PrintState(Data::CaptureSource& source, Data::Diagnostics& diagnostics,
                      const Util::ParseArgs::CmdLineArgs& args)
{
    const auto at = [&](const std::string& moment) {
        return Tools::StateAt(source, diagnostics, Tools::ParseMoment(moment));
    };
    const auto here = at(*args.FindValue("--state"));
    const std::string* const other = args.FindValue("--against");
    const auto there = other ? at(*other) : here;
    for (const auto* state : {&here, &there})
        if (const auto* error = std::get_if<std::string>(state))
            return Fail(ExitStatus::Usage, diagnostics.FileName() + ": " + *error);
    const auto& snapshot = std::get<Tools::StateSnapshot>(here);
    if (!other) {
        Print(Text(Tools::ToJson(snapshot)));
        return ExitStatus::Done;
    }
    const auto differences = Tools::Compare(std::get<Tools::StateSnapshot>(there), snapshot);
    Print(args.HasSwitch("--json") ? Text(Tools::ToJson(differences)) : Tools::ToText(differences));
    return ExitStatus::Done;
}

/// Only the program that replays knows a driver.
ExitStatus CheckDriver(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path program =
        std::filesystem::read_symlink("/proc/self/exe", error).parent_path() / "playback";
    execl(program.c_str(), program.c_str(), "-check", "--", path.c_str(), nullptr);
    return Fail(ExitStatus::NoDriver, program.string() + ": " + std::strerror(errno));
}

ExitStatus Run(int argc, char** argv)
{
    const Util::CommandLine commandLine(Options);
    const Util::CommandLine::Result parsed = commandLine.Parse(argc, argv);
    Tools::DumpChoice choice;
    if (const std::optional<ExitStatus> answered =
            Util::AnswerCommandLine(Program, Usage, commandLine, parsed, [&] { return Check(parsed.args, choice); }))
        return *answered;
    const Util::ParseArgs::CmdLineArgs& args = parsed.args;
    std::string error;

    const std::string& path = args.positional.front();
    if (args.HasSwitch("--check"))
        return CheckDriver(path);
    const std::unique_ptr<Data::CaptureSource> source = Data::CaptureSource::Open(path, error);
    if (!source)
        return Fail(ExitStatus::Unreadable, error);
    Data::Diagnostics diagnostics(path, Report);
    if (args.HasSwitch("--dump"))
        return PrintDump(*source, diagnostics, choice);
    if (args.FindValue("--state"))
        return PrintState(*source, diagnostics, args);
    error = Tools::CheckChoice(*source, choice, [&](const std::string& note) { Report(path + ": " + note); });
    if (!error.empty())
        return Fail(ExitStatus::Usage, path + ": " + error);
    if (args.HasSwitch("--json") || args.HasSwitch("--csv") || args.FindValue("--report"))
        return PrintStatistics(*source, path, args, choice.frames);
    if (!args.FindValue("--frames")) {
        Print(Tools::ToText(Tools::Summarize(*source, diagnostics, UseOf(args))));
        return ExitStatus::Done;
    }
    Print(Tools::ToText(Tools::Summarize(*source, diagnostics, choice.frames)));
    return ExitStatus::Done;
}

} // namespace

int main(int argc, char** argv)
{
    return Util::EndProgram(Program, Run(argc, argv));
}
