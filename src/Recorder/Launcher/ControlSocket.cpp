#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Recorder/Channel/SocketPlace.h"
#include "Recorder/Launcher/Control.h"
#include "Recorder/Launcher/ControlName.h"

namespace Recorder {

namespace fs = std::filesystem;

namespace {

constexpr int QuestionTimeoutMs = 500;

} // namespace

ControlSocket::ControlSocket() : m_path(ControlPath(getpid()))
{
    if (m_path.empty())
        return;
    // It gets its name when somebody listens: a client takes away what has the name and refuses it.
    const fs::path unnamed = m_path.parent_path() / ("." + m_path.filename().string());
    const SocketPlace place(unnamed.parent_path().c_str(), unnamed.filename().c_str());
    unlink(unnamed.c_str());
    m_listening = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (!place.Bind(m_listening) || listen(m_listening, SOMAXCONN) != 0 ||
        rename(unnamed.c_str(), m_path.c_str()) != 0) {
        unlink(unnamed.c_str());
        close(m_listening);
        m_listening = -1;
    }
}

ControlSocket::~ControlSocket()
{
    Remove();
    if (m_listening >= 0)
        close(m_listening);
}

void ControlSocket::Remove() const
{
    if (m_listening >= 0)
        unlink(m_path.c_str());
}

std::shared_ptr<Request> AcceptRequest(int listening)
{
    const int connection = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
    Question question;
    ucred peer = {};
    socklen_t peerBytes = sizeof peer;
    pollfd event = {connection, POLLIN, 0};
    if (connection >= 0 && poll(&event, 1, QuestionTimeoutMs) > 0 &&
        recv(connection, &question, sizeof question, 0) == sizeof question &&
        question.version == Question::OwnVersion && question.command >= Command::Start &&
        question.command <= Command::Status &&
        getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &peerBytes) == 0 && peer.uid == geteuid())
        return std::make_shared<Request>(question.command, question.frames, connection);
    close(connection);
    return nullptr;
}

} // namespace Recorder
