#include "Host/StopSignal.h"

#include <csignal>

namespace Host {

namespace {

volatile std::sig_atomic_t received = 0;

void Remember(int signal)
{
    received = signal;
}

void Handle(int signal, void (*handler)(int), int flags)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

} // namespace

StopSignal::StopSignal()
{
    received = 0;
    // Restarted system calls: the driver and libwayland need not expect EINTR.
    Handle(SIGINT, Remember, SA_RESTART | static_cast<int>(SA_RESETHAND));
    Handle(SIGTERM, Remember, SA_RESTART | static_cast<int>(SA_RESETHAND));
}

StopSignal::~StopSignal()
{
    Handle(SIGINT, SIG_DFL, 0);
    Handle(SIGTERM, SIG_DFL, 0);
}

int StopSignal::Received()
{
    return received;
}

} // namespace Host
