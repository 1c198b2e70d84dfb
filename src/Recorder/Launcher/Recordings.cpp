#include "Recorder/Launcher/Recordings.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <tuple>
#include <unistd.h>

#include "Recorder/Launcher/Recording.h"
#include "Recorder/Settings.h"

namespace Recorder {

namespace fs = std::filesystem;

namespace {

constexpr useconds_t PollUs = 50'000;
constexpr int PollsOfGrace = 40;
constexpr int PollsForCuts = 1200;

/// Writers hold a lock on their file.
bool IsBusy(const fs::path& file)
{
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    const bool busy = descriptor >= 0 && flock(descriptor, LOCK_SH | LOCK_NB) != 0;
    if (descriptor >= 0)
        close(descriptor);
    return busy;
}

/// NAME.PID.glcap or NAME.PID-2.glcap, not yet read.
Recording FromName(const fs::path& file)
{
    const fs::path name = file.stem();
    const std::string process = name.extension().string();
    return {file, name.stem().string(), process.empty() ? 0 : std::atoi(process.c_str() + 1), IsBusy(file), {}};
}

std::vector<Recording> List(const fs::path& folder)
{
    std::vector<Recording> recordings;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error))
        if (entry.path().extension() == CaptureEnding)
            recordings.push_back(FromName(entry.path()));
    return recordings;
}

/// Of a process that has ended, something is still cut out.
bool IsCutting(const fs::path& folder)
{
    std::error_code error;
    const fs::directory_iterator entries(folder, error);
    return std::any_of(begin(entries), end(entries), [](const fs::directory_entry& entry) {
        return entry.path().extension() == SpoolEnding && IsBusy(entry.path()) &&
               kill(FromName(entry.path().stem()).process, 0) != 0;
    });
}

std::vector<Recording> ListWhenWritten(const fs::path& folder, pid_t process)
{
    for (int polls = 0;; ++polls) {
        std::vector<Recording> recordings = List(folder);
        const auto busy = std::ranges::find_if(recordings, &Recording::isBusy);
        const bool hasOwn = std::ranges::find(recordings, process, &Recording::process) != recordings.end();
        const bool isBusy = busy != recordings.end();
        const bool isWaitedFor = polls < PollsForCuts && IsCutting(folder);
        if (!isWaitedFor && (!isBusy || (polls > PollsOfGrace && (hasOwn || WasStopped()))))
            return recordings;
        if (polls == PollsOfGrace && isBusy) {
            std::fprintf(stderr, "playback-record: %s (process %d) is still running; waiting for it to end\n",
                         busy->program.c_str(), static_cast<int>(busy->process));
        }
        usleep(PollUs);
    }
}

} // namespace

std::vector<Recording> CollectRecordings(const fs::path& folder, pid_t process, std::uint64_t sinceUs)
{
    std::vector<Recording> recordings = ListWhenWritten(folder, process);
    for (Recording& recording : recordings)
        recording.summary = Summarize(recording.file.string());
    std::erase_if(recordings,
                  [sinceUs](const Recording& recording) { return recording.summary.startTimeUs < sinceUs; });
    std::erase_if(
        recordings,
        [](const Recording& recording) {
            std::error_code error;
            return !recording.isBusy && !recording.summary.hasCalls && fs::remove(recording.file, error);
        });
    std::ranges::sort(recordings, {}, [process](const Recording& recording) {
        return std::tuple(recording.summary.frames == 0, recording.process != process, recording.summary.startTimeUs);
    });
    return recordings;
}

} // namespace Recorder
