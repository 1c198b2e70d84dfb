#include "Replay/StopSignal.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>

#include <sys/eventfd.h>
#include <unistd.h>

namespace Replay {

namespace {

// What handlers of signals touch.
volatile std::sig_atomic_t received = 0;
std::atomic<int> resumed = 0;
std::atomic<std::chrono::nanoseconds::rep> suspendedNs = 0;
int descriptor = -1;

void Notify()
{
    const std::uint64_t one = 1;
    // It has room for more than there can be signals.
    [[maybe_unused]] const ssize_t written = write(descriptor, &one, sizeof one);
}

void Remember(int signal)
{
    const int before = errno;
    received = signal;
    Notify();
    errno = before;
}

void Suspend(int)
{
    const int before = errno;
    const auto start = std::chrono::steady_clock::now();
    // The signal's own effect, which its handler took.
    raise(SIGSTOP);
    suspendedNs += std::chrono::nanoseconds(std::chrono::steady_clock::now() - start).count();
    errno = before;
}

void Resume(int)
{
    ++resumed;
}

void Handle(int signal, void (*handler)(int), int flags)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    // Restarted system calls: the driver and libwayland need not expect EINTR.
    action.sa_flags = SA_RESTART | flags;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

bool IsIgnored(int signal)
{
    struct sigaction action = {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

StopSignal::StopSignal()
{
    received = 0;
    descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    Handle(SIGINT, Remember, static_cast<int>(SA_RESETHAND));
    Handle(SIGTERM, Remember, static_cast<int>(SA_RESETHAND));
    Handle(SIGCONT, Resume, 0);
    // Ignored where no shell could let the program go on.
    if (!IsIgnored(SIGTSTP))
        Handle(SIGTSTP, Suspend, 0);
}

StopSignal::~StopSignal()
{
    for (const int signal : {SIGINT, SIGTERM, SIGCONT})
        Handle(signal, SIG_DFL, 0);
    if (!IsIgnored(SIGTSTP))
        Handle(SIGTSTP, SIG_DFL, 0);
    close(descriptor);
    descriptor = -1;
}

int StopSignal::Received()
{
    return received;
}

int StopSignal::Descriptor()
{
    return descriptor;
}

void StopSignal::Wake()
{
    Notify();
}

std::chrono::nanoseconds StopSignal::Suspended()
{
    return std::chrono::nanoseconds(suspendedNs.load());
}

int StopSignal::Resumed()
{
    return resumed;
}

} // namespace Replay
