#include "Replay/StatusLine.h"

#include <cmath>
#include <cstdio>

#include <unistd.h>

#include "Interfaces/Core.h"

namespace Replay {

namespace {

constexpr std::chrono::milliseconds Interval{200};

} // namespace

StatusLine::StatusLine(bool isQuiet) : m_isShown(!isQuiet && isatty(STDERR_FILENO) != 0) {}

StatusLine::~StatusLine()
{
    if (m_isShown)
        Core::Console::SetStatus("");
}

void StatusLine::Update(std::uint64_t frames, std::uint64_t total, std::uint32_t frame, bool isPaused)
{
    const Clock::time_point now = Clock::now();
    if (!m_isShown || (now < m_lastShown + Interval && isPaused == m_wasPaused && !isPaused))
        return;
    m_lastShown = now;
    m_wasPaused = isPaused;
    char text[128];
    if (isPaused) {
        std::snprintf(text, sizeof text, "frame %u, paused: space resumes, n steps, s takes a screenshot, q ends",
                      frame);
    } else {
        const double seconds = std::chrono::duration<double>(now - m_start).count();
        const double rate = seconds > 0 ? static_cast<double>(frames) / seconds : 0;
        const double left = rate > 0 ? std::ceil(static_cast<double>(total - frames) / rate) : 0;
        std::snprintf(text, sizeof text, "frame %u, %llu of %llu, %.1f a second, %.0f:%02.0f left", frame,
                      static_cast<unsigned long long>(frames), static_cast<unsigned long long>(total), rate,
                      std::floor(left / 60), std::fmod(left, 60));
    }
    Core::Console::SetStatus(text);
}

} // namespace Replay
