#include "Recorder/Launcher/Keys.h"

#include <csignal>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>

namespace Recorder {

namespace {

constexpr int BackgroundPollMs = 200;

volatile sig_atomic_t isTaken = 0;
termios before;

/// Whoever changes the terminal from the background is stopped.
bool IsInForeground()
{
    return tcgetpgrp(STDIN_FILENO) == getpgrp();
}

} // namespace

void LendTerminal()
{
    if (isTaken != 0 && IsInForeground())
        tcsetattr(STDIN_FILENO, TCSANOW, &before);
}

void TakeTerminal()
{
    if (isTaken == 0 || !IsInForeground())
        return;
    termios byKeys = before;
    byKeys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    byKeys.c_cc[VMIN] = 1;
    byKeys.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSANOW, &byKeys);
}

Keys::Keys(std::function<void(Command)> press) : m_press(std::move(press)), m_wake(eventfd(0, EFD_CLOEXEC))
{
    isTaken = tcgetattr(STDIN_FILENO, &before) == 0 ? 1 : 0;
    TakeTerminal();
    sigset_t all;
    sigset_t mask;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &mask);
    m_thread = std::thread([this] { Run(); });
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
}

Keys::~Keys()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(m_wake, &one, sizeof one);
    m_thread.join();
    close(m_wake);
    LendTerminal();
    isTaken = 0;
}

void Keys::Run()
{
    for (;;) {
        const bool isOurs = IsInForeground();
        pollfd events[] = {{m_wake, POLLIN, 0}, {isOurs ? STDIN_FILENO : -1, POLLIN, 0}};
        poll(events, std::size(events), isOurs ? -1 : BackgroundPollMs);
        if (events[0].revents != 0)
            return;
        if (events[1].revents == 0 || !IsInForeground())
            continue;
        char key = 0;
        if (read(STDIN_FILENO, &key, sizeof key) <= 0)
            return;
        switch (key) {
        case 'r':
            m_press(Command::Start);
            break;
        case 's':
            m_press(Command::Stop);
            break;
        case 'f':
            m_press(Command::Snapshot);
            break;
        case 'i':
            m_press(Command::Status);
            break;
        default:
            break;
        }
    }
}

} // namespace Recorder
