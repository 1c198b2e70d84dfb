#pragma once

namespace Host {

/// How the program ended, as the shell sees it.
enum class ExitStatus : int {
    Done = 0,
    /// Frames differ from the recorded ones, or could not be compared.
    Differed = 1,
    Usage = 2,
    /// The capture cannot be read.
    Unreadable = 3,
    /// No driver, display or config to replay with.
    NoDriver = 4,
    /// The context was lost, or the time of -timelimit is over.
    CutShort = 5,
};

} // namespace Host
