// playback-info: prints what is in a capture.
#include <cstdio>
#include <string>

#include "Data/RecordWalk.h"
#include "Tools/Info/CaptureSummary.h"
#include "Tools/Info/RecordText.h"
#include "Tools/Info/Statistics.h"
#include "Util/CommandLine.h"

namespace {

enum ExitStatus : int { Done = 0, Usage = 2, Unreadable = 3 };

constexpr Util::Option options[] = {
    {"--json", "", "print the same as JSON, with statistics of the whole capture and of each frame", "Options"},
    {"--csv", "", "print the statistics as a table instead, one line for each frame", "Options"},
    {"--dump", "", "list all calls instead, one on each line, with frame and number of the call in its frame",
     "Options"},
    {"--help", "", "print this text", "Options"},
    {"--version", "", "print the version", "Options"},
};
constexpr const char* usage =
    "Usage: playback-info [options] FILE.glcap\n"
    "\n"
    "Prints what is in a capture: header, frames, threads, contexts, surfaces and calls. The statistics, in\n"
    "total and by frame: draws, instances, vertices, dispatches, clears, blits, uploaded bytes, objects,\n"
    "shaders, programs, extensions, and state changes that set what was set already.";

void Print(const std::string& text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
}

void Dump(Data::CaptureSource& source, Data::Diagnostics& diagnostics)
{
    Data::WalkRecords(source, diagnostics, [&](const Data::RecordCursor& record) {
        const Data::Position& at = diagnostics.position;
        Print(std::to_string(at.frame + 1) + ":" + std::to_string(at.call) + " " + Tools::RecordText(record, source) +
              "\n");
    });
}

/// The table or the JSON document. Trouble is reported once, by the reader that looks closer.
int PrintStatistics(Data::CaptureSource& source, const std::string& path, bool isTable, const Data::Report& report)
{
    Data::Diagnostics quiet(path, nullptr);
    const Tools::CaptureSummary summary = Tools::Summarize(source, quiet);
    std::string error;
    std::optional<Tools::CaptureStatistics> statistics = Tools::CollectStatistics(path, report, error);
    if (!statistics) {
        std::fprintf(stderr, "playback-info: %s\n", error.c_str());
        return Unreadable;
    }
    Tools::SetCalls(*statistics, summary.stateBlockCalls, summary.callsByFrame);
    Print(isTable ? Tools::ToCsv(*statistics) : Tools::ToJson(summary, &*statistics));
    return Done;
}

} // namespace

int main(int argc, char** argv)
{
    const Util::CommandLine commandLine(options);
    const Util::CommandLine::Result parsed = commandLine.Parse(argc, argv);
    if (parsed.args.HasSwitch("--help")) {
        Print(commandLine.Help(usage));
        return Done;
    }
    if (parsed.args.HasSwitch("--version")) {
        Print("playback-info " PLAYBACK_VERSION "\n");
        return Done;
    }
    std::string error = parsed.error;
    if (error.empty() && parsed.args.positional.size() != 1)
        error = parsed.args.positional.empty() ? "no file is given" : "more than one file is given";
    if (error.empty() && parsed.args.switches.size() > 1)
        error = parsed.args.switches[0] + " and " + parsed.args.switches[1] + " exclude each other";
    if (!error.empty()) {
        std::fprintf(stderr, "playback-info: %s\n%s\n", error.c_str(), usage);
        return Usage;
    }

    const std::string& path = parsed.args.positional.front();
    const std::unique_ptr<Data::CaptureSource> source = Data::CaptureSource::Open(path, error);
    if (!source) {
        std::fprintf(stderr, "playback-info: %s\n", error.c_str());
        return Unreadable;
    }
    const Data::Report report = [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); };
    const bool isTable = parsed.args.HasSwitch("--csv");
    if (isTable || parsed.args.HasSwitch("--json"))
        return PrintStatistics(*source, path, isTable, report);
    Data::Diagnostics diagnostics(path, report);
    if (parsed.args.HasSwitch("--dump"))
        Dump(*source, diagnostics);
    else
        Print(Tools::ToText(Tools::Summarize(*source, diagnostics)));
    return Done;
}
