#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Replay/Driver/DriverState.h"

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
} // namespace Playback

namespace Host {

class ActionScreenshots;
class DrawnFrames;
class ReplayWindows;
class Screenshots;
struct Verification;

/// The engine's objects for one pass through a capture, built in the order in which they need each other and taken
/// apart the other way round. The driver is open when it is made, and closed when it is gone.
class Engine {
public:
    /// Where the replay is shown.
    struct Output {
        /// Null off screen. Not owned.
        ReplayWindows* windows;
        std::unique_ptr<Playback::EGLProxySurfaceFactory> surfaces;
    };

    /// Registers everything with the capture, which outlives the engine. Compares when `verification` is not null.
    /// `screenshots` may be null too.
    Engine(Data::CaptureFile& capture, Output output, Verification* verification, Screenshots* screenshots);
    /// Takes pictures of what is between the draws, too, of which the settings say to take some. There are screenshots.
    void TakeActions(Data::CaptureFile& capture, Screenshots& screenshots);
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    /// Shows what is in a captured framebuffer of the current context, with its lower left corner at this place of the
    /// surface, in pixels. Does nothing while there is no such framebuffer.
    void ShowFramebuffer(std::uint32_t captured, std::int32_t x, std::int32_t y) const;
    /// Translates captured names for the current thread's context.
    [[nodiscard]] const Playback::GLResourceTable& Names() const { return *m_resourceTable; }
    /// Puts contents of the default framebuffer back, as meta commands of a capture do.
    [[nodiscard]] Data::MetaHandler& Restorer() { return *m_restorer; }
    /// Frames ended without a swap.
    [[nodiscard]] bool HasDrawnFrames() const;
    /// Errors of the driver by name, with their numbers, so far.
    [[nodiscard]] std::map<std::string, std::uint64_t> Errors() const;

private:
    void AttachHandlers(Data::CaptureFile& capture, ReplayWindows* windows, Screenshots* screenshots);

    Replay::DriverState m_driverState;
    std::unique_ptr<Playback::GLResourceTable> m_resourceTable;
    std::unique_ptr<Playback::EGLProxySurfaceFactory> m_surfaceFactory;
    // The GL adapter comes first because the EGL adapter deletes GL objects when it is destroyed.
    std::unique_ptr<Playback::GLPlaybackAdapter> m_glAdapter;
    std::unique_ptr<Playback::EGLPlaybackAdapter> m_eglAdapter;
    std::unique_ptr<DrawnFrames> m_drawnFrames;
    /// Null where nobody asks for them.
    std::unique_ptr<ActionScreenshots> m_actionScreenshots;
    std::vector<std::unique_ptr<Data::MetaHandler>> m_metaHandlers;
    /// One of those.
    Data::MetaHandler* m_restorer = nullptr;
    std::vector<std::unique_ptr<Data::BlockEventHandler>> m_blockHandlers;
};

} // namespace Host
