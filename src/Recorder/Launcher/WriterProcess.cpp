#include "Recorder/Launcher/WriterProcess.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Recorder/Channel/Handshake.h"
#include "Recorder/Launcher/WriterServer.h"

namespace Recorder {
namespace {

/// The socket in the folder that programs connect to, or negative.
int Listen(const std::string& folder)
{
    const int place = open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    const int listening = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    const sockaddr_un address = SocketAddress(place);
    const bool isBound = bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                         listen(listening, SOMAXCONN) == 0;
    close(place);
    if (isBound)
        return listening;
    close(listening);
    return -1;
}

} // namespace

WriterProcess::WriterProcess(const std::string& folder, int reports)
{
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
        ServeRecordings({folder, listening, control[1], reports});
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
    const ProcessNews news = {process, ProcessNews::Started, 0};
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
