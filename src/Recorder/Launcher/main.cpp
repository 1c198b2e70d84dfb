// playback-record: runs a program and records its EGL and OpenGL ES calls.

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>

#include "Recorder/Launcher/CapturePlace.h"
#include "Recorder/Launcher/Conclusion.h"
#include "Recorder/Launcher/Explanation.h"
#include "Recorder/Launcher/ProcessReports.h"
#include "Recorder/Launcher/Recording.h"
#include "Recorder/Launcher/Recordings.h"
#include "Recorder/Launcher/Service.h"
#include "Recorder/Settings.h"
#include "Util/CommandLine.h"
#include "Util/ExitStatus.h"
#include "Util/OutputFile.h"

namespace {

namespace fs = std::filesystem;
using Recorder::Trouble;
using Util::ExitStatus;

constexpr Util::Option OptionTable[] = {
    {"-o", "FILE",
     "the capture to write (default: COMMAND.glcap in the working directory); a capture of that name is replaced only "
     "once a new one was recorded",
     "Options"},
    {"--hash", "", "store a hash of each frame, which playback -verify compares", "Options"},
    {"--serve", "DIR",
     "instead of running COMMAND, write the captures of programs that others start, such as services, to DIR",
     "Options"},
    {"--prefer-es", "",
     "hide desktop OpenGL from the program, so that one that can choose draws with OpenGL ES, which can be recorded",
     "Options"},
    {"--frames", "N", "end the capture and the program after N frames", "Options"},
    {"--stacks", "draws|all",
     "record where in the program draws, or all calls, came from; playback-info --dump --stacks shows it", "Options"},
    {"--help", "", "print this text", "Options"},
    {"--version", "", "print the version", "Options"},
};

constexpr char Usage[] = R"(Usage: playback-record [options] [--] COMMAND [ARGUMENT...]
  or:  playback-record [options] --serve DIR

Runs COMMAND and records its EGL and OpenGL ES calls. Processes that COMMAND starts are recorded too. FILE is the
capture of COMMAND itself or, if it has no frame, of the first process that has; those of other processes get the next
free names beside it, FILE.2.glcap and so on. What another recording has given the name FILE meanwhile stays.

With --serve, programs are recorded that others start, such as a compositor that is a service: all that have the
variables in their environment which are printed first, until a signal ends it. Their captures are DIR/NAME.PID.glcap.
The manual page has an example.

While it runs, captures are written to a folder FILE.recording-XXXXXX beside FILE (both without .glcap). It is gone at
the end. When playback-record itself is killed (SIGKILL), it stays, and what is recorded can be replayed from there.
A program that is killed or crashes loses nothing: all calls that returned are in the capture, and those that it was in
stand at its end (playback -unfinished replays them too). SIGINT, SIGTERM and SIGHUP (a closed terminal) end the
recording, which is then complete.

A capture that could not be written whole (the disk is full) is kept as far as it goes. It gets the name FILE if there
was no such file, else the next free one.

Exit status: that of COMMAND (128 + N when signal N ended it), but 0 when the recording was ended on purpose, by
--frames or by one of the signals; 1 when nothing was recorded; 2 for a usage error; 6 when the capture could not be
written, or not whole (where that is so from the beginning, COMMAND does not start); 126 or 127 when COMMAND could not
be run.)";

int Conclude(Recorder::CapturePlace& place, const Recorder::RecordingOptions& options, const Recorder::ProgramEnd& end,
             std::vector<Recorder::ProcessReport> reports)
{
    // Whoever reads our messages may be gone; the captures are to get their names all the same.
    std::signal(SIGPIPE, SIG_IGN);
    const std::vector<Recorder::Recording> recordings = Recorder::CollectRecordings(place.Folder(), end.process, 0);
    Recorder::Conclusion conclusion(options, end, std::move(reports));
    for (const Recorder::Recording& recording : recordings) {
        std::string error;
        const bool mayReplace = conclusion.Unwritten(recording).empty() || !place.IsTaken();
        const bool isFirst = &recording == &recordings.front();
        const fs::path name =
            isFirst && mayReplace ? place.PutInPlace(recording.file, error) : place.PutBeside(recording.file, error);
        conclusion.Add(recording, name, error);
    }
    if (!recordings.empty())
        conclusion.Tell();
    // After the last frame wanted the recorder itself ends the program so.
    const bool wasMeant = end.wasStopped || (options.frames != 0 && end.signal == SIGTERM);
    if (const std::string death = wasMeant ? "" : Recorder::HowItDied(options.command[0], end); !death.empty())
        Trouble(death, ExitStatus::Done);
    if (recordings.empty())
        return conclusion.TellNothing();
    if (!conclusion.WasWritten())
        return static_cast<int>(ExitStatus::NotWritten);
    const Recorder::Summary& summary = recordings.front().summary;
    const bool reachedLastFrame = options.frames != 0 && summary.frames >= options.frames;
    const bool endedOnPurpose = reachedLastFrame || (end.wasStopped && summary.isComplete && end.status >= 128);
    return endedOnPurpose ? 0 : end.status;
}

