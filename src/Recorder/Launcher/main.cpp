// playback-record: runs a program and records its EGL and OpenGL ES calls.

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <unistd.h>

#include "Data/Capture/Format.h"
#include "Recorder/Launcher/CapturePlace.h"
#include "Recorder/Launcher/Conclusion.h"
#include "Recorder/Launcher/Control.h"
#include "Recorder/Launcher/Explanation.h"
#include "Recorder/Launcher/ProcessReports.h"
#include "Recorder/Launcher/Recording.h"
#include "Recorder/Launcher/Recordings.h"
#include "Recorder/Launcher/Service.h"
#include "Recorder/Launcher/Tool.h"
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
    {"--hash", "[=draws]",
     "store a hash of each frame, which playback -verify compares; with draws also one after each draw, clear, blit, "
     "dispatch, copy and mipmap, which names the first one that differs, and takes long",
     "Options"},
    {"--serve", "DIR",
     "instead of running COMMAND, write the captures of programs that others start, such as services, to DIR",
     "Options"},
    {"--prefer-es", "",
     "hide desktop OpenGL from the program, so that one that can choose draws with OpenGL ES, which can be recorded",
     "Options"},
    {"--frame-end", "KIND",
     "what ends a frame: swap, flush, finish, fence, readback, or marker (marker:TEXT: one with this text); by default "
     "auto, which looks for it",
     "Options"},
    {"--stacks", "draws|all",
     "record where in the program draws, or all calls, came from; playback-info --dump --stacks shows it", "Options"},
    {"--frames", "A-B",
     "record frames A to B, counted from 1 and both included, and end the program after B; N is 1-N, and A- goes on "
     "until the program ends",
     "Options"},
    {"--start-paused", "", "record nothing until that is started, by ctl, a signal or a key", "Options"},
    {"--last", "N", "keep no more than the last N frames, in bounded space", "Options"},
    {"--snapshot", "N", "frames of a snapshot that is taken by a key or a signal (default 1)", "Options"},
    {"--keys", "",
     "take keys in the terminal: r starts, s stops, f takes a snapshot, i tells what is recorded; the program then has "
     "no standard input",
     "Options"},
    {"--help", "", "print this text", "Options"},
    {"--version", "", "print the version", "Options"},
};

constexpr char Usage[] = R"(Usage: playback-record [options] [--] COMMAND [ARGUMENT...]
  or:  playback-record [options] --serve DIR
  or:  playback-record ctl start|stop|snapshot N|status

Runs COMMAND and records its EGL and OpenGL ES calls. Processes that COMMAND starts are recorded too. FILE is the
capture of COMMAND itself or, if it has no frame, of the first process that has; those of other processes get the next
free names beside it, FILE.2.glcap and so on. What another recording has given the name FILE meanwhile stays.

With --serve, programs are recorded that others start, such as a compositor that is a service: all that have the
variables in their environment which are printed first, until a signal ends it. Their captures are DIR/NAME.PID.glcap,
and parts of them DIR/NAME.PID-1.glcap and so on. The manual page has an example.

While it runs, captures are written to a folder FILE.recording-XXXXXX beside FILE (both without .glcap). It is gone at
the end. When playback-record itself is killed (SIGKILL), it stays, and what is recorded can be replayed from there.
A program that is killed or crashes loses nothing: all calls that returned are in the capture, and those that it was in
stand at its end (playback -unfinished replays them too). SIGINT, SIGTERM and SIGHUP (a closed terminal) end the
recording, which is then complete.

Frames are chosen ahead, by --frames, or while COMMAND runs: recording starts and stops, and snapshots are taken, by
playback-record ctl (playback-record ctl --help), by the signals SIGUSR1, SIGUSR2 and SIGRTMIN to this process, or, with
--keys, by keys. What was recorded from a start to a stop, and each snapshot, is a capture of its own, FILE-1.glcap,
FILE-2.glcap and so on, as soon as it is complete; a stop that is missing is the end of COMMAND. A snapshot has the next N
frames, with --last the newest N; its signal may bring N along (kill -q N -s RTMIN PID). FILE is what was not stopped:
the whole recording, the frames of --frames, or the last ones. Files of those names are not touched.

Such captures stand alone: playback-trim cuts them out, with a block of calls in front that sets up the state, and with
--hash a replay off screen verifies them. For that, all frames are written to the folder first, and replayed beside the
program: without a driver for that, nothing can be cut, and the folder stays, with a message. --last takes at most the
space of four times N frames or, of frames so small that 1000 have less than 32 MiB, of 4000, and of what sets up their
state; a program that draws faster than frames can be let go of waits. What is recorded while nothing is wanted takes up
to 1 GiB.

