#include "Recorder/Launcher/Request.h"

#include <cstdio>
#include <sys/socket.h>
#include <unistd.h>

namespace Recorder {

Request::~Request()
{
    if (m_connection >= 0) {
        Send(Answer::Done, "");
        close(m_connection);
    }
}

void Request::GiveQuietly(const std::string& data)
{
    if (m_connection >= 0)
        Give(data);
}

void Request::Send(char kind, const std::string& text)
{
    const std::lock_guard lock(m_mutex);
    if (m_connection == StandardError)
        std::fprintf(stderr, "playback-record: %s\n", text.c_str());
    if (m_connection < 0)
        return;
    // Who asked may be gone.
    const std::string packet = kind + text;
    send(m_connection, packet.data(), packet.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

} // namespace Recorder
