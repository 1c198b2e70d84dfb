#pragma once

#include <cstdint>

#include "Data/CallIds.h"

namespace Data {
class MetaHandler;
}

namespace Playback {
class GLResourceTable;
}

namespace Replay {

/// What a thread makes current. Captured identifiers.
struct Current {
    std::uint32_t display = 0;
    std::uint32_t draw = 0;
    std::uint32_t read = 0;
    std::uint32_t context = 0;
    bool operator==(const Current&) const = default;
};

/// A replay that takes further calls between those of the capture.
class LiveCalls {
public:
    virtual ~LiveCalls() = default;

    /// The captured thread that calls come from.
    virtual void SetThread(std::uint32_t thread) = 0;
    /// Replays a call; its record may be changed. False when nothing came of it: it was refused, or raised an error.
    virtual bool Call(Data::CallId call, std::uint8_t* record) = 0;
    /// Restores contents of the default framebuffer.
    [[nodiscard]] virtual Data::MetaHandler& Restorer() = 0;
    /// Translates captured names for the current thread's context.
    [[nodiscard]] virtual const Playback::GLResourceTable& Names() const = 0;
};

} // namespace Replay
