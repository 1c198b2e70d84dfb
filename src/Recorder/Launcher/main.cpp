// playback-record: runs a program and records its EGL and OpenGL ES calls.

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>

#include "Recorder/Launcher/CapturePlace.h"
#include "Recorder/Launcher/Explanation.h"
#include "Recorder/Launcher/ProcessReports.h"
#include "Recorder/Launcher/Recording.h"
#include "Recorder/Launcher/Recordings.h"
#include "Util/CommandLine.h"
#include "Util/ExitStatus.h"
#include "Util/OutputFile.h"

namespace {

namespace fs = std::filesystem;
using Util::ExitStatus;

constexpr Util::Option OptionTable[] = {
    {"-o", "FILE",
     "the capture to write (default: COMMAND.glcap in the working directory); a capture of that name is replaced only "
     "once a new one was recorded",
     "Options"},
    {"--hash", "", "store a hash of each frame, which playback -verify compares", "Options"},
    {"--prefer-es", "",
     "hide desktop OpenGL from the program, so that one that can choose draws with OpenGL ES, which can be recorded",
     "Options"},
    {"--frames", "N", "end the capture and the program after N frames", "Options"},
    {"--help", "", "print this text", "Options"},
    {"--version", "", "print the version", "Options"},
};

constexpr char Usage[] = R"(Usage: playback-record [options] [--] COMMAND [ARGUMENT...]

Runs COMMAND and records its EGL and OpenGL ES calls. Processes that COMMAND starts are recorded too. FILE is the
capture of COMMAND itself or, if it drew nothing, of the first process that did; those of other processes get the next
free names beside it, FILE.2.glcap and so on.

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

int Trouble(const std::string& message, ExitStatus status)
{
    std::fprintf(stderr, "playback-record: %s\n", message.c_str());
    return static_cast<int>(status);
}

/// How the capture of a process ends that is not complete.
std::string WhyIncomplete(const Recorder::Recording& recording, const std::string& unwritten,
                          const Recorder::ProgramEnd& end)
{
    if (!unwritten.empty())
        return "It ends early: " + unwritten;
    if (recording.isBusy)
        return "The process goes on, and writes to it until it ends.";
    const std::string how = recording.process != end.process ? "It was killed, or ended"
                            : end.signal != 0                ? "It ended"
                                                             : "It ended with status " + std::to_string(end.status);
    return how + " without its exit handlers, and wrote its capture itself: calls of the last half second may be "
                 "missing.";
}

/// Gives the captures their names and tells of them. What could not be written is 6, and 0 that all could.
class Conclusion {
public:
    Conclusion(Recorder::CapturePlace& place, const Recorder::RecordingOptions& options,
               const Recorder::ProgramEnd& end)
        : m_place(place), m_options(options), m_end(end), m_reports(Recorder::ReadReports(Recorder::ReportedLines()))
    {
    }

    /// The first one is the recording; the others are of other processes.
    void Keep(const Recorder::Recording& recording, bool isFirst)
    {
        const std::string unwritten = Unwritten(recording);
        std::string error;
        const bool mayReplace = unwritten.empty() || !m_place.IsTaken();
        const fs::path name = isFirst && mayReplace ? m_place.PutInPlace(recording.file, error)
                                                    : m_place.PutBeside(recording.file, error);
        std::string text = Recorder::Describe(name.string(), recording.summary);
        if (recording.process != m_end.process) {
            text += "  It is of " + recording.program + ", process " + std::to_string(recording.process) +
                    (isFirst ? "; " + m_options.command[0] + " itself made no OpenGL ES call.\n" : ".\n");
        }
        if (recording.summary.end.isKnown)
            text += "  " + recording.program + " " + Data::Describe(recording.summary.end) + ".\n";
        if (!recording.summary.isComplete)
            text += "  " + WhyIncomplete(recording, unwritten, m_end) + "\n";
        text += error.empty() ? "" : "  " + error + "\n";
        std::fputs(("playback-record: " + text).c_str(), stderr);
        m_wasWritten = m_wasWritten && unwritten.empty() && error.empty();
    }

