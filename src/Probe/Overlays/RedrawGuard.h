#pragma once

#include <string>

namespace Probe {

/// While it lives, a draw may be made again without a trace but what it draws: transform feedback pauses. Asks first
/// whether more than that would come of it.
class RedrawGuard {
public:
    RedrawGuard();
    ~RedrawGuard();
    RedrawGuard(const RedrawGuard&) = delete;
    RedrawGuard& operator=(const RedrawGuard&) = delete;

    /// Why no draw may be made again; empty otherwise.
    [[nodiscard]] const std::string& Obstacle() const { return m_obstacle; }

private:
    std::string m_obstacle;
    bool m_isPaused = false;
};

/// The program counts what is drawn, by a query.
[[nodiscard]] bool IsDrawingCounted();

} // namespace Probe
