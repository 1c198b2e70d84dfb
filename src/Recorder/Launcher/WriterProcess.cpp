#include "Recorder/Launcher/WriterProcess.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Recorder/Channel/Handshake.h"
#include "Recorder/Channel/SocketPlace.h"
#include "Recorder/Launcher/WriterServer.h"

namespace Recorder {
namespace {

/// Takes away a socket to which nobody listens any more. False when somebody does.
bool TakeAway(const SocketPlace& place)
{
    const int probe = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    const bool isServed = place.Connect(probe);
    close(probe);
    return !isServed && unlink(place.Path()) == 0;
}

/// The socket in the folder that programs connect to, or negative with a reason in errno. Whoever may write to the
/// folder may connect.
int Listen(const std::string& folder)
{
    const SocketPlace place(folder.c_str(), SocketName);
    const int listening = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    struct stat permissions = {};
    bool listens = place.Bind(listening) || (errno == EADDRINUSE && TakeAway(place) && place.Bind(listening));
    listens = listens && fstat(place.Folder(), &permissions) == 0 &&
              chmod(place.Path(), permissions.st_mode & 0666) == 0 && listen(listening, SOMAXCONN) == 0;
    const int why = listens ? 0 : errno;
    if (listens)
        return listening;
    close(listening);
    errno = why;
    return -1;
}

} // namespace

WriterProcess::WriterProcess(const RecordingOptions& options, int reports, Tells tells)
{
    const std::string& folder = options.folder;
    int control[2];
    const int listening = Listen(folder);
    if (listening < 0 || socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, control) != 0)
        return;
    m_writer = fork();
    if (m_writer == 0) {
        close(control[0]);
        // Away from the terminal and its signals. What ends the programs ends this process too, after them.
        setsid();
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE})
            std::signal(signal, SIG_IGN);
        SpoolPlace spools{options.file, FindCutTools(), reports};
        ServeRecordings({folder, listening, m_socket.Listening(), control[1], reports, tells == Tells::EachBeginning},
                        spools, options.wanted);
        m_socket.Remove();
        _exit(0);
    }
    close(listening);
    close(control[1]);
    m_control = control[0];
}

WriterProcess::~WriterProcess()
{
    if (m_control >= 0)
        close(m_control);
    if (m_isIdle)
        waitpid(m_writer, nullptr, 0);
}

void WriterProcess::TellStart(pid_t process) const
{
    Tell({process, ProcessNews::Started, 0});
}

void WriterProcess::Ask(Command command, std::uint32_t frames) const
{
    Tell({static_cast<pid_t>(frames), ProcessNews::Asked, static_cast<std::int32_t>(command)});
}

void WriterProcess::Abandon() const
{
    Tell({0, ProcessNews::Abandoned, 0});
}

void WriterProcess::Tell(const ProcessNews& news) const
{
    send(m_control, &news, sizeof news, MSG_NOSIGNAL);
}

void WriterProcess::TellEnd(pid_t process, int status)
{
    const ProcessNews news = {process, ProcessNews::Ended, status};
    char answer = WriterAnswer::Busy;
    if (send(m_control, &news, sizeof news, MSG_NOSIGNAL) == sizeof news) {
        while (recv(m_control, &answer, sizeof answer, 0) < 0 && errno == EINTR) {
        }
        m_isIdle = answer == WriterAnswer::Idle;
    }
}

} // namespace Recorder
