#include "Recorder/Launcher/WriterServer.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <list>
#include <memory>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "Recorder/Channel/Handshake.h"
#include "Recorder/Launcher/Control.h"
#include "Recorder/Launcher/ServedCapture.h"

namespace Recorder {
namespace {

constexpr int HelloTimeoutMs = 2000;

class Server {
public:
    Server(const WriterPlace& place, SpoolPlace& spools, const Wanted& wanted)
        : m_place(place), m_spools(spools), m_wanted(wanted), m_wake(eventfd(0, EFD_CLOEXEC))
    {
    }

    void Run()
    {
        while (m_hasLauncher || !m_captures.empty()) {
            pollfd events[] = {{m_place.listening, POLLIN, 0},
                               {m_wake, POLLIN, 0},
                               {m_hasLauncher ? m_place.control : -1, POLLIN, 0},
                               {m_place.steering, POLLIN, 0}};
            if (poll(events, std::size(events), -1) < 0)
                continue;
            if (events[1].revents != 0) {
                std::uint64_t count = 0;
                [[maybe_unused]] const ssize_t bytes = read(m_wake, &count, sizeof count);
            }
            // First, as the start of a program is told before it can connect.
            if (events[2].revents != 0)
                TakeNews();
            if (events[0].revents != 0)
                Accept();
            if (events[3].revents != 0)
                Ask(AcceptRequest(m_place.steering));
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
        if (connection >= 0 && poll(&hello, 1, HelloTimeoutMs) > 0 &&
            recv(connection, &said, sizeof said, 0) == sizeof said && said.version == ChannelVersion &&
            getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &peerBytes) == 0) {
            said.program[sizeof said.program - 1] = '\0';
            std::replace(std::begin(said.program), std::end(said.program), '/', '_');
            Serve(connection, peer.pid, said.program);
        }
        close(connection);
    }

    void Serve(int connection, pid_t process, const char* program)
    {
        for (const auto& capture : m_captures)
            if (capture->Number() == process)
                capture->Replace();
        try {
            auto capture = std::make_unique<ServedCapture>(process, program, m_place, m_spools, m_news, m_wake);
            if (!capture->Begin(connection, m_wanted))
                return;
            if (m_place.tellsBeginnings)
                std::fprintf(stderr, "playback-record: %s, process %d, is recorded\n", program,
                             static_cast<int>(process));
            m_captures.push_back(std::move(capture));
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
            for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
                dup2(nowhere, descriptor);
            return;
        }
        if (news.what == ProcessNews::Asked) {
            const auto frames = static_cast<std::uint32_t>(news.process);
            Ask(std::make_shared<Request>(static_cast<Command>(news.status), frames, Request::StandardError));
        } else if (news.what == ProcessNews::Abandoned) {
            m_spools.isAbandoned = true;
        } else {
            m_news.Take(news);
        }
        if (news.what == ProcessNews::Ended)
            m_unanswered.push_back(news.process);
    }

    void Ask(const std::shared_ptr<Request>& request)
    {
        if (request == nullptr)
            return;
        // For processes that are still to come.
        if (request->What() == Command::Start)
            m_wanted = {{}, false, m_wanted.last, m_wanted.hash, m_wanted.hashDraws};
        if (request->What() == Command::Stop)
            m_wanted.isPaused = true;
        if (m_captures.empty())
            request->What() == Command::Start ? request->Say("recording starts with the first call of EGL")
                                              : request->Refuse("no process has called EGL, or all have ended");
        // What a process without frames has to say is of interest where no other one is there.
        const bool isDrawing =
            std::ranges::any_of(m_captures, [](const auto& capture) { return capture->Frames() > 0; });
        for (const auto& capture : m_captures)
            capture->Ask(isDrawing && capture->Frames() == 0
                             ? std::make_shared<Request>(request->What(), request->Frames(), Request::Nobody)
                             : request);
    }

    void Answer()
    {
        std::erase_if(
            m_unanswered,
            [this](pid_t process) {
                const bool isWritten = std::ranges::none_of(
                    m_captures, [process](const auto& capture) { return capture->Number() == process; });
                const char done = m_captures.empty() ? WriterAnswer::Idle : WriterAnswer::Busy;
                return isWritten && send(m_place.control, &done, sizeof done, MSG_NOSIGNAL) >= 0;
            });
    }

    const WriterPlace& m_place;
    SpoolPlace& m_spools;
    Wanted m_wanted;
    const int m_wake;
    bool m_hasLauncher = true;
    News m_news;
    std::list<std::unique_ptr<ServedCapture>> m_captures;
    /// Ended processes of which playback-record wants to know that their captures are complete.
    std::vector<pid_t> m_unanswered;
};

} // namespace

void ServeRecordings(const WriterPlace& place, SpoolPlace& spools, const Wanted& wanted)
{
    Server(place, spools, wanted).Run();
}

} // namespace Recorder
