// Running a program with the recorder's library in it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Recorder {

struct RecordingOptions {
    /// Program and arguments.
    std::vector<std::string> command;
    /// Path of the capture, absolute.
    std::string file;
    /// Path of the preload library.
    std::string library;
    bool hash = false;
    /// 0: until the program ends.
    std::uint32_t frames = 0;
};

/// How the program ended.
struct ProgramEnd {
    /// As a shell reports it: the program's own, or 128 + N when signal N ended it; 126 or 127 when it did not start.
    int status = 0;
    /// It was asked to end, by a signal to this process or from its terminal.
    bool wasStopped = false;
    /// Why it did not start.
    std::string error;
};

/// Runs the program and waits for its end. SIGINT and SIGTERM that this process receives meanwhile go to the program.
[[nodiscard]] ProgramEnd RunRecorded(const RecordingOptions& options);

/// Path of the preload library, found by the place of this program; empty when it is not there.
[[nodiscard]] std::string FindLibrary();

} // namespace Recorder
