#pragma once

#include "Playback/Windows/WaylandWindow.h"

struct xdg_toplevel;

namespace Host {

class WaylandConnection;

/// A toplevel of the stable xdg-shell: what Playback::WaylandWindow is of the older shells.
///
/// The buffers keep the capture's size even where the compositor asks for another one: it shows smaller ones in the
/// middle of a full screen.
class XdgWindow : public Playback::WaylandWindow {
public:
    /// As that of Playback::WaylandWindow; `userData` is the WaylandConnection, which outlives the window.
    static Playback::Window* CreateNewWindow(void* params);

    XdgWindow(const std::string& title, Playback::Display* display, WaylandConnection& connection);
    ~XdgWindow() override;

    using WaylandWindow::EnterFullscreenState;
    using WaylandWindow::ExitFullscreenState;
    void EnterFullscreenState(unsigned int width, unsigned int height) override;
    void ExitFullscreenState(unsigned int width, unsigned int height) override;
    /// The compositor places windows. Their geometry is that of the surface, so that there is nothing to move.
    void Move(unsigned int, unsigned int) override {}
    /// Returns when the compositor is ready for the first frame.
    bool Create(unsigned int width, unsigned int height, bool fullscreen) override;

    /// The user closed the window.
    [[nodiscard]] bool IsClosed() const { return m_closed; }

protected:
    void CreateRole() override;
    void SendTitle(const std::string& text) override;

private:
    WaylandConnection& m_connection;
    // Not the m_state->xdgSurface of the unstable shell, whose interface has the same name.
    xdg_surface* m_xdgSurface = nullptr;
    xdg_toplevel* m_toplevel = nullptr;
    bool m_configured = false;
    bool m_closed = false;
};

} // namespace Host
