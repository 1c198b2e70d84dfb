#pragma once

#include "Host/ReplayWindow.h"

struct xdg_toplevel;

namespace Host {

/// A toplevel of the stable xdg-shell.
///
/// The buffers keep the capture's size even where the compositor asks for another one: it shows smaller ones in the
/// middle of a full screen.
class XdgWindow : public ReplayWindow {
public:
    using ReplayWindow::ReplayWindow;
    ~XdgWindow() override;

    using ReplayWindow::EnterFullscreenState;
    using ReplayWindow::ExitFullscreenState;
    void EnterFullscreenState(unsigned int width, unsigned int height) override;
    void ExitFullscreenState(unsigned int width, unsigned int height) override;
    /// The compositor places windows. Their geometry is that of the surface, so that there is nothing to move.
    void Move(unsigned int, unsigned int) override {}

protected:
    void CreateRole() override;
    void SendTitle(const std::string& text) override;
    [[nodiscard]] bool IsConfigured() const override { return m_configured; }

private:
    // Not the m_state->xdgSurface of the unstable shell, whose interface has the same name.
    xdg_surface* m_xdgSurface = nullptr;
    xdg_toplevel* m_toplevel = nullptr;
    bool m_configured = false;
};

} // namespace Host
