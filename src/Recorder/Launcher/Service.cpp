#include "Recorder/Launcher/Service.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "Data/Capture/CaptureWriter.h"
#include "Recorder/Channel/Handshake.h"
#include "Recorder/Launcher/Conclusion.h"
#include "Recorder/Launcher/Environment.h"
#include "Recorder/Launcher/ProcessReports.h"
#include "Recorder/Launcher/Recordings.h"
#include "Recorder/Launcher/Steering.h"
#include "Recorder/Launcher/WriterProcess.h"
#include "Util/OutputFile.h"

namespace Recorder {

namespace fs = std::filesystem;
using Util::ExitStatus;

namespace {

/// What keeps captures from being written there; empty when nothing does.
std::string WhyNotWritable(const fs::path& folder)
{
    if (mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST)
        return std::strerror(errno);
    if (!fs::is_directory(folder))
        return "expected a folder, found a file";
    return access(folder.c_str(), W_OK | X_OK) != 0 ? std::strerror(errno) : "";
}

void PrintVariables(const RecordingOptions& options)
{
    std::string lines;
    for (const auto& variables : {RecordingVariables(options), ToolkitVariables(options)})
        for (const auto& [name, value] : variables)
            lines += value.empty() ? "" : std::string(name) + "=" + value + "\n";
    Util::Print(lines);
    std::fflush(stdout);
}

int Conclude(const RecordingOptions& options, const ReportBox& reports, std::uint64_t beginUs)
{
    // Whoever reads our messages may be gone.
    std::signal(SIGPIPE, SIG_IGN);
    const ProgramEnd none;
    // Ahead of the reports, since it waits for what is still cut out.
    const std::vector<Recording> recordings = CollectRecordings(options.folder, 0, beginUs);
    Conclusion conclusion(options, none, reports.Read());
    for (const Recording& recording : recordings)
        conclusion.Add(recording, recording.file, "");
    if (conclusion.IsEmpty())
        return conclusion.TellNothing();
    conclusion.Tell();
    return static_cast<int>(conclusion.WasWritten() ? ExitStatus::Done : ExitStatus::NotWritten);
}

} // namespace

int Serve(RecordingOptions options)
{
    if (const std::string why = WhyNotWritable(options.folder); !why.empty())
        return Trouble(options.folder + ": no captures can be written there: " + why, ExitStatus::NotWritten);
    options.folder = fs::canonical(options.folder).string();
    const std::uint64_t beginUs = Data::RealTimeUs();
    const ReportBox reports(options.folder);
    {
        const WriterProcess writer(options, reports.Descriptor(), WriterProcess::Tells::EachBeginning);
        const Steering steering(writer, options);
        if (!writer.IsRunning())
            return Trouble(options.folder +
                               ": another playback-record serves this folder, or nobody can: " + std::strerror(errno),
                           ExitStatus::NotWritten);
        PrintVariables(options);
        std::fputs("playback-record: programs that are started with these variables are recorded, until Ctrl-C\n",
                   stderr);
        WaitForStop();
        // Programs that are started from now on write themselves.
        unlink((fs::path(options.folder) / SocketName).c_str());
    }
    return Conclude(options, reports, beginUs);
}

} // namespace Recorder
