#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Data/Diagnostics.h"
#include "Data/Records/CallDecoder.h"
#include "Data/Records/MetaDecoder.h"
#include "Replay/DriverState.h"

namespace Playback {
class EGLPlaybackAdapter;
class EGLProxySurfaceFactory;
class GLPlaybackAdapter;
class GLResourceTable;
} // namespace Playback

namespace Trim {

struct Current;

/// Replays records on the live driver, off screen, so that contents can be read back where calls alone do not tell
/// them. One at a time in a process, since the live tables are the process's.
class LiveReplay {
public:
    /// Null, with a reason, without a driver.
    static std::unique_ptr<LiveReplay> Create(Data::Diagnostics& diagnostics, std::string& error);
    ~LiveReplay();
    LiveReplay(const LiveReplay&) = delete;
    LiveReplay& operator=(const LiveReplay&) = delete;

    void SetThread(std::uint32_t thread);
    /// Replays a call; its record may be changed. False when nothing came of it: it was refused, or raised an error.
    bool Call(Data::CallId call, std::uint8_t* record);
    /// Replays a record that is no call and not about threads, frames and blocks.
    void Other(const Data::RecordCursor& record) { m_meta.Decode(record); }
    /// Makes something current on a captured thread. Captured identifiers.
    void MakeCurrent(std::uint32_t thread, const Current& current);

    /// Restores contents of the default framebuffer, as a replay of the capture does.
    [[nodiscard]] Data::MetaHandler& Restorer() { return *m_metaHandler; }
    /// Translates captured names for the current thread's context.
    [[nodiscard]] const Playback::GLResourceTable& Names() const { return *m_resourceTable; }

private:
    explicit LiveReplay(Data::Diagnostics& diagnostics);

    const Data::Diagnostics& m_diagnostics;
    Data::CallDecoder m_calls;
    Data::MetaDecoder m_meta;
    Replay::DriverState m_driverState;
    // In the order of construction; the GL adapter comes first because the EGL adapter deletes GL objects.
    std::unique_ptr<Playback::GLResourceTable> m_resourceTable;
    std::unique_ptr<Playback::EGLProxySurfaceFactory> m_surfaceFactory;
    std::unique_ptr<Playback::GLPlaybackAdapter> m_glAdapter;
    std::unique_ptr<Playback::EGLPlaybackAdapter> m_eglAdapter;
    std::unique_ptr<Data::MetaHandler> m_metaHandler;
};

} // namespace Trim
