#include "Core/LogOutput.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace Core {

namespace {

constexpr std::size_t BufferBytes = 64 * 1024;
constexpr auto ReaderPatience = std::chrono::seconds(5);
constexpr auto ReaderPoll = std::chrono::milliseconds(10);

/// To the line's beginning, and erase what is there.
constexpr const char* EraseLine = "\r\033[K";

// Never destroyed, so that messages of other static objects' destructors find it.
std::string& Status()
{
    static std::string* const status = new std::string;
    return *status;
}

/// Keeps the SIGPIPE of this thread's own writes from ending the process, without touching the process's handler.
class SigpipeGuard {
public:
    SigpipeGuard()
    {
        sigset_t pending;
        sigpending(&pending);
        m_wasPending = sigismember(&pending, SIGPIPE) == 1;
        sigemptyset(&m_sigpipe);
        sigaddset(&m_sigpipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_sigpipe, &m_oldMask);
    }
    ~SigpipeGuard()
    {
        if (!m_wasPending) {
            const timespec now = {};
            while (sigtimedwait(&m_sigpipe, nullptr, &now) == -1 && errno == EINTR) {
            }
        }
        pthread_sigmask(SIG_SETMASK, &m_oldMask, nullptr);
    }
    SigpipeGuard(const SigpipeGuard&) = delete;
    SigpipeGuard& operator=(const SigpipeGuard&) = delete;

private:
    sigset_t m_sigpipe;
    sigset_t m_oldMask;
    bool m_wasPending;
};

/// Opens for writing; -1 with errno on failure. A named pipe without a reader does not block for longer than
/// ReaderPatience: programs are often started side by side with the reader of their log.
int OpenForWriting(const std::string& path)
{
    const auto deadline = std::chrono::steady_clock::now() + ReaderPatience;
    int file = -1;
    while ((file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, 0666)) < 0) {
        if (errno != EINTR && (errno != ENXIO || std::chrono::steady_clock::now() > deadline))
            return -1;
        std::this_thread::sleep_for(ReaderPoll);
    }
    // From now on a slow reader slows the writer down instead of losing messages.
    fcntl(file, F_SETFL, fcntl(file, F_GETFL) & ~O_NONBLOCK);
    return file;
}

} // namespace

std::string LogOutput::Open(const std::string& path)
{
    const int file = OpenForWriting(path);
    if (file < 0)
        return errno == ENXIO ? "nobody reads from this pipe" : std::strerror(errno);
    Close();
    m_file = file;
    m_path = path;
    return {};
}

void LogOutput::WriteLine(std::string_view line)
{
    EndRepetitions();
    Append(line);
}

void LogOutput::WriteOnce(std::string_view line)
{
    if (line == m_once && m_file == STDERR_FILENO) {
        ++m_repetitions;
        return;
    }
    WriteLine(line);
    m_once = line;
}

void LogOutput::EndRepetitions()
{
    if (m_repetitions != 0)
        Append("(the last message was repeated " + std::to_string(m_repetitions) + " times)");
    m_repetitions = 0;
    m_once.clear();
}

void LogOutput::Append(std::string_view line)
{
    m_buffer.append(line);
    m_buffer += '\n';
    if (m_buffer.size() >= BufferBytes)
        Flush();
}

void LogOutput::Flush()
{
    if (m_file == STDERR_FILENO && !Status().empty() && !m_buffer.empty())
        m_buffer = EraseLine + m_buffer + Status();
    std::string_view text = m_buffer;
    const int error = Write(text);
    if (error != 0 && m_file != STDERR_FILENO) {
        const std::string notice =
            "Writing the log to " + m_path + " failed (" + std::strerror(error) + "); it goes on here.\n";
        close(m_file);
        m_file = STDERR_FILENO;
        m_path.clear();
        std::string_view noticeText = notice;
        Write(noticeText);
        Write(text);
    }
    m_buffer.clear();
}

void LogOutput::SetStatus(std::string status)
{
    if (status == Status())
        return;
    Status() = std::move(status);
    const std::string line = EraseLine + Status();
    std::string_view text = line;
    LogOutput().Write(text);
}

void LogOutput::Close()
{
    EndRepetitions();
    Flush();
    if (m_file != STDERR_FILENO)
        close(m_file);
    m_file = STDERR_FILENO;
    m_path.clear();
}

int LogOutput::Write(std::string_view& text) const
{
    if (text.empty())
        return 0;
    const SigpipeGuard guard;
    while (!text.empty()) {
        const ssize_t written = write(m_file, text.data(), text.size());
        if (written >= 0)
            text.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}

} // namespace Core
