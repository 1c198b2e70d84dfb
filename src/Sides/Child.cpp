#include "Sides/Child.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <map>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Sides {

namespace {

/// This program's environment with other variables over it.
std::vector<std::string> MergedEnvironment(std::span<const std::string> changes)
{
    std::map<std::string, std::string> variables;
    const auto set = [&](const std::string& variable) {
        variables.insert_or_assign(variable.substr(0, variable.find('=')), variable);
    };
    for (char** variable = environ; *variable; ++variable)
        set(*variable);
    for (const std::string& variable : changes)
        set(variable);
    std::vector<std::string> merged;
    for (auto& [name, variable] : variables)
        merged.push_back(std::move(variable));
    return merged;
}

std::vector<char*> Pointers(std::vector<std::string>& strings)
{
    std::vector<char*> pointers;
    for (std::string& string : strings)
        pointers.push_back(string.data());
    pointers.push_back(nullptr);
    return pointers;
}

void Close(int& descriptor)
{
    if (descriptor >= 0)
        close(descriptor);
    descriptor = -1;
}

} // namespace

std::string ProgramBesideThis(std::string_view name)
{
    std::error_code error;
    return (std::filesystem::read_symlink("/proc/self/exe", error).parent_path() / name).string();
}

std::unique_ptr<Child> Child::Start(const std::vector<std::string>& command, std::span<const std::string> environment,
                                    std::string& error)
{
    // Writing to a socket that nobody reads can be told to raise no signal.
    std::array<int, 2> input = {-1, -1};
    std::array<int, 2> output = {-1, -1};
    std::unique_ptr<Child> child(new Child);
    child->m_messages = memfd_create("messages", MFD_CLOEXEC);
    bool isReady = child->m_messages >= 0 && socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, input.data()) == 0;
    child->m_input = input[0];
    isReady = isReady && pipe2(output.data(), O_CLOEXEC) == 0;
    child->m_output = output[0];
    // Asked beforehand: emulators of processors do not tell that there is no such program.
    int failure = isReady && access(command[0].c_str(), X_OK) == 0 ? 0 : errno;
    if (failure == 0) {
        std::vector<std::string> words = command;
        std::vector<std::string> variables = MergedEnvironment(environment);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input[1], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, child->m_messages, STDERR_FILENO);
        // This program may keep signals from its threads, which is no concern of others.
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
        posix_spawnattr_setsigmask(&attributes, &none);
        pid_t process = -1;
        failure = posix_spawn(&process, words[0].c_str(), &actions, &attributes, Pointers(words).data(),
                              Pointers(variables).data());
        child->m_process = process;
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
    }
    Close(input[1]);
    Close(output[1]);
    if (failure == 0)
        return child;
    child->m_process = -1;
    error = "cannot start " + command[0] + ": " + std::strerror(failure);
    return nullptr;
}

Child::~Child()
{
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        Wait();
    }
    CloseInput();
    Close(m_output);
    Close(m_messages);
}

bool Child::Write(std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = send(m_input, text.data(), text.size(), MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR)
            return false;
        text.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    return true;
}

void Child::CloseInput()
{
    Close(m_input);
}

/// Until there is some, it has ended, or the deadline has passed.
void Child::AwaitOutput()
{
    using Clock = std::chrono::steady_clock;
    if (m_deadline == Clock::time_point::max())
        return;
    pollfd output = {m_output, POLLIN, 0};
    int ready = 0;
    do {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - Clock::now()).count();
        ready = poll(&output, 1, static_cast<int>(std::clamp<std::int64_t>(left, 0, 60'000)));
    } while (ready <= 0 && Clock::now() < m_deadline);
    if (ready > 0 || m_process <= 0)
        return;
    m_wasTooSlow = true;
    kill(m_process, SIGKILL);
}

bool Child::ReadMore()
{
    AwaitOutput();
    std::array<char, 65536> buffer;
    ssize_t count = 0;
    do
        count = read(m_output, buffer.data(), buffer.size());
    while (count < 0 && errno == EINTR);
    if (count > 0)
        m_unread.append(buffer.data(), static_cast<std::size_t>(count));
    return count > 0;
}

std::optional<std::string> Child::ReadLine()
{
    std::size_t end = m_unread.find('\n');
    while (end == std::string::npos && ReadMore())
        end = m_unread.find('\n');
    if (m_unread.empty())
        return std::nullopt;
    std::string line = m_unread.substr(0, end);
    m_unread.erase(0, end == std::string::npos ? end : end + 1);
    return line;
}

std::vector<std::uint8_t> Child::ReadBytes(std::size_t count)
{
    while (m_unread.size() < count && ReadMore()) {
    }
    const std::string bytes = m_unread.substr(0, count);
    m_unread.erase(0, bytes.size());
    return {bytes.begin(), bytes.end()};
}

std::string Child::ReadRest()
{
    while (ReadMore()) {
    }
    return std::exchange(m_unread, {});
}

int Child::Wait()
{
    int status = 0;
    while (waitpid(m_process, &status, 0) < 0 && errno == EINTR) {
    }
    m_process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void Child::Terminate() const
{
    if (const pid_t process = m_process; process > 0)
        kill(process, SIGTERM);
}

std::string Child::Messages() const
{
    std::string text;
    std::array<char, 4096> buffer;
    for (ssize_t count = 0;
         (count = pread(m_messages, buffer.data(), buffer.size(), static_cast<off_t>(text.size()))) > 0;)
        text.append(buffer.data(), static_cast<std::size_t>(count));
    return text;
}

} // namespace Sides
