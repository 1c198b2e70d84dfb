#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "Recorder/Channel/SocketPlace.h"
#include "Recorder/Launcher/Control.h"
#include "Recorder/Launcher/ControlName.h"
#include "Util/CommandLine.h"
#include "Util/ExitStatus.h"
#include "Util/FrameRange.h"
#include "Util/OutputFile.h"

namespace Recorder {

namespace fs = std::filesystem;
using Util::ExitStatus;

namespace {

constexpr Util::Option Options[] = {
    {"--pid", "PID", "of which recording: the process of playback-record, or of the program that it runs", "Options"},
    {"--help", "", "print this text", "Options"},
};

constexpr char Usage[] = R"(Usage: playback-record ctl [options] start|stop|snapshot N|status

Steers a recording of the same user that is under way; it is found by XDG_RUNTIME_DIR.

start       records from the frame under way on
stop        makes a capture of what was recorded since then, up to the last frame that has ended
snapshot N  makes a capture of the next N frames or, of a recording with --last, of the newest N
status      tells of each process how many frames it had and what is recorded

stop and snapshot end when the capture is there, and print its name.

Exit status: 0 done; 1 it was not done, or there is no recording; 2 usage error, also where there are several recordings
and --pid does not choose one.)";

struct Recording {
    pid_t process;
    int connection;
};

constexpr const char* Program = "playback-record ctl";
const auto Fail = std::bind_front(Util::Fail, Program);

/// Connected; negative when nobody listens there any more.
int Connect(const fs::path& path)
{
    const SocketPlace place(path.parent_path().c_str(), path.filename().c_str());
    const int connection = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (place.Connect(connection))
        return connection;
    // Left behind by one that was killed.
    if (errno == ECONNREFUSED)
        unlink(path.c_str());
    close(connection);
    return -1;
}

std::vector<Recording> FindRecordings()
{
    std::vector<Recording> found;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(ControlFolder(), error)) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with(ControlPrefix))
            continue;
        const auto process = static_cast<pid_t>(Util::ParseCount(name.substr(std::strlen(ControlPrefix))));
        if (const int connection = process != 0 ? Connect(entry.path()) : -1; connection >= 0)
            found.push_back({process, connection});
    }
    return found;
}

pid_t ParentOf(pid_t process)
{
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("PPid:"))
            return static_cast<pid_t>(std::atoi(line.c_str() + 5));
    return 0;
}

std::string CommandOf(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/cmdline");
    std::stringstream text;
    text << file.rdbuf();
    std::string command = text.str();
    std::ranges::replace(command, '\0', ' ');
    return command;
}

/// Null where it is not clear which one is meant; the reason goes to `error`.
const Recording* Choose(const std::vector<Recording>& recordings, const std::string* pid, std::string& error)
{
    const auto chosen = static_cast<pid_t>(pid != nullptr ? Util::ParseCount(*pid) : 0);
    const pid_t parent = chosen != 0 ? ParentOf(chosen) : 0;
    for (const Recording& recording : recordings)
        if (recording.process == chosen || (parent != 0 && recording.process == parent))
            return &recording;
    if (recordings.size() == 1 && pid == nullptr)
        return recordings.data();
    error = pid == nullptr ? "there are several recordings, of which --pid chooses one:"
                           : "--pid " + *pid + ": no such recording; there are:";
    for (const Recording& recording : recordings)
        error += "\n  " + std::to_string(recording.process) + "  " + CommandOf(recording.process);
    return nullptr;
}

/// What the command line asks; nothing, with the reason in `error`, where it makes no sense.
std::optional<Question> Read(const std::vector<std::string>& words, std::string& error)
{
    constexpr std::pair<const char*, Command> Commands[] = {{"start", Command::Start},
                                                            {"stop", Command::Stop},
                                                            {"snapshot", Command::Snapshot},
                                                            {"status", Command::Status}};
    const auto* const found = std::ranges::find_if(
        Commands, [&](const auto& command) { return !words.empty() && words[0] == command.first; });
    if (found == std::end(Commands)) {
        error = "expected start, stop, snapshot N or status" + (words.empty() ? "" : ", found '" + words[0] + "'");
        return std::nullopt;
    }
    Question question;
    question.command = found->second;
    const bool isSnapshot = question.command == Command::Snapshot;
    question.frames = isSnapshot && words.size() > 1 ? Util::ParseCount(words[1]) : 0;
    if (words.size() != (isSnapshot ? 2 : 1) || (isSnapshot && question.frames == 0)) {
        error = words[0] + (isSnapshot ? ": expected a number of frames from 1 on" : ": expected nothing after it");
        return std::nullopt;
    }
    return question;
}

ExitStatus Ask(int connection, const Question& question)
{
    ExitStatus status = ExitStatus::Done;
    char packet[4096];
    if (send(connection, &question, sizeof question, MSG_NOSIGNAL) != sizeof question)
        return Fail(ExitStatus::Differed, "the recording has ended");
    for (;;) {
        const ssize_t bytes = recv(connection, packet, sizeof packet, 0);
        if (bytes < 0 && errno == EINTR)
            continue;
        if (bytes <= 0)
            return Fail(ExitStatus::Differed, "the recording ended before it had answered");
        const std::string text(packet + 1, static_cast<std::size_t>(bytes) - 1);
        if (packet[0] == Answer::Done)
            return status;
        if (packet[0] == Answer::Data)
            Util::Print(text + "\n");
        else
            std::fprintf(stderr, "%s\n", text.c_str());
        if (packet[0] == Answer::Trouble)
            status = ExitStatus::Differed;
    }
}

ExitStatus Run(int argc, const char* const* argv)
{
    const Util::CommandLine commandLine(Options);
    const auto parsed = commandLine.Parse(argc, argv);
    std::optional<Question> question;
    std::string error;
    if (const auto answered = Util::AnswerCommandLine(Program, Usage, commandLine, parsed, [&] {
            question = Read(parsed.args.positional, error);
            return error;
        }))
        return *answered;
    if (ControlFolder().empty())
        return Fail(ExitStatus::Usage, "XDG_RUNTIME_DIR is not set, by which recordings are found");
    const std::vector<Recording> recordings = FindRecordings();
    if (recordings.empty())
        return Fail(ExitStatus::Differed,
                    "no recording is under way that has its socket in " + ControlFolder().string());
    const Recording* const recording = Choose(recordings, parsed.args.FindValue("--pid"), error);
    return recording != nullptr ? Ask(recording->connection, *question) : Fail(ExitStatus::Usage, error);
}

} // namespace

int RunControl(int argc, const char* const* argv)
{
    return Util::EndProgram("playback-record", Run(argc, argv));
}

} // namespace Recorder
