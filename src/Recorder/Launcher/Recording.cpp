#include "Recorder/Launcher/Recording.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

#include "Recorder/Settings.h"

namespace Recorder {
namespace {

constexpr int forwardedSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile sig_atomic_t program = 0;
volatile sig_atomic_t wasStopped = 0;

void Forward(int signal, siginfo_t* info, void*)
{
    wasStopped = 1;
    // A terminal sends its signals to the program as well; only others have to be passed on.
    if (info->si_code != SI_KERNEL && program != 0) {
        kill(program, signal);
    }
}

void SetEnvironment(const RecordingOptions& options)
{
    setenv(fileVariable, options.file.c_str(), 1);
    options.hash ? setenv(hashVariable, "1", 1) : unsetenv(hashVariable);
    options.frames != 0 ? setenv(framesVariable, std::to_string(options.frames).c_str(), 1) : unsetenv(framesVariable);
    const char* const others = std::getenv("LD_PRELOAD");
    const bool hasOthers = others != nullptr && *others != '\0';
    setenv("LD_PRELOAD", (hasOthers ? options.library + ":" + others : options.library).c_str(), 1);
}

/// In the child: becomes the program. What prevents it goes through the pipe as an error number.
[[noreturn]] void BecomeProgram(const RecordingOptions& options, int pipe)
{
    for (const int signal : forwardedSignals) {
        std::signal(signal, SIG_DFL);
    }
    std::vector<char*> arguments;
    for (const std::string& argument : options.command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    SetEnvironment(options);
    execvp(arguments[0], arguments.data());
    const int why = errno;
    [[maybe_unused]] const ssize_t written = write(pipe, &why, sizeof why);
    _exit(127);
}

int Wait(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace

ProgramEnd RunRecorded(const RecordingOptions& options)
{
    ProgramEnd end;
    int pipe[2];
    if (pipe2(pipe, O_CLOEXEC) != 0) {
        end.error = std::strerror(errno);
        end.status = 126;
        return end;
    }
    struct sigaction action = {};
    action.sa_sigaction = &Forward;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    for (const int signal : forwardedSignals) {
        sigaction(signal, &action, nullptr);
    }
    const pid_t child = fork();
    if (child == 0) {
        BecomeProgram(options, pipe[1]);
    }
    program = child;
    close(pipe[1]);
    int why = child < 0 ? errno : 0;
    const bool started = child > 0 && read(pipe[0], &why, sizeof why) <= 0;
    close(pipe[0]);
    if (child > 0) {
        end.status = Wait(child);
    }
    if (!started) {
        end.error = std::strerror(why);
        end.status = why == ENOENT ? 127 : 126;
    }
    end.wasStopped = wasStopped != 0;
    return end;
}

std::string FindLibrary()
{
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
    for (const char* const place : {"../lib", "../" PLAYBACK_LIBRARY_FOLDER, "."}) {
        const fs::path path = folder / place / "libPlaybackRecorder.so";
        if (fs::exists(path, error)) {
            return fs::canonical(path, error).string();
        }
    }
    return {};
}

} // namespace Recorder
