// Where the sockets of recordings are.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>
#include <unistd.h>

namespace Recorder {

inline constexpr char ControlPrefix[] = "playback-record-";

/// Of a user's session; empty where there is none.
inline std::filesystem::path ControlFolder()
{
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    return folder != nullptr ? folder : "";
}

/// Of the recording of a playback-record.
inline std::filesystem::path ControlPath(pid_t process)
{
    const std::filesystem::path folder = ControlFolder();
    return folder.empty() ? folder : folder / (ControlPrefix + std::to_string(process));
}

/// The address of a socket in a folder whose name may be longer than an address has room for.
class SocketPlace {
public:
    explicit SocketPlace(const std::filesystem::path& socket)
        : m_folder(open(socket.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC))
    {
        m_address.sun_family = AF_UNIX;
        std::snprintf(m_address.sun_path, sizeof m_address.sun_path, "/proc/self/fd/%d/%s", m_folder,
                      socket.filename().c_str());
    }
    ~SocketPlace()
    {
        if (m_folder >= 0)
            close(m_folder);
    }
    SocketPlace(const SocketPlace&) = delete;
    SocketPlace& operator=(const SocketPlace&) = delete;

    [[nodiscard]] const sockaddr* Address() const { return reinterpret_cast<const sockaddr*>(&m_address); }
    [[nodiscard]] socklen_t Bytes() const { return sizeof m_address; }

private:
    const int m_folder;
    sockaddr_un m_address = {};
};

} // namespace Recorder
