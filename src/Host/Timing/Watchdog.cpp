#include "Host/Timing/Watchdog.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <utility>

#include <poll.h>
#include <unistd.h>

#include "Replay/StopSignal.h"

namespace Host {

Watchdog::Watchdog(End end) : m_end(std::move(end)), m_thread([this] { Watch(); }) {}

Watchdog::~Watchdog()
{
    m_isOver = true;
    Replay::StopSignal::Wake();
    m_thread.join();
}

void Watchdog::SetLimit(Replay::RunningClock::time_point limit)
{
    {
        const std::lock_guard lock(m_mutex);
        m_limit = limit;
    }
    Replay::StopSignal::Wake();
}

void Watchdog::ExpectEnd()
{
    {
        const std::lock_guard lock(m_mutex);
        m_limit = Replay::RunningClock::time_point::max();
        m_deadline = Replay::RunningClock::now() + PatienceAfterSignal;
    }
    Replay::StopSignal::Wake();
}

Replay::RunningClock::time_point Watchdog::Deadline()
{
    const std::lock_guard lock(m_mutex);
    if (Replay::StopSignal::Received() != 0 && !std::exchange(m_isSignalled, true))
        m_deadline = Replay::RunningClock::now() + PatienceAfterSignal;
    const auto never = Replay::RunningClock::time_point::max();
    return std::min(m_deadline, m_limit == never ? never : m_limit + PatienceAfterLimit);
}

void Watchdog::Watch()
{
    // Signals are the replay thread's.
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    while (!m_isOver) {
        const Replay::RunningClock::time_point deadline = Deadline();
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Replay::RunningClock::now());
        if (left.count() <= 0) {
            m_end(m_isSignalled ? strsignal(Replay::StopSignal::Received()) : "The time of -timelimit is over");
            return;
        }
        constexpr std::chrono::milliseconds Longest = std::chrono::hours(1);
        pollfd wake = {Replay::StopSignal::Descriptor(), POLLIN, 0};
        if (poll(&wake, 1, static_cast<int>(std::min(left, Longest).count())) > 0) {
            std::uint64_t count = 0;
            [[maybe_unused]] const ssize_t bytes = read(wake.fd, &count, sizeof count);
        }
    }
}

} // namespace Host