    int TellNothing()
    {
        const auto unwritten =
            std::ranges::find_if(m_reports, [](const auto& report) { return !report.unwritten.empty(); });
        const bool isWriting = unwritten != m_reports.end();
        return Trouble("NOTHING WAS RECORDED: " +
                           (isWriting ? unwritten->unwritten : WhyNothingRecorded(m_options, m_end, m_reports)),
                       isWriting ? ExitStatus::NotWritten : ExitStatus::Differed);
    }

    [[nodiscard]] bool WasWritten() const { return m_wasWritten; }

private:
    /// Why the capture could not be written whole. The library tells its own name of the file in front.
    [[nodiscard]] std::string Unwritten(const Recorder::Recording& recording) const
    {
        const Recorder::ProcessReport* const report = Recorder::FindReport(m_reports, recording.process);
        std::string why = report != nullptr ? report->unwritten : "";
        const std::string name = recording.file.string() + ": ";
        return why.starts_with(name) ? why.substr(name.size()) : why;
    }

    Recorder::CapturePlace& m_place;
    const Recorder::RecordingOptions& m_options;
    const Recorder::ProgramEnd& m_end;
    const std::vector<Recorder::ProcessReport> m_reports;
    bool m_wasWritten = true;
};

int Conclude(Recorder::CapturePlace& place, const Recorder::RecordingOptions& options, const Recorder::ProgramEnd& end)
{
    // Whoever reads our messages may be gone; the captures are to get their names all the same.
    std::signal(SIGPIPE, SIG_IGN);
    const std::vector<Recorder::Recording> recordings = Recorder::CollectRecordings(place.Folder(), end.process);
    Conclusion conclusion(place, options, end);
    for (const Recorder::Recording& recording : recordings)
        conclusion.Keep(recording, &recording == &recordings.front());
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

int Record(const Util::CommandLine::Result& parsed, std::vector<std::string> invocation)
{
    Recorder::RecordingOptions options;
    options.invocation = std::move(invocation);
    options.command = parsed.args.positional;
    options.hash = parsed.args.HasSwitch("--hash");
    options.preferEs = parsed.args.HasSwitch("--prefer-es");
    if (const std::string* frames = parsed.args.FindValue("--frames")) {
        const char* const end = frames->data() + frames->size();
        const auto [stop, problem] = std::from_chars(frames->data(), end, options.frames);
        if (problem != std::errc() || stop != end || options.frames == 0)
            return Trouble("--frames: expected a number from 1 on, found '" + *frames + "'", ExitStatus::Usage);
    }
    if (options.command.empty())
        return Trouble("no COMMAND given; playback-record --help explains", ExitStatus::Usage);
    const std::string* const wanted = parsed.args.FindValue("-o");
    if (wanted != nullptr && (wanted->empty() || *wanted == "-")) {
        return Trouble("-o: expected the name of a file, found '" + *wanted +
                           "'; a capture cannot be written to standard output, since its beginning is written last",
                       ExitStatus::Usage);
    }
    options.library = Recorder::FindLibrary();
    if (options.library.empty()) {
        return Trouble("libPlaybackRecorder.so is missing: it belongs in ../lib beside this program's folder",
                       ExitStatus::Differed);
    }
    Recorder::CapturePlace place(wanted != nullptr ? fs::path(*wanted)
                                                   : fs::path(options.command[0]).filename().concat(".glcap"));
    if (const std::string error = place.Open(); !error.empty())
        return Trouble(error, ExitStatus::NotWritten);
    options.folder = place.Folder().string();
    const Recorder::ProgramEnd end = Recorder::RunRecorded(options);
    if (!end.error.empty()) {
        Trouble(options.command[0] + ": cannot be run: " + end.error, ExitStatus::Done);
        return end.status;
    }
    return Conclude(place, options, end);
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
        return Record(parsed, {argv, argv + argc});
    return Util::EndProgram("playback-record", ExitStatus::Done);
}
