#include "Replay/Timing/ReplayClock.h"

#include <ctime>

#include "Replay/StopSignal.h"

namespace Replay {

RunningClock::time_point RunningClock::now()
{
    return time_point(std::chrono::steady_clock::now().time_since_epoch() - StopSignal::Suspended());
}

Span& Span::operator+=(const Span& other)
{
    wallMs += other.wallMs;
    cpuMs += other.cpuMs;
    return *this;
}

Span operator-(const Span& left, const Span& right)
{
    return {left.wallMs - right.wallMs, left.cpuMs - right.cpuMs};
}

Span ReplayClock::Read()
{
    timespec cpu = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &cpu);
    const std::chrono::duration<double, std::milli> wall = RunningClock::now().time_since_epoch();
    return {wall.count(), static_cast<double>(cpu.tv_sec) * 1e3 + static_cast<double>(cpu.tv_nsec) / 1e6};
}

Span ReplayClock::Now() const
{
    return (m_depth > 0 ? m_stopped : Read()) - m_start;
}

void ReplayClock::Stop(Beside what)
{
    if (m_depth++ == 0) {
        m_stopped = Read();
        m_reason = what;
    }
}

void ReplayClock::Go()
{
    if (--m_depth == 0) {
        const Span passed = Read() - m_stopped;
        m_beside[static_cast<std::size_t>(m_reason)] += passed;
        m_start += passed;
    }
}

} // namespace Replay
