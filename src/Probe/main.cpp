// playback-probe: a replay that is asked what came of it, as the sides of a comparison are.
#include <cstdio>
#include <iostream>
#include <vector>

#include <unistd.h>

#include "Interfaces/Core.h"
#include "Playback/PlaybackSettings.h"
#include "Probe/CrashNote.h"
#include "Probe/Service.h"
#include "Util/CommandLine.h"
#include "Util/ExitStatus.h"
#include "Util/OutputFile.h"

namespace {

using Playback::PlaybackEnvironment;
using Util::ExitStatus;

constexpr const char* Usage =
    "Usage: playback-probe [options] FILE.glcap\n"
    "\n"
    "Replays a capture off screen as it is told, and tells what came of it. Requests come on standard\n"
    "input, a JSON object on each line; each answer is a line of JSON on standard output. playback-compare\n"
    "and playback-inspect use it.";

std::vector<Util::Option> AllOptions()
{
    std::vector<Util::Option> all = {
        {"-driver", "DIR", "take libEGL.so.1 and libGLESv2.so.2, or libEGL.so and libGLESv2.so, from this folder",
         "Program"},
        {"-from", "SNAPSHOT", "begin where another replay of the capture wrote this file", "Program"},
        {"-snapshots", "", "be able to write such files", "Program"},
        {"-help", "", "print this text", "Program"},
        {"-version", "", "print the version", "Program"}};
    for (const PlaybackEnvironment::Option& option : PlaybackEnvironment::Options())
        all.push_back({option.name, option.value ? option.value : "", option.help, option.group});
    return all;
}

/// Answers go to what was standard output; drivers print there too, and get standard error in its place.
std::FILE* TakeOutput()
{
    std::FILE* const output = fdopen(dup(STDOUT_FILENO), "w");
    dup2(STDERR_FILENO, STDOUT_FILENO);
    return output;
}

ExitStatus Serve(Probe::Replayer& replayer, std::FILE* output)
{
    Probe::Service service(replayer);
    for (std::string request; std::getline(std::cin, request);) {
        const Probe::Reply reply = service.Answer(request, std::cin);
        const std::string line = reply.json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
        const auto write = [output](const auto& all) {
            return all.empty() || std::fwrite(all.data(), 1, all.size(), output) == all.size();
        };
        if (!write(line) || !write(reply.bytes) || std::fflush(output) != 0)
            return ExitStatus::NotWritten;
    }
    return ExitStatus::Done;
}

ExitStatus Run(int argc, char** argv)
{
    const std::vector<Util::Option> table = AllOptions();
    const Util::CommandLine commandLine(table);
    const Util::CommandLine::Result parsed = commandLine.Parse(argc, argv);
    if (const std::optional<ExitStatus> answered =
            Util::AnswerCommandLine("playback-probe", Usage, commandLine, parsed, [&] {
                return std::string(parsed.args.positional.size() == 1 ? "" : "one capture file expected");
            }))
        return *answered;
    std::FILE* const output = TakeOutput();
    const std::string& path = parsed.args.positional.front();
    PlaybackEnvironment::Instance()->LoadSettings(parsed.args, path);
    const std::string* const driver = parsed.args.FindValue("-driver");
    const std::string* const snapshot = parsed.args.FindValue("-from");
    const Probe::Beginning beginning = {snapshot ? *snapshot : "", parsed.args.HasSwitch("-snapshots")};
    std::string error;
    ExitStatus status = ExitStatus::Done;
    const std::unique_ptr<Probe::Replayer> replayer =
        Probe::Replayer::Open(path, driver ? *driver : "", beginning, error, status);
    if (!replayer) {
        std::fprintf(stderr, "playback-probe: %s\n", error.c_str());
        return status;
    }
    Probe::CrashNote::Install();
    return Serve(*replayer, output);
}

} // namespace

int main(int argc, char** argv)
{
    return Util::EndProgram("playback-probe", Run(argc, argv));
}
