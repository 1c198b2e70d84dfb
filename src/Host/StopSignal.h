#pragma once

namespace Host {

/// Turns the first SIGINT or SIGTERM into a wish to end, so that replay stops between frames and everything is cleaned
/// up. A second one ends the program at once, should a frame never come to its end.
class StopSignal {
public:
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    /// Number of the signal that came; 0 while none did.
    [[nodiscard]] static int Received();
};

} // namespace Host
