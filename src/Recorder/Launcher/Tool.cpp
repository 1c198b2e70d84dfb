#include "Recorder/Launcher/Tool.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

extern char** environ;

namespace Recorder {

namespace fs = std::filesystem;

namespace {

/// It is not to take the processor from the program that is recorded.
constexpr int Niceness = 15;
constexpr int UrgentNiceness = 4;

} // namespace

CutTools FindCutTools()
{
    std::error_code error;
    const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
    const auto find = [&](const char* name) { return fs::exists(folder / name, error) ? folder / name : fs::path(); };
    return {find("playback-trim"), find("playback")};
}

Tool::Tool(const std::vector<std::string>& command, fs::path log, bool isUrgent) : m_log(std::move(log))
{
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, m_log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_adddup2(&actions, STDERR_FILENO, STDOUT_FILENO);
    if (posix_spawn(&m_process, arguments[0], &actions, nullptr, arguments.data(), environ) != 0)
        m_process = -1;
    else
        setpriority(PRIO_PROCESS, static_cast<id_t>(m_process), isUrgent ? UrgentNiceness : Niceness);
    posix_spawn_file_actions_destroy(&actions);
}

Tool::~Tool()
{
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
}

bool Tool::IsDone()
{
    int status = 0;
    const pid_t ended = m_process > 0 ? waitpid(m_process, &status, WNOHANG) : -1;
    if (ended == 0)
        return false;
    if (ended > 0)
        m_status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    m_process = -1;
    return true;
}

std::string Tool::LastWords() const
{
    std::ifstream log(m_log);
    std::string last = "it ended with status " + std::to_string(m_status);
    for (std::string line; std::getline(log, line);)
        if (!line.empty())
            last = line;
    return last;
}

} // namespace Recorder
