#include "Recorder/Launcher/Recording.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

#include "Recorder/Launcher/Environment.h"
#include "Recorder/Launcher/Keys.h"
#include "Recorder/Launcher/Steering.h"
#include "Recorder/Launcher/WriterProcess.h"

namespace Recorder {
namespace {

constexpr int EndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

volatile sig_atomic_t program = 0;
/// The program has; what is left is to write.
volatile sig_atomic_t hasEnded = 0;
volatile sig_atomic_t wasStopped = 0;

void PassOn(int signal)
{
    if (program != 0)
        kill(program, signal);
}

void OnEnd(int signal, siginfo_t* info, void*)
{
    wasStopped = 1;
    if (hasEnded != 0)
        Steering::Abandon();
    // A terminal sends its signals to the program as well; only others have to be passed on. When it is closed, it
    // tells the first process of the session alone.
    if (info->si_code != SI_KERNEL || signal == SIGHUP)
        PassOn(signal);
}

void Catch(int signal, void (*handler)(int, siginfo_t*, void*))
{
    struct sigaction before = {};
    sigaction(signal, nullptr, &before);
    // What is ignored (nohup) stays so, for the program too. Scripts have their jobs ignore SIGINT and SIGQUIT of the
    // terminal, and are to end a recording by them all the same.
    const bool mayBeIgnored = signal != SIGINT && signal != SIGQUIT;
    if (mayBeIgnored && (before.sa_flags & SA_SIGINFO) == 0 && before.sa_handler == SIG_IGN)
        return;
    struct sigaction action = {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    sigaction(signal, &action, nullptr);
}

/// Stops this process as if the signal had not been caught.
void OnStop(int signal, siginfo_t* info, void*)
{
    if (info->si_code != SI_KERNEL)
        PassOn(signal);
    struct sigaction byDefault = {};
    byDefault.sa_handler = SIG_DFL;
    sigaction(signal, &byDefault, nullptr);
    LendTerminal();
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, signal);
    raise(signal);
    sigprocmask(SIG_UNBLOCK, &only, nullptr);
    Catch(signal, &OnStop);
}

void OnContinue(int signal, siginfo_t*, void*)
{
    TakeTerminal();
    PassOn(signal);
}

/// In the child: becomes the program. What prevents it goes through the pipe as an error number.
[[noreturn]] void BecomeProgram(const RecordingOptions& options, int pipe)
{
    std::vector<char*> arguments;
    for (const std::string& argument : options.command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    if (options.takesKeys)
        dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    execvp(arguments[0], arguments.data());
    const int why = errno;
    [[maybe_unused]] const ssize_t written = write(pipe, &why, sizeof why);
    _exit(127);
}

/// A child that becomes the program; -1 with errno when there is none. Signals that come meanwhile wait until there is
/// somebody to pass them on to, in the child until it is the program.
pid_t Start(const RecordingOptions& options, const WriterProcess& writer, int pipe)
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, &before);
    for (const int signal : EndingSignals)
        Catch(signal, &OnEnd);
    Catch(SIGTSTP, &OnStop);
    Catch(SIGCONT, &OnContinue);
    const pid_t child = fork();
    if (child == 0) {
        const auto [start, stop, snapshot] = SteeringSignals();
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGCONT, start, stop, snapshot}) {
            struct sigaction action = {};
            sigaction(signal, nullptr, &action);
            if ((action.sa_flags & SA_SIGINFO) != 0)
                std::signal(signal, SIG_DFL);
        }
        sigprocmask(SIG_SETMASK, &before, nullptr);
        // By the child itself: a program that dies at once must not be quicker than the news of it.
        writer.TellStart(getpid());
        BecomeProgram(options, pipe);
    }
    program = child < 0 ? 0 : child;
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return child;
}

void Wait(pid_t child, WriterProcess& writer, ProgramEnd& end)
{
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    program = 0;
    hasEnded = 1;
    writer.TellEnd(child, status);
    end.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    end.status = end.signal != 0 ? 128 + end.signal : WEXITSTATUS(status);
}

} // namespace

ProgramEnd RunRecorded(const RecordingOptions& options, int reports)
{
    ProgramEnd end;
    // Ahead of the pipe, whose end the writer would hold open.
    WriterProcess writer(options, reports, WriterProcess::Tells::Nothing);
    const Steering steering(writer, options);
    int pipe[2];
    if (pipe2(pipe, O_CLOEXEC) != 0) {
        end.error = std::strerror(errno);
        end.status = 126;
        return end;
    }
    SetEnvironment(options);
    const pid_t child = Start(options, writer, pipe[1]);
    int why = child < 0 ? errno : 0;
    close(pipe[1]);
    const bool started = child > 0 && read(pipe[0], &why, sizeof why) <= 0;
    close(pipe[0]);
    if (child > 0) {
        end.process = child;
        Wait(child, writer, end);
    }
    if (!started) {
        end.error = std::strerror(why);
        end.status = why == ENOENT ? 127 : 126;
    }
    end.wasStopped = WasStopped();
    return end;
}

void WaitForStop()
{
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : EndingSignals)
        sigaddset(&ending, signal);
    sigset_t before;
    sigprocmask(SIG_BLOCK, &ending, &before);
    for (const int signal : EndingSignals)
        Catch(signal, &OnEnd);
    while (wasStopped == 0)
        sigsuspend(&before);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

bool WasStopped()
{
    return wasStopped != 0;
}

std::string FindLibrary()
{
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
    for (const char* const place : {"../lib", "../" PLAYBACK_LIBRARY_FOLDER, "."}) {
        const fs::path path = folder / place / "libPlaybackRecorder.so";
        if (fs::exists(path, error))
            return fs::canonical(path, error).string();
    }
    return {};
}

} // namespace Recorder
