// A signal handler may do next to nothing, so ours only wakes a thread. The thread blocks all signals: those of the
// program reach the program's own threads as ever.

#include "Recorder/ProgramEnd.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <pthread.h>
#include <semaphore.h>
#include <unistd.h>

#include "Recorder/Capture.h"

namespace Recorder {
namespace {

constexpr int WatchedSignals[] = {SIGINT, SIGTERM, SIGHUP};
constexpr unsigned GraceSeconds = 2;

/// What the thread is woken for: a signal's number, or this.
constexpr int LastFrameDone = -1;
std::atomic<int> reason = 0;

/// A semaphore rather than a descriptor: some programs close every descriptor they find.
sem_t wakeUp;

void WakeThread(int why)
{
    const int savedErrno = errno;
    reason = why;
    sem_post(&wakeUp);
    errno = savedErrno;
}

void OnSignal(int signal)
{
    WakeThread(signal);
}

void SetDefaultAction(int signal)
{
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
}

bool HandlerIs(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    return (action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == handler;
}

void AskProgramToEnd()
{
    if (HandlerIs(SIGTERM, &OnSignal))
        SetDefaultAction(SIGTERM);
    kill(getpid(), SIGTERM);
    sleep(GraceSeconds);
    _exit(0);
}

void FinishAndRaise(int signal)
{
    FinishCapture();
    SetDefaultAction(signal);
    kill(getpid(), signal);
}

void* WatchThread(void*)
{
    while (sem_wait(&wakeUp) != 0) {
        // Interrupted by a debugger.
    }
    if (reason == LastFrameDone)
        AskProgramToEnd();
    FinishAndRaise(reason);
    return nullptr;
}

bool StartThread()
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t watcher;
    const bool started = pthread_create(&watcher, nullptr, &WatchThread, nullptr) == 0;
    if (started)
        pthread_detach(watcher);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return started;
}

} // namespace

void WatchProgramEnd() noexcept
{
    if (sem_init(&wakeUp, 0, 0) != 0 || !StartThread())
        return;
    for (const int signal : WatchedSignals) {
        if (HandlerIs(signal, SIG_DFL)) {
            struct sigaction action = {};
            action.sa_handler = &OnSignal;
            action.sa_flags = SA_RESTART;
            sigaction(signal, &action, nullptr);
        }
    }
}

void EndProgram() noexcept
{
    WakeThread(LastFrameDone);
}

void LeaveProgramEndToParent() noexcept
{
    for (const int signal : WatchedSignals)
        if (HandlerIs(signal, &OnSignal))
            SetDefaultAction(signal);
}

} // namespace Recorder
