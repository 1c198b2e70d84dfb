// Running a program with the recorder's library in it.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

#include "Recorder/Launcher/Wanted.h"
#include "Recorder/Settings.h"

namespace Recorder {

struct RecordingOptions {
    /// This program and all of its arguments.
    std::vector<std::string> invocation;
    /// Program and arguments.
    std::vector<std::string> command;
    /// The folder for the captures, absolute.
    std::string folder;
    /// The capture that is wanted; parts get names beside it. Empty: captures keep their names in the folder.
    std::string file;
    /// Path of the preload library.
    std::string library;
    /// Desktop OpenGL is hidden from the program.
    bool preferEs = false;
    /// As FrameEndVariable has it.
    std::string frameEnd{FrameEndAuto};
    /// As StacksVariable has it; empty: none.
    std::string stacks;
    Wanted wanted;
    /// Keys in the terminal steer the recording; the program has no standard input.
    bool takesKeys = false;
};

/// How the program ended.
struct ProgramEnd {
    pid_t process = 0;
    /// As a shell reports it: the program's own, or 128 + N when signal N ended it; 126 or 127 when it did not start.
    int status = 0;
    /// The signal that ended it, or 0.
    int signal = 0;
    /// It was asked to end, by a signal to this process or from its terminal.
    bool wasStopped = false;
    /// Why it did not start.
    std::string error;
};

/// Runs the program and waits for its end; `reports` is where it tells, see ReportBox. SIGINT, SIGTERM, SIGHUP and
/// SIGQUIT that this process receives meanwhile go to the program, and it stops and continues with this process. Those
/// signals stay caught afterwards, so that what follows is not interrupted.
[[nodiscard]] ProgramEnd RunRecorded(const RecordingOptions& options, int reports);

/// Waits for one of the signals that end a recording.
void WaitForStop();

/// One of the signals that end the program came, now or earlier.
[[nodiscard]] bool WasStopped();

/// Path of the preload library, found by the place of this program; empty when it is not there.
[[nodiscard]] std::string FindLibrary();

} // namespace Recorder
