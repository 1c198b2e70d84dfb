#pragma once

#include <chrono>
#include <optional>

namespace Host {

class ReplayWindows;

/// Gives a replay in a window the pace that the capture asks for, in the driver's place: where the captured program
/// waited for the screen, each swap waits until the compositor has shown the frame before. A driver waits for ever for
/// a compositor that does not show the window; here frames go on at a low rate then.
///
/// Comes between replay and driver while it lives. One at a time; the windows outlive it.
class FramePacer {
public:
    /// How long one frame waits for a compositor that does not show it.
    static constexpr std::chrono::milliseconds PatienceWhenHidden{100};

    /// An interval given here takes the place of all that the capture sets. Core::KHRLayer::LoadEGL must have run.
    FramePacer(ReplayWindows& windows, std::optional<int> interval);
    ~FramePacer();
    FramePacer(const FramePacer&) = delete;
    FramePacer& operator=(const FramePacer&) = delete;

    /// The swap interval that the capture set; 1, as the standard has it, before it set one.
    void SetInterval(int interval) { m_captured = interval; }
    /// Before a swap of the active window.
    void BeforeSwap();

private:
    ReplayWindows& m_windows;
    std::optional<int> m_given;
    int m_captured = 1;
};

} // namespace Host
