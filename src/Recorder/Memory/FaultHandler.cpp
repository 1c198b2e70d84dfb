// The library's handler comes first and passes on what is not its own. The program does not notice: it is answered what
// it set itself, and the signal cannot be blocked, since a fault while it is ends the process. Programs that make
// system calls of their own for that lose their faults in watched memory.

#include "Recorder/Memory/FaultHandler.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <dlfcn.h>
#include <mutex>
#include <ucontext.h>

#include "Recorder/Memory/WatchedBuffers.h"
#include "Recorder/Symbols/Export.h"
#include "Recorder/Symbols/LiveFunctions.h"

namespace Recorder {
namespace {

using SigactionFunction = int (*)(int, const struct sigaction*, struct sigaction*);
using SignalFunction = sighandler_t (*)(int, sighandler_t);
using MaskFunction = int (*)(int, const sigset_t*, sigset_t*);

/// The C library's function.
template <class Function> Function Next(const char* name)
{
    return reinterpret_cast<Function>(RealDlsym()(RTLD_NEXT, name));
}

int Sigaction(int signal, const struct sigaction* action, struct sigaction* old)
{
    static const auto next = Next<SigactionFunction>("sigaction");
    return next(signal, action, old);
}

std::atomic<bool> isHandling = false;
MaskFunction setMask = nullptr;
/// What the program wants done about its faults.
struct sigaction programsAction = {};

void EndByFault()
{
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    Sigaction(SIGSEGV, &action, nullptr);
    raise(SIGSEGV); // comes as soon as the handler returns
}

/// Does what the kernel would have done without the library.
void PassOn(int signal, siginfo_t* info, void* context)
{
    const struct sigaction action = programsAction;
    const bool isFault = info->si_code > 0;
    if ((action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_IGN && !isFault)
        return;
    if ((action.sa_flags & SA_SIGINFO) == 0 && (action.sa_handler == SIG_DFL || action.sa_handler == SIG_IGN)) {
        EndByFault();
        return;
    }
    sigset_t mask = action.sa_mask;
    sigorset(&mask, &mask, &static_cast<ucontext_t*>(context)->uc_sigmask);
    if ((action.sa_flags & SA_NODEFER) == 0)
        sigaddset(&mask, signal);
    if ((action.sa_flags & SA_RESETHAND) != 0) {
        programsAction.sa_handler = SIG_DFL;
        programsAction.sa_flags = 0;
    }
    setMask(SIG_SETMASK, &mask, nullptr);
    if ((action.sa_flags & SA_SIGINFO) != 0)
        action.sa_sigaction(signal, info, context);
    else
        action.sa_handler(signal);
}

void OnFault(int signal, siginfo_t* info, void* context)
{
    const int savedErrno = errno;
    const bool isResolved = info->si_code > 0 && TouchWatched(info->si_addr);
    errno = savedErrno;
    if (!isResolved)
        PassOn(signal, info, context);
}

/// Sets and answers the program's action. It may be called in signal handlers.
int SetAction(int signal, const struct sigaction* action, struct sigaction* old)
{
    if (signal != SIGSEGV || !isHandling)
        return Sigaction(signal, action, old);
    const struct sigaction before = programsAction;
    if (action != nullptr)
        programsAction = *action;
    if (old != nullptr)
        *old = before;
    return 0;
}

int SetMask(MaskFunction next, int how, const sigset_t* set, sigset_t* old)
{
    if (set == nullptr || how == SIG_UNBLOCK || sigismember(set, SIGSEGV) != 1)
        return next(how, set, old);
    sigset_t others = *set;
    sigdelset(&others, SIGSEGV);
    return next(how, &others, old);
}

} // namespace

void HandleFaults() noexcept
{
    static std::once_flag once;
    std::call_once(once, [] {
        setMask = Next<MaskFunction>("pthread_sigmask");
        struct sigaction action = {};
        action.sa_sigaction = &OnFault;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
        sigfillset(&action.sa_mask);
        Sigaction(SIGSEGV, &action, &programsAction);
        isHandling = true;
    });
}

} // namespace Recorder

RECORDER_EXPORT int sigaction(int signal, const struct sigaction* action, struct sigaction* old) noexcept
{
    return Recorder::SetAction(signal, action, old);
}

RECORDER_EXPORT sighandler_t signal(int signal, sighandler_t handler) noexcept
{
    using namespace Recorder;
    static const auto next = Next<SignalFunction>("signal");
    if (signal != SIGSEGV)
        return next(signal, handler);
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    struct sigaction old = {};
    return SetAction(signal, &action, &old) == 0 ? old.sa_handler : SIG_ERR;
}

RECORDER_EXPORT int sigprocmask(int how, const sigset_t* set, sigset_t* old) noexcept
{
    using namespace Recorder;
    static const auto next = Next<MaskFunction>("sigprocmask");
    return SetMask(next, how, set, old);
}

RECORDER_EXPORT int pthread_sigmask(int how, const sigset_t* set, sigset_t* old) noexcept
{
    using namespace Recorder;
    static const auto next = Next<MaskFunction>("pthread_sigmask");
    return SetMask(next, how, set, old);
}
