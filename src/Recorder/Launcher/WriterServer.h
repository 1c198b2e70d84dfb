// What the process that writes captures does.
#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>

#include "Recorder/Launcher/Spool.h"

namespace Recorder {

/// What playback-record tells of the program that it runs, or asks.
struct ProcessNews {
    static constexpr std::int32_t Started = 1;
    static constexpr std::int32_t Ended = 2;
    /// A Command, in `status`.
    static constexpr std::int32_t Asked = 3;
    /// What is still to be cut is not waited for.
    static constexpr std::int32_t Abandoned = 4;

    /// Frames of a snapshot that is asked for.
    pid_t process;
    std::int32_t what;
    /// As waitpid has it.
    std::int32_t status;
};

/// A byte: whether other processes are still written for.
namespace WriterAnswer {
inline constexpr char Idle = 1;
inline constexpr char Busy = 2;
} // namespace WriterAnswer

struct WriterPlace {
    std::string folder;
    /// Programs connect here.
    int listening;
    /// `playback-record ctl` connects here; negative: it cannot.
    int steering;
    /// ProcessNews come here. Each `Ended` is answered with a WriterAnswer when the captures of the process are
    /// complete. The end of it says that playback-record is gone.
    int control;
    /// Where failures are told.
    int reports;
    /// Each capture that begins is told of on stderr.
    bool tellsBeginnings;
};

/// Writes captures until playback-record and all programs that have connected are gone.
void ServeRecordings(const WriterPlace& place, SpoolPlace& spools, const Wanted& wanted);

} // namespace Recorder
