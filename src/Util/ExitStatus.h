#pragma once

namespace Util {

/// How a program ended, as the shell sees it; the same for all programs of the project.
enum class ExitStatus : int {
    Done = 0,
    /// Frames differ from the recorded ones, a side is slower than allowed, or nothing was recorded.
    Differed = 1,
    Usage = 2,
    /// The capture cannot be read.
    Unreadable = 3,
    /// No display, driver or config; nothing was replayed; or a check could not check.
    NoDriver = 4,
    /// The context was lost, or the time of -timelimit is over.
    CutShort = 5,
    /// An output could not be written, standard output included.
    NotWritten = 6,
};

} // namespace Util
