#pragma once

#include <chrono>

namespace Replay {

/// Turns the first SIGINT or SIGTERM into a wish to end, so that replay stops between frames and everything is cleaned
/// up. A second one ends the program at once. Takes the time for which SIGTSTP (Ctrl-Z) stops the program.
class StopSignal {
public:
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    /// Number of the signal that came; 0 while none did.
    [[nodiscard]] static int Received();
    /// A descriptor that can be read from when a signal came, or when somebody called Wake.
    [[nodiscard]] static int Descriptor();
    static void Wake();

    /// For how long SIGTSTP stopped the program so far.
    [[nodiscard]] static std::chrono::nanoseconds Suspended();
    /// How often the program went on after a stop.
    [[nodiscard]] static int Resumed();
};

} // namespace Replay
