// Sockets in folders.
#pragma once

#include <cstdio>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Recorder {

/// The address of a socket, by a descriptor of its folder: the way through /proc has room for folders of any length.
class SocketPlace {
public:
    SocketPlace(const char* folder, const char* name) : m_folder(open(folder, O_PATH | O_DIRECTORY | O_CLOEXEC))
    {
        m_address.sun_family = AF_UNIX;
        std::snprintf(m_address.sun_path, sizeof m_address.sun_path, "/proc/self/fd/%d/%s", m_folder, name);
    }
    ~SocketPlace()
    {
        if (m_folder >= 0)
            close(m_folder);
    }
    SocketPlace(const SocketPlace&) = delete;
    SocketPlace& operator=(const SocketPlace&) = delete;

    /// Negative when it cannot be opened.
    [[nodiscard]] int Folder() const { return m_folder; }
    /// Of the socket itself.
    [[nodiscard]] const char* Path() const { return m_address.sun_path; }
    /// As bind and connect have it.
    [[nodiscard]] bool Bind(int socket) const { return bind(socket, Address(), sizeof m_address) == 0; }
    [[nodiscard]] bool Connect(int socket) const { return connect(socket, Address(), sizeof m_address) == 0; }

private:
    [[nodiscard]] const sockaddr* Address() const { return reinterpret_cast<const sockaddr*>(&m_address); }

    const int m_folder;
    sockaddr_un m_address = {};
};

} // namespace Recorder
