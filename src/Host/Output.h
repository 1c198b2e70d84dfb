#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Host/Commands.h"
#include "Host/Wayland/FramePacer.h"
#include "Host/Wayland/ReplayWindows.h"
#include "Util/Failure.h"

struct wl_display;

namespace Playback {
class EGLProxySurfaceFactory;
class SingleWindowManager;
} // namespace Playback

namespace Host {

struct Options;
class WaylandConnection;

/// What a replay is shown on: the windows of a compositor, or pbuffers where there is none or none is wanted. Opens the
/// driver for it.
class Output {
public:
    Output();
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// Once, before anything else. Windows begin with the size that was captured. The settings are loaded.
    Util::Outcome Open(const Options& options, PixelSize captured);
    /// Where the replay is shown and, if it is off screen, why.
    [[nodiscard]] const std::string& Description() const { return m_description; }
    /// Opens the driver again, which an engine closes when it is gone.
    Util::Outcome OpenDriver();

    /// The compositor; null off screen.
    [[nodiscard]] wl_display* Compositor() const;
    /// For the engine: null off screen.
    [[nodiscard]] ReplayWindows* WindowManager() const { return m_windows.get(); }
    [[nodiscard]] std::unique_ptr<Playback::EGLProxySurfaceFactory> CreateSurfaceFactory() const;

    /// Handles what the compositor tells and appends what was asked for by keys. False once the connection is broken.
    bool HandleEvents(CommandQueue& commands);
    [[nodiscard]] bool HasKeyboard() const;
    [[nodiscard]] bool IsClosed() const { return m_windows && m_windows->IsClosed(); }
    /// There is a window, and nothing was drawn to it so far.
    [[nodiscard]] bool IsBlank() const;
    void ToggleFullscreen();

private:
    Util::Outcome OpenWindows(const Options& options, PixelSize captured);

    std::string m_description;
    std::string m_driverDirectory;
    std::optional<int> m_swapInterval;
    // In the order of construction; destroyed the other way round. All null off screen.
    std::unique_ptr<WaylandConnection> m_connection;
    std::unique_ptr<ReplayWindows> m_windows;
    std::unique_ptr<FramePacer> m_pacer;
    // For the pbuffers of -pbuffersurface; null with -headless, where nothing is read back.
    std::unique_ptr<UnopenedWindow> m_pbufferWindow;
    std::unique_ptr<Playback::SingleWindowManager> m_pbufferWindows;
};

} // namespace Host
