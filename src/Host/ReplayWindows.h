#pragma once

#include <map>
#include <memory>
#include <string>

#include "Host/ReplayWindow.h"
#include "Playback/WindowManager.h"

namespace Host {

/// A window for each captured surface that is one. The first is there from the start, since the driver's display comes
/// from a window; the last one stays for the next surface.
class ReplayWindows : public Playback::WindowManager {
public:
    /// What all windows have in common.
    struct Style {
        std::string title;
        /// Size to begin with.
        PixelSize captured;
        /// What the user chose.
        PixelSize fixed;
        bool fullscreen = false;
    };

    /// The connection outlives the windows.
    ReplayWindows(WaylandConnection& connection, Style style);
    ~ReplayWindows() override;

    /// Opens the first window. False when the compositor refuses.
    bool Open();

    Playback::Window* GetWindow(unsigned int id) override;
    void AddWindow(unsigned int id) override;
    void RemoveWindow(unsigned int id) override;
    /// A surface without a window changes nothing.
    void ActivateWindow(unsigned int id) override;
    /// Null before Open.
    ReplayWindow* GetActiveWindow() override;
    /// Windows are made for surfaces only.
    Playback::Window* CreateNewWindow() override { return nullptr; }
    void DestroyWindow(Playback::Window*) override {}

    void ToggleFullscreen();
    /// The user closed one of the windows.
    [[nodiscard]] bool IsClosed() const;

private:
    std::unique_ptr<ReplayWindow> NewWindow();

    WaylandConnection& m_connection;
    Style m_style;
    std::map<unsigned int, std::unique_ptr<ReplayWindow>> m_ofSurface;
    /// Without a surface: the first window before there is one, later the last one. Else null.
    std::unique_ptr<ReplayWindow> m_spare;
    ReplayWindow* m_active = nullptr;
};

} // namespace Host
