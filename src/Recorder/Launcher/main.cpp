// playback-record: runs a program and records its EGL and OpenGL ES calls.

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <string>

#include "Recorder/Launcher/Recording.h"
#include "Recorder/Launcher/Summary.h"
#include "Util/CommandLine.h"

namespace {

namespace fs = std::filesystem;

constexpr int exitTrouble = 1;
constexpr int exitUsage = 2;

constexpr Util::Option optionTable[] = {
    {"-o", "FILE",
     "the capture to write (default: COMMAND.glcap in the working directory); one that exists is replaced", "Options"},
    {"--hash", "", "store a hash of each frame, which playback -verify compares", "Options"},
    {"--frames", "N", "end the capture and the program after N frames", "Options"},
    {"--help", "", "print this text", "Options"},
    {"--version", "", "print the version", "Options"},
};

constexpr char usage[] = R"(Usage: playback-record [options] [--] COMMAND [ARGUMENT...]

Runs COMMAND and records its EGL and OpenGL ES calls. Processes that COMMAND starts are recorded too: the first one
that uses EGL gets FILE, any other one a file with its process number in the name.

Exit status: that of COMMAND (128 + N when signal N ended it), but 0 when the recording was ended on purpose, by
--frames or by SIGINT or SIGTERM; 1 when nothing was recorded; 2 for a usage error; 126 or 127 when COMMAND could not
be run.)";

int Trouble(const std::string& message, int status)
{
    std::fprintf(stderr, "playback-record: %s\n", message.c_str());
    return status;
}

/// The name for processes other than the first: NAME.PID.glcap.
std::vector<std::string> OtherCaptures(const fs::path& file)
{
    std::vector<std::string> found;
    std::error_code error;
    const std::string stem = file.stem().string() + ".";
    for (const fs::directory_entry& entry : fs::directory_iterator(file.parent_path(), error)) {
        const std::string name = entry.path().filename().string();
        const std::string middle = name.starts_with(stem) && name.ends_with(".glcap") && name.size() > stem.size() + 6
                                       ? name.substr(stem.size(), name.size() - stem.size() - 6)
                                       : "";
        if (!middle.empty() && middle.find_first_not_of("0123456789") == std::string::npos) {
            found.push_back(entry.path().string());
        }
    }
    return found;
}

void RemoveOldCaptures(const fs::path& file)
{
    std::error_code error;
    fs::remove(file, error);
    for (const std::string& other : OtherCaptures(file)) {
        fs::remove(other, error);
    }
}

int Report(const fs::path& file, const Recorder::RecordingOptions& options, const Recorder::ProgramEnd& end)
{
    std::error_code error;
    Recorder::Summary summary;
    if (fs::exists(file, error)) {
        summary = Recorder::Summarize(file.string());
        std::fputs(("playback-record: " + Recorder::Describe(file.filename().string(), summary)).c_str(), stderr);
    }
    for (const std::string& other : OtherCaptures(file)) {
        std::fprintf(stderr, "playback-record: another process was recorded in %s\n", other.c_str());
    }
    if (summary.calls == summary.eglCalls) {
        return Trouble("NOTHING WAS RECORDED: " + options.command[0] +
                           " made no OpenGL ES call with an EGL context that the recorder saw. Programs that are linked"
                           " statically or have the set-user-id bit cannot be recorded; desktop OpenGL is not.",
                       exitTrouble);
    }
    const bool reachedLastFrame = options.frames != 0 && summary.frames >= options.frames;
    const bool endedOnPurpose = reachedLastFrame || (end.wasStopped && summary.isComplete && end.status >= 128);
    return endedOnPurpose ? 0 : end.status;
}

int Record(const Util::CommandLine::Result& parsed)
{
    Recorder::RecordingOptions options;
    options.command = parsed.args.positional;
    options.hash = parsed.args.HasSwitch("--hash");
    if (const std::string* frames = parsed.args.FindValue("--frames")) {
        const char* const end = frames->data() + frames->size();
        const auto [stop, problem] = std::from_chars(frames->data(), end, options.frames);
        if (problem != std::errc() || stop != end || options.frames == 0) {
            return Trouble("--frames: expected a number from 1 on, found '" + *frames + "'", exitUsage);
        }
    }
    if (options.command.empty()) {
        return Trouble("no COMMAND given; playback-record --help explains", exitUsage);
    }
    const std::string* const wanted = parsed.args.FindValue("-o");
    std::error_code error;
    const fs::path file = fs::absolute(
        wanted != nullptr ? fs::path(*wanted) : fs::path(options.command[0]).filename().concat(".glcap"), error);
    if (!fs::is_directory(file.parent_path(), error)) {
        return Trouble(file.string() + ": there is no such folder to write a capture to", exitTrouble);
    }
    if (fs::is_directory(file, error)) {
        return Trouble(file.string() + ": expected the name of a file, found a folder", exitTrouble);
    }
    options.file = file.string();
    options.library = Recorder::FindLibrary();
    if (options.library.empty()) {
        return Trouble("libPlaybackRecorder.so is not where it belongs, in ../lib beside this program", exitTrouble);
    }
    RemoveOldCaptures(file);
    const Recorder::ProgramEnd end = Recorder::RunRecorded(options);
    if (!end.error.empty()) {
        return Trouble(options.command[0] + ": cannot be run: " + end.error, end.status);
    }
    return Report(file, options, end);
}

} // namespace

int main(int argc, char** argv)
{
    const Util::CommandLine commandLine(optionTable);
    const auto parsed = commandLine.Parse(argc, argv, Util::AfterFirstPositional::TakeAll);
    if (!parsed.error.empty()) {
        return Trouble(parsed.error + "; playback-record --help explains", exitUsage);
    }
    if (parsed.args.HasSwitch("--help")) {
        std::fputs(commandLine.Help(usage).c_str(), stdout);
        return 0;
    }
    if (parsed.args.HasSwitch("--version")) {
        std::puts("playback-record " PLAYBACK_VERSION);
        return 0;
    }
    return Record(parsed);
}