Frames end at swaps. Of a program that never swaps, and draws to framebuffer objects or pbuffers, they end at what it
does instead after something was drawn: glFlush (flush), a wait for all (finish: glFinish, eglWaitClient, eglWaitGL),
making a fence (fence) or reading pixels back (readback), whichever comes 32 times first, or most often where the program
ends before that. A window, or a swap later on, has frames end at swaps. --frame-end says it instead, and knows markers:
those of glInsertEventMarkerEXT, and messages of glDebugMessageInsert. What is drawn after the last of these calls is a
last frame, without a picture. The picture of the others is colour attachment 0 of the framebuffer that was drawn to last.

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
    const bool wasMeant = end.wasStopped || (options.wanted.HasEnd() && end.signal == SIGTERM);
    if (const std::string death = wasMeant ? "" : Recorder::HowItDied(options.command[0], end); !death.empty())
        Trouble(death, ExitStatus::Done);
    if (!conclusion.WasWritten())
        return static_cast<int>(ExitStatus::NotWritten);
    if (recordings.empty() && !conclusion.HasParts())
        return conclusion.TellNothing();
    const Util::FrameRange wanted = options.wanted.frames;
    const bool isComplete = recordings.empty() || recordings.front().summary.isComplete;
    const bool reachedLastFrame = options.wanted.HasEnd() && !recordings.empty() &&
                                  recordings.front().summary.frames > wanted.last - wanted.first;
    const bool endedOnPurpose = reachedLastFrame || (end.wasStopped && isComplete && end.status >= 128);
    return endedOnPurpose ? 0 : end.status;
}

/// Answers what is wrong with it; empty: nothing.
std::string ReadFrameEnd(const Util::ParseArgs::CmdLineArgs& args, std::string& frameEnd)
{
    const std::string* const wanted = args.FindValue("--frame-end");
    if (wanted == nullptr)
        return "";
    const bool isWord = *wanted == Recorder::FrameEndAuto ||
                        std::ranges::find(Data::FrameEndWords, *wanted) != std::end(Data::FrameEndWords);
    if (!isWord && !wanted->starts_with("marker:"))
        return "--frame-end: expected auto, swap, flush, finish, fence, readback, marker or marker:TEXT, found '" +
               *wanted + "'";
    frameEnd = *wanted;
    return "";
}

/// Empty when the options make sense.
std::string ReadOptions(const Util::CommandLine::Result& parsed, Recorder::RecordingOptions& options)
{
    options.command = parsed.args.positional;
    options.preferEs = parsed.args.HasSwitch("--prefer-es");
    if (std::string error = ReadFrameEnd(parsed.args, options.frameEnd); !error.empty())
        return error;
    if (const std::string* stacks = parsed.args.FindValue("--stacks")) {
        options.stacks = *stacks;
        if (options.stacks != Recorder::StacksOfDraws && options.stacks != Recorder::StacksOfAll)
            return "--stacks: expected draws or all, found '" + *stacks + "'";
    }
    options.takesKeys = parsed.args.HasSwitch("--keys");
    if (std::string error = Recorder::ReadWanted(parsed.args, options.wanted); !error.empty())
        return error;
    if (options.takesKeys && isatty(STDIN_FILENO) == 0)
        return "--keys: expected a terminal as standard input";
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
        return "no COMMAND given";
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
    options.file = place.File().string();
    const Recorder::ReportBox reports(options.folder);
    const Recorder::ProgramEnd end = Recorder::RunRecorded(options, reports.Descriptor());
    if (!end.error.empty()) {
        Trouble(options.command[0] + ": cannot be run: " + end.error, ExitStatus::Done);
        return end.status;
    }
    return Conclude(place, options, end, reports.Read());
}

int Start(const Util::CommandLine::Result& parsed, Recorder::RecordingOptions options)
{
    options.library = Recorder::FindLibrary();
    if (options.library.empty()) {
        return Trouble("libPlaybackRecorder.so is missing: it belongs in ../lib beside this program's folder",
                       ExitStatus::Differed);
    }
    if (options.wanted.NeedsCut() && Recorder::FindCutTools().trim.empty()) {
        return Trouble("playback-trim, which cuts frames out, is missing: it belongs in this program's folder",
                       ExitStatus::Differed);
    }
    return options.folder.empty() ? Record(parsed, std::move(options)) : Recorder::Serve(std::move(options));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::string_view(argv[1]) == "ctl")
        return Recorder::RunControl(argc - 1, argv + 1);
    const Util::CommandLine commandLine(OptionTable);
    const auto parsed = commandLine.Parse(argc, argv, Util::AfterFirstPositional::TakeAll);
    Recorder::RecordingOptions options;
    options.invocation = {argv, argv + argc};
    if (const auto answered = Util::AnswerCommandLine("playback-record", Usage, commandLine, parsed,
                                                      [&] { return ReadOptions(parsed, options); }))
        return Util::EndProgram("playback-record", *answered);
    return Start(parsed, std::move(options));
}
