#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Data/Diagnostics.h"
#include "Data/Records/CallDecoder.h"
#include "Data/Records/MetaDecoder.h"
#include "Replay/Driver/DriverState.h"
#include "Replay/LiveCalls.h"

namespace Playback {
class EGLPlaybackAdapter;
class EGLProxySurfaceFactory;
class GLPlaybackAdapter;
} // namespace Playback

namespace Replay {

/// Replays records on the live driver, off screen, call by call, for those who ask the driver what came of them. One at
/// a time in a process, since the live tables are the process's.
class LiveReplay : public LiveCalls {
public:
    /// `driver` is the folder of the driver's libraries; empty for the system's. Null, with a reason, without a driver.
    static std::unique_ptr<LiveReplay> Create(const std::string& driver, Data::Diagnostics& diagnostics,
                                              std::string& error);
    ~LiveReplay() override;
    LiveReplay(const LiveReplay&) = delete;
    LiveReplay& operator=(const LiveReplay&) = delete;

    void SetThread(std::uint32_t thread) override;
    bool Call(Data::CallId call, std::uint8_t* record) override;
    /// Replays a record that is no call and not about threads, frames and blocks.
    void Other(const Data::RecordCursor& record) { m_meta.Decode(record); }
    /// Tells `model` of each call that is replayed. Not owned.
    void SetStateModel(Data::StateModel* model) { m_calls.SetStateModel(model); }
    /// The chunk of the records so far goes away.
    void ForgetChunk() { m_calls.ForgetVertexData(); }
    /// Makes something current on a captured thread.
    void MakeCurrent(std::uint32_t thread, const Current& current);

    [[nodiscard]] Data::MetaHandler& Restorer() override { return *m_metaHandler; }
    [[nodiscard]] const Playback::GLResourceTable& Names() const override { return *m_resourceTable; }

private:
    explicit LiveReplay(Data::Diagnostics& diagnostics);

    const Data::Diagnostics& m_diagnostics;
    Data::CallDecoder m_calls;
    Data::MetaDecoder m_meta;
    DriverState m_driverState;
    // In the order of construction; the GL adapter comes first because the EGL adapter deletes GL objects.
    std::unique_ptr<Playback::GLResourceTable> m_resourceTable;
    std::unique_ptr<Playback::EGLProxySurfaceFactory> m_surfaceFactory;
    std::unique_ptr<Playback::GLPlaybackAdapter> m_glAdapter;
    std::unique_ptr<Playback::EGLPlaybackAdapter> m_eglAdapter;
    std::unique_ptr<Data::MetaHandler> m_metaHandler;
};

} // namespace Replay
