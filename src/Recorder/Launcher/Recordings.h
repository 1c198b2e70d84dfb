// The captures that the processes of one recording wrote.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

#include "Recorder/Launcher/Summary.h"

namespace Recorder {

/// The capture of one process.
struct Recording {
    std::filesystem::path file;
    std::string program;
    pid_t process = 0;
    /// The process goes on writing to it.
    bool isBusy = false;
    Summary summary;
};

/// Reads what is in `folder`: the captures with something to replay that began at `sinceUs` or later, as the header of
/// a capture has it. Those with frames come first, among them that of `process`, then in the order in which they began.
/// Removes captures of that time with nothing to replay.
///
/// Processes that go on after `process` has ended are waited for, for two seconds; when there is no capture of
/// `process` itself, until they end or this program is told to.
[[nodiscard]] std::vector<Recording> CollectRecordings(const std::filesystem::path& folder, pid_t process,
                                                       std::uint64_t sinceUs);

} // namespace Recorder
