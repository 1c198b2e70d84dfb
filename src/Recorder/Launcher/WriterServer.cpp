#include "Recorder/Launcher/WriterServer.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "Recorder/CaptureName.h"
#include "Recorder/Channel/Drain.h"
#include "Recorder/Channel/Handshake.h"
#include "Recorder/Channel/Waiting.h"
#include "Recorder/Report.h"

namespace Recorder {
namespace {

constexpr int helloTimeoutMs = 2000;
constexpr std::chrono::seconds newsTimeout{5};

/// How the children of playback-record ended, as it tells.
class News {
public:
    void Take(const ProcessNews& news)
    {
        const std::lock_guard lock(m_mutex);
        m_status[news.process] = news.what == ProcessNews::ended ? news.status : running;
        m_changed.notify_all();
    }
    /// Waits for what is still to be told.
    [[nodiscard]] HowItEnded Of(pid_t process)
    {
        std::unique_lock lock(m_mutex);
        const auto found = m_status.find(process);
        if (found == m_status.end()) {
            return {};
        }
        m_changed.wait_for(lock, newsTimeout, [&] { return found->second != running; });
        const int status = found->second;
        if (status == running) {
            return {};
        }
        return WIFSIGNALED(status)
                   ? HowItEnded{Data::ProgramEndKind::Signal, static_cast<std::uint32_t>(WTERMSIG(status))}
                   : HowItEnded{Data::ProgramEndKind::Exited, static_cast<std::uint32_t>(WEXITSTATUS(status))};
    }

private:
    /// No status that waitpid gives for a process that has ended.
    static constexpr int running = -1;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<pid_t, int> m_status;
};

/// A process that records, seen from outside.
class Process {
public:
    explicit Process(pid_t process)
        : m_process(process), m_descriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0)))
    {
    }
    ~Process()
    {
        if (m_descriptor >= 0) {
            close(m_descriptor);
        }
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    [[nodiscard]] pid_t Number() const { return m_process; }
    [[nodiscard]] bool HasEnded() const
    {
        if (m_descriptor < 0) {
            return kill(m_process, 0) != 0 && errno == ESRCH;
        }
        pollfd end = {m_descriptor, POLLIN, 0};
        return poll(&end, 1, 0) > 0;
    }

private:
    const pid_t m_process;
    const int m_descriptor;
};

/// The memory of a channel, made here and shared with the program.
class SharedMemory {
public:
    SharedMemory() : m_descriptor(memfd_create("playback-channel", MFD_CLOEXEC))
    {
        if (m_descriptor >= 0 && ftruncate(m_descriptor, sharedBytes) == 0) {
            m_memory = mmap(nullptr, sharedBytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_NORESERVE, m_descriptor, 0);
        }
        if (m_memory != MAP_FAILED) {
            InitializeChannel(*Get());
        }
    }
    ~SharedMemory()
    {
        if (m_memory != MAP_FAILED) {
            munmap(m_memory, sharedBytes);
        }
        if (m_descriptor >= 0) {
            close(m_descriptor);
        }
    }
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    explicit operator bool() const { return m_memory != MAP_FAILED; }
    [[nodiscard]] Channel* Get() const { return static_cast<Channel*>(m_memory); }
    [[nodiscard]] int Descriptor() const { return m_descriptor; }

private:
    const int m_descriptor;
    void* m_memory = MAP_FAILED;
};

bool SendDescriptor(int connection, int descriptor)
{
    char none = 0;
    iovec data = {&none, sizeof none};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof descriptor)] = {};
    msghdr message = {};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof descriptor);
    std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    return sendmsg(connection, &message, MSG_NOSIGNAL) > 0;
}

/// One process's capture, written by a thread.
class ServedCapture {
public:
    ServedCapture(pid_t process, std::string program, const WriterPlace& place, News& news, int wake)
        : m_process(process), m_program(std::move(program)), m_place(place), m_news(news), m_wake(wake)
    {
    }
    ~ServedCapture()
    {
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }
    ServedCapture(const ServedCapture&) = delete;
    ServedCapture& operator=(const ServedCapture&) = delete;

    /// False when the file cannot be made. The program then writes itself, and finds out why.
    [[nodiscard]] bool Begin(int connection)
    {
        std::string error;
        auto writer = m_memory ? Data::CaptureWriter::Create(
                                     CreateCaptureFile(m_place.folder, m_program, m_process.Number()), {}, error)
                               : nullptr;
        if (writer == nullptr) {
            return false;
        }
        m_drain = std::make_unique<Drain>(*m_memory.Get(), std::move(writer));
        m_thread = std::thread([this] { Run(); });
        m_hasBegun.wait(false);
        return SendDescriptor(connection, m_memory.Descriptor());
    }

    [[nodiscard]] pid_t Number() const { return m_process.Number(); }
    [[nodiscard]] bool IsDone() const { return m_isDone; }
    /// Another program has taken the place of this one in the process.
    void Replace()
    {
        m_isReplaced = true;
        CallReader(*m_memory.Get());
    }

private:
    void Run()
    {
        Channel& channel = *m_memory.Get();
        static_cast<void>(BeginReading(channel));
        m_hasBegun = true;
        m_hasBegun.notify_all();
        try {
            Write(channel);
        } catch (...) {
            Fail(channel, "no memory to write with");
        }
        if (channel.hasFailed == failed && channel.isFailureTold.exchange(1) == 0) {
            TellFailure(channel.error);
        }
        m_drain.reset();
        m_isDone = true;
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(m_wake, &one, sizeof one);
    }

