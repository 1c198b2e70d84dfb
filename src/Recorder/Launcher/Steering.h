// Signals to playback-record, and keys in its terminal, that steer a recording.
#pragma once

#include <array>
#include <csignal>
#include <optional>

#include "Recorder/Launcher/Keys.h"
#include "Recorder/Launcher/Recording.h"
#include "Recorder/Launcher/WriterProcess.h"

namespace Recorder {

/// They start, stop and take a snapshot; a value that is sent along with the last (sigqueue) is its number of frames.
[[nodiscard]] std::array<int, 3> SteeringSignals();

/// Passes them on as long as this lives. There is one at a time.
class Steering {
public:
    /// `writer` is borrowed.
    Steering(const WriterProcess& writer, const RecordingOptions& options);
    ~Steering();
    Steering(const Steering&) = delete;
    Steering& operator=(const Steering&) = delete;

    /// What is still to be cut out is not waited for. For handlers of signals; nothing where there is no steering.
    static void Abandon();

private:
    std::optional<Keys> m_keys;
};

} // namespace Recorder
