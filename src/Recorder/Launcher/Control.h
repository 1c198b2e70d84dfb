// How a recording that is under way is told what to do.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <sys/types.h>

#include "Recorder/Launcher/Request.h"

namespace Recorder {

/// What is asked, in one packet, through the socket of a recording. The answers are packets too, see Request.h.
struct Question {
    static constexpr std::uint32_t OwnVersion = 1;

    std::uint32_t version = OwnVersion;
    Command command = {};
    /// Of a snapshot.
    std::uint32_t frames = 0;
};

/// The socket of this process's recording, in XDG_RUNTIME_DIR, until the end.
class ControlSocket {
public:
    ControlSocket();
    /// Takes the socket away.
    ~ControlSocket();
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;

    /// Negative where there is none, since nobody says where it is to be.
    [[nodiscard]] int Listening() const { return m_listening; }
    /// Takes the socket away, also in another process.
    void Remove() const;

private:
    std::filesystem::path m_path;
    int m_listening = -1;
};

/// Waits a moment for somebody who connects to say what he wants; null when that is nothing.
[[nodiscard]] std::shared_ptr<Request> AcceptRequest(int listening);

/// `playback-record ctl`, with the arguments from there on. Answers the exit status.
[[nodiscard]] int RunControl(int argc, const char* const* argv);

} // namespace Recorder