    void Write(Channel& channel)
    {
        bool hasEnded = false;
        while (!hasEnded && channel.isFinished == 0 && channel.hasFailed == 0) {
            const std::uint32_t seen = channel.requests;
            hasEnded = m_process.HasEnded();
            const bool isBusy = m_drain->Take();
            if (m_isReplaced) {
                break;
            }
            if (!hasEnded) {
                WaitForCall(channel, seen, isBusy ? busyWaitMs : idleWaitMs);
            }
        }
        const bool asksHow = channel.isFinished == 0 && hasEnded;
        m_drain->Finish(m_isReplaced ? HowItEnded{Data::ProgramEndKind::Replaced, 0}
                        : asksHow    ? m_news.Of(Number())
                                     : HowItEnded{});
    }

    /// After the program's end, when it can no longer do so itself.
    void TellFailure(const char* why) const
    {
        std::fprintf(stderr, "playback-record: %s is not recorded any further: %s\n", m_program.c_str(), why);
        dprintf(m_place.reports, "%d %s %s\n", static_cast<int>(Number()), Finding::unwritten, why);
    }

    const Process m_process;
    const std::string m_program;
    const WriterPlace& m_place;
    News& m_news;
    const int m_wake;
    const SharedMemory m_memory;
    std::unique_ptr<Drain> m_drain;
    std::atomic<bool> m_hasBegun = false;
    std::atomic<bool> m_isReplaced = false;
    std::atomic<bool> m_isDone = false;
    std::thread m_thread;
};

class Server {
public:
    explicit Server(const WriterPlace& place) : m_place(place), m_wake(eventfd(0, EFD_CLOEXEC)) {}

    void Run()
    {
        while (m_hasLauncher || !m_captures.empty()) {
            pollfd events[] = {
                {m_place.listening, POLLIN, 0}, {m_wake, POLLIN, 0}, {m_hasLauncher ? m_place.control : -1, POLLIN, 0}};
            if (poll(events, std::size(events), -1) < 0) {
                continue;
            }
            if (events[1].revents != 0) {
                std::uint64_t count = 0;
                [[maybe_unused]] const ssize_t bytes = read(m_wake, &count, sizeof count);
            }
            if (events[0].revents != 0) {
                Accept();
            }
            if (events[2].revents != 0) {
                TakeNews();
            }
            std::erase_if(m_captures, [](const auto& capture) { return capture->IsDone(); });
            Answer();
        }
    }

private:
    void Accept()
    {
        const int connection = accept4(m_place.listening, nullptr, nullptr, SOCK_CLOEXEC);
        pollfd hello = {connection, POLLIN, 0};
        Hello said;
        ucred peer = {};
        socklen_t peerBytes = sizeof peer;
        if (connection >= 0 && poll(&hello, 1, helloTimeoutMs) > 0 &&
            recv(connection, &said, sizeof said, 0) == sizeof said && said.version == channelVersion &&
            getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &peerBytes) == 0) {
            said.program[sizeof said.program - 1] = '\0';
            std::replace(std::begin(said.program), std::end(said.program), '/', '_');
            Serve(connection, peer.pid, said.program);
        }
        close(connection);
    }

    void Serve(int connection, pid_t process, const char* program)
    {
        for (const auto& capture : m_captures) {
            if (capture->Number() == process) {
                capture->Replace();
            }
        }
        try {
            auto capture = std::make_unique<ServedCapture>(process, program, m_place, m_news, m_wake);
            if (capture->Begin(connection)) {
                m_captures.push_back(std::move(capture));
            }
        } catch (...) {
            // The program writes itself.
        }
    }

    void TakeNews()
    {
        ProcessNews news = {};
        if (recv(m_place.control, &news, sizeof news, 0) != sizeof news) {
            m_hasLauncher = false;
            // Whoever reads the messages of playback-record is not to wait for this process.
            const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
            for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
                dup2(nowhere, descriptor);
            }
            return;
        }
        m_news.Take(news);
        if (news.what == ProcessNews::ended) {
            m_unanswered.push_back(news.process);
        }
    }

    void Answer()
    {
        std::erase_if(m_unanswered, [this](pid_t process) {
            const bool isWritten = std::ranges::none_of(
                m_captures, [process](const auto& capture) { return capture->Number() == process; });
            const char done = m_captures.empty() ? WriterAnswer::idle : WriterAnswer::busy;
            return isWritten && send(m_place.control, &done, sizeof done, MSG_NOSIGNAL) >= 0;
        });
    }

    const WriterPlace& m_place;
    const int m_wake;
    bool m_hasLauncher = true;
    News m_news;
    std::list<std::unique_ptr<ServedCapture>> m_captures;
    /// Ended processes of which playback-record wants to know that their captures are complete.
    std::vector<pid_t> m_unanswered;
};

} // namespace

void ServeRecordings(const WriterPlace& place)
{
    Server(place).Run();
}

} // namespace Recorder
