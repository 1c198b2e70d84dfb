// playback-inspect: a look inside the frames of a capture, in a browser or as JSON.
#include <chrono>
#include <csignal>
#include <cstdio>
#include <functional>
#include <future>
#include <optional>
#include <string>
#include <thread>

#include <unistd.h>

#include "Inspect/Error.h"
#include "Inspect/Queries/Query.h"
#include "Inspect/Queries/Request.h"
#include "Inspect/Replay/Edit.h"
#include "Inspect/Server.h"
#include "Sides/Browser.h"
#include "Sides/Side.h"
#include "Util/CommandLine.h"
#include "Util/ExitStatus.h"
#include "Util/OutputFile.h"

namespace {

using Util::ExitStatus;

constexpr const char* Program = "playback-inspect";
const auto Fail = std::bind_front(Util::Fail, Program);

constexpr Util::Option Options[] = {
    {"--port", "N", "listen on this port rather than on any that is free", "Server"},
    {"--open", "", "open the page in a browser", "Server"},
    {"--query", "NAME",
     "print what the server would answer to this request, and start none; its parameters come after the file as "
     "NAME=VALUE",
     "Requests"},
    {"--at", "PLACE", "with --query: the same as at=PLACE", "Requests"},
    {"--edit", "EDIT",
     "with --query: replay the frame with this change: PROGRAM:STAGE=FILE gives a program's vertex, fragment, ... "
     "shader "
     "another source; skip, scissor (draw one pixel), textures (of 2x2 texels), simple (one colour) and no-blending "
     "are "
     "for all draws of the frame, or for one with @PLACE; may be given again",
     "Requests"},
    {"-o", "FILE", "with --query: write the answer to this file", "Requests"},
    {"--snapshots", "N",
     "keep the state at every Nth frame, for quick jumps, rather than as often as the time of replay asks for; 0 for "
     "none along the capture",
     "Server"},
    {"--driver", "DIR", "take libEGL.so.1 and libGLESv2.so.2, or libEGL.so and libGLESv2.so, from this folder",
     "Options"},
    {"--b-driver", "DIR",
     "a second driver, B: the page and the requests show what it makes of the same calls, and the first draw that it "
     "does otherwise",
     "Comparison"},
    {"--b-env", "NAME=VALUE", "side B: a variable of the environment; may be given several times", "Comparison"},
    {"--b-options", "WORDS", "side B: options for playback, such as \"--b-options=-config 8\"", "Comparison"},
    {"--against", "FILE", "another capture, with whose state this one's may be compared; may be given several times",
     "Comparison"},
    {"--help", "", "print this text", "Options"},
    {"--version", "", "print the version", "Options"},
};
constexpr const char* Usage =
    "Usage: playback-inspect [options] FILE.glcap [NAME=VALUE...]\n"
    "\n"
    "Shows what happened at any call of a capture: the frames, their draws, what each draw drew, the state\n"
    "in front of it and what it read. Prints the address of a page for a browser and serves it, to this\n"
    "machine only, until Ctrl-C or until the page ends it; over ssh -L, the browser may be elsewhere.\n"
    "The frames are replayed off screen on the driver of this machine by a process of its own.\n"
    "\n"
    "Places are 57:12, action 12 of frame 57 as playback-info --dump numbers it, 57:c345, call 345 of that\n"
    "frame, and 57, the frame's end.\n"
    "\n"
    "Examples:\n"
    "  playback-inspect --open x.glcap\n"
    "  playback-inspect --query state --at 57:12 x.glcap\n"
    "  playback-inspect --query picture --at 57:12 -o x.png x.glcap\n"
    "  playback-inspect --query picture --at 57:12 --edit 5:fragment=new.frag -o new.png x.glcap\n"
    "  playback-inspect --query export --at 57:12 -o draw.glcap x.glcap";

/// How long the end of the server may take when there is nothing left that it has to do.
constexpr std::chrono::milliseconds Patience{300};

/// What the command line asks for.
struct Request {
    Inspect::ReplaySettings replay;
    std::optional<std::uint32_t> every;
    Sides::Side second = {};
    std::vector<std::string> others = {};
    std::uint16_t port = 0;
    bool opensBrowser = false;
    /// Empty for the server.
    std::string query;
    /// Empty for standard output.
    std::string output;
    Inspect::Parameters parameters = {};
    std::vector<std::string> edits = {};
};

std::string ReadRequest(const Util::CommandLine::Result& parsed, Request& request)
{
    const Util::ParseArgs::CmdLineArgs& args = parsed.args;
    if (args.positional.empty())
        return "no capture file given";
    request.replay.capture = args.positional.front();
    const auto value = [&](const char* name) {
        const std::string* const text = args.FindValue(name);
        return text ? *text : std::string();
    };
    request.replay.side = {"A", value("--driver"), {}, {}};
    request.query = value("--query");
    request.opensBrowser = args.HasSwitch("--open");
    request.edits = parsed.AllValues("--edit");
    constexpr std::uint32_t MostPort = 65535;
    if (args.FindValue("--port")) {
        const auto port = Inspect::ParseNumber(value("--port"));
        if (!port || *port > MostPort)
            return "--port needs a number from 0 to 65535, found \"" + value("--port") + "\"";
        request.port = static_cast<std::uint16_t>(*port);
    }
    if (args.FindValue("--snapshots")) {
        request.every = Inspect::ParseNumber(value("--snapshots"));
        if (!request.every)
            return "--snapshots needs a number of frames, found \"" + value("--snapshots") + "\"";
    }
    std::string error;
    request.second = Sides::ParseSide('b', parsed, error);
    if (!error.empty())
        return error;
    request.others = parsed.AllValues("--against");
    if (args.FindValue("--at"))
        request.parameters["at"] = value("--at");
    for (std::size_t i = 1; i < args.positional.size(); ++i) {
        const std::string& parameter = args.positional[i];
        const std::size_t equals = parameter.find('=');
        if (equals == std::string::npos)
            return "one capture file and NAME=VALUE expected, found " + parameter;
        request.parameters[parameter.substr(0, equals)] = parameter.substr(equals + 1);
    }
    request.output = value("-o");
    if (request.query.empty() && (!request.parameters.empty() || !request.edits.empty() || !request.output.empty()))
        return "parameters, edits and -o go with --query";
    return {};
}

ExitStatus Print(Inspect::Inspector& inspector, const Request& request)
{
    Inspect::Parameters parameters = request.parameters;
    // A page asks again; here all of it is wanted.
    parameters.try_emplace("wait", "1");
    if (!request.edits.empty()) {
        std::vector<Inspect::Edit> edits;
        for (const std::string& edit : request.edits)
            edits.push_back(Inspect::ReadEdit(inspector, edit));
        inspector.Replay().SetEdits(std::move(edits), Inspect::Request(inspector, parameters).At().frame);
    }
    Inspect::Answer answer = Inspect::Ask(inspector, request.query, parameters);
    if (answer.type == "application/json")
        answer.body = nlohmann::ordered_json::parse(answer.body).dump(2) + "\n";
    if (request.output.empty()) {
        Util::Print(answer.body);
        return ExitStatus::Done;
    }
    const std::string error = Util::WriteWholeFile(request.output, answer.body);
    return error.empty() ? ExitStatus::Done : Fail(ExitStatus::NotWritten, error);
}

/// What ends the server.
sigset_t EndSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

ExitStatus Serve(Inspect::Inspector& inspector, const Request& request)
{
    // As a signal does.
    Inspect::Server server(inspector, [] { kill(getpid(), SIGTERM); });
    if (const std::string error = server.Listen(request.port); !error.empty())
        return Fail(ExitStatus::NoDriver, error);
    Util::Print(server.Address() + "\n");
    std::fflush(stdout);
    if (request.opensBrowser)
        Sides::OpenBrowser(Program, server.Address());
    std::promise<void> isClean;
    std::thread([&, signals = EndSignals()] {
        int signal = 0;
        sigwait(&signals, &signal);
        server.Stop();
        inspector.Stop();
        isClean.set_value();
        // What reads the file, and browsers that keep their connections, are not waited for.
        std::this_thread::sleep_for(Patience);
        _exit(static_cast<int>(ExitStatus::Done));
    }).detach();
    server.Run();
    isClean.get_future().wait();
    return ExitStatus::Done;
}

ExitStatus Run(int argc, char** argv)
{
    const Util::CommandLine commandLine(Options);
    const Util::CommandLine::Result parsed = commandLine.Parse(argc, argv);
    Request request;
    if (const std::optional<ExitStatus> answered = Util::AnswerCommandLine(
            "playback-inspect", Usage, commandLine, parsed, [&] { return ReadRequest(parsed, request); }))
        return *answered;
    // In all threads to come, since one of the server's takes them.
    const sigset_t signals = EndSignals();
    if (request.query.empty())
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::unique_ptr<Inspect::Inspector> inspector;
    try {
        inspector = std::make_unique<Inspect::Inspector>(request.replay, request.query.empty(), request.every);
        if (!request.second.IsPlain())
            inspector->SetSecond(request.second);
        for (const std::string& other : request.others)
            inspector->AddOther(other);
    } catch (const Inspect::Error& failure) {
        return Fail(ExitStatus::Unreadable, failure.what());
    }
    try {
        return request.query.empty() ? Serve(*inspector, request) : Print(*inspector, request);
    } catch (const Inspect::RequestError& failure) {
        return Fail(ExitStatus::Usage, failure.what());
    } catch (const Inspect::ReplayError& failure) {
        return Fail(ExitStatus::NoDriver, failure.what());
    }
}

} // namespace

int main(int argc, char** argv)
{
    return Util::EndProgram(Program, Run(argc, argv));
}
