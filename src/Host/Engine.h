#pragma once

#include <memory>
#include <vector>

#include "Host/FrameVerifier.h"

namespace Data {
class BlockEventHandler;
class CaptureFile;
class MetaHandler;
} // namespace Data

namespace Playback {
class EGLPlaybackAdapter;
class EGLProxySurfaceFactory;
class GLPlaybackAdapter;
class GLResourceTable;
class WindowManager;
} // namespace Playback

namespace Util {
class GLScreenshotHandler;
}

namespace Host {

class ReadBackVerifier;

/// The engine's objects for one pass through a capture, built in the order in which they need each other and taken
/// apart the other way round. The driver is open when it is made, and closed when it is gone.
class Engine {
public:
    /// Where the replay is shown.
    struct Output {
        /// Null off screen. Not owned.
        Playback::WindowManager* windows;
        std::unique_ptr<Playback::EGLProxySurfaceFactory> surfaces;
    };

    /// Registers everything with the capture, which outlives the engine, and with `verifier` when it is not null.
    Engine(Data::CaptureFile& capture, Output output, FrameVerifier* verifier);
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    /// Null where the replay is not verified.
    [[nodiscard]] const ReadBackVerifier* ReadBacks() const { return m_readBacks; }

private:
    void AttachScreenshots();
    void AttachHandlers(Data::CaptureFile& capture, Playback::WindowManager* windows);

    std::unique_ptr<Playback::GLResourceTable> m_resourceTable;
    std::unique_ptr<Playback::EGLProxySurfaceFactory> m_surfaceFactory;
    std::unique_ptr<Util::GLScreenshotHandler> m_screenshotHandler;
    // The GL adapter comes first because the EGL adapter deletes GL objects when it is destroyed.
    std::unique_ptr<Playback::GLPlaybackAdapter> m_glAdapter;
    std::unique_ptr<Playback::EGLPlaybackAdapter> m_eglAdapter;
    std::vector<std::unique_ptr<Data::MetaHandler>> m_metaHandlers;
    std::vector<std::unique_ptr<Data::BlockEventHandler>> m_blockHandlers;
    /// The GL adapter, or null.
    ReadBackVerifier* m_readBacks = nullptr;
};

} // namespace Host