/// Empty when the options make sense.
std::string ReadOptions(const Util::CommandLine::Result& parsed, Recorder::RecordingOptions& options)
{
    options.command = parsed.args.positional;
    options.hash = parsed.args.HasSwitch("--hash");
    options.preferEs = parsed.args.HasSwitch("--prefer-es");
    if (const std::string* frames = parsed.args.FindValue("--frames")) {
        const char* const end = frames->data() + frames->size();
        const auto [stop, problem] = std::from_chars(frames->data(), end, options.frames);
        if (problem != std::errc() || stop != end || options.frames == 0)
            return "--frames: expected a number from 1 on, found '" + *frames + "'";
    }
    if (const std::string* stacks = parsed.args.FindValue("--stacks")) {
        options.stacks = *stacks;
        if (options.stacks != Recorder::StacksOfDraws && options.stacks != Recorder::StacksOfAll)
            return "--stacks: expected draws or all, found '" + *stacks + "'";
    }
    const std::string* const wanted = parsed.args.FindValue("-o");
    if (const std::string* const served = parsed.args.FindValue("--serve")) {
        options.folder = *served;
        if (served->empty())
            return "--serve: expected the name of a folder, found ''";
        return wanted != nullptr         ? "-o: the names of captures cannot be chosen with --serve"
               : options.command.empty() ? ""
                                         : "--serve: expected no COMMAND, found '" + options.command[0] + "'";
    }
    if (options.command.empty())
        return "no COMMAND given; playback-record --help explains";
    if (wanted != nullptr && (wanted->empty() || *wanted == "-")) {
        return "-o: expected the name of a file, found '" + *wanted +
               "'; a capture cannot be written to standard output, since its beginning is written last";
    }
    return {};
}

int Record(const Util::CommandLine::Result& parsed, Recorder::RecordingOptions options)
{
    const std::string* const wanted = parsed.args.FindValue("-o");
    Recorder::CapturePlace place(wanted != nullptr ? fs::path(*wanted)
                                                   : fs::path(options.command[0]).filename().concat(".glcap"));
    if (const std::string error = place.Open(); !error.empty())
        return Trouble(error, ExitStatus::NotWritten);
    options.folder = place.Folder().string();
    const Recorder::ReportBox reports(options.folder);
    const Recorder::ProgramEnd end = Recorder::RunRecorded(options, reports.Descriptor());
    if (!end.error.empty()) {
        Trouble(options.command[0] + ": cannot be run: " + end.error, ExitStatus::Done);
        return end.status;
    }
    return Conclude(place, options, end, reports.Read());
}

int Start(const Util::CommandLine::Result& parsed, std::vector<std::string> invocation)
{
    Recorder::RecordingOptions options;
    options.invocation = std::move(invocation);
    if (const std::string error = ReadOptions(parsed, options); !error.empty())
        return Trouble(error, ExitStatus::Usage);
    options.library = Recorder::FindLibrary();
    if (options.library.empty()) {
        return Trouble("libPlaybackRecorder.so is missing: it belongs in ../lib beside this program's folder",
                       ExitStatus::Differed);
    }
    return options.folder.empty() ? Record(parsed, std::move(options)) : Recorder::Serve(std::move(options));
}

} // namespace

int main(int argc, char** argv)
{
    const Util::CommandLine commandLine(OptionTable);
    const auto parsed = commandLine.Parse(argc, argv, Util::AfterFirstPositional::TakeAll);
    if (!parsed.error.empty())
        return Trouble(parsed.error + "; playback-record --help explains", ExitStatus::Usage);
    if (parsed.args.HasSwitch("--help"))
        Util::Print(commandLine.Help(Usage));
    else if (parsed.args.HasSwitch("--version"))
        Util::Print("playback-record " PLAYBACK_VERSION "\n");
    else
        return Start(parsed, {argv, argv + argc});
    return Util::EndProgram("playback-record", ExitStatus::Done);
}
