// How the recorded program comes to its end, by signals from outside or after the last frame wanted.
#pragma once

namespace Recorder {

/// Sees to it that SIGINT, SIGTERM and SIGHUP finish the capture before they end a program that has no handler of its
/// own.
void WatchProgramEnd() noexcept;

/// Asks the program to end, and ends it two seconds later.
void EndProgram() noexcept;

/// In the child of a fork: ends there have nothing to do with the capture.
void LeaveProgramEndToParent() noexcept;

} // namespace Recorder
