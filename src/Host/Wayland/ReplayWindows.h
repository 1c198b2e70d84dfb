#pragma once

#include <map>
#include <memory>
#include <string>

#include "Host/Wayland/ReplayWindow.h"
#include "Interfaces/Data.h"
#include "Playback/Windows/SingleWindowManager.h"

namespace Host {

/// Holds the window that a replay has from its start, the one in use. Captured window surfaces that are alive at the
/// same time get further ones, since a driver makes one surface for a window; the last one stays for the next surface.
class ReplayWindows : public Playback::SingleWindowManager {
public:
    /// What all windows have in common.
    struct Style {
        std::string title;
        /// What the user chose.
        PixelSize fixed;
        /// All surfaces share the first window.
        bool isSingle = false;
    };

    /// Opens the first window. Null when the compositor refuses. The connection outlives the windows.
    static std::unique_ptr<ReplayWindows> Open(WaylandConnection& connection, Style style);
    ~ReplayWindows() override;
    ReplayWindows(const ReplayWindows&) = delete;
    ReplayWindows& operator=(const ReplayWindows&) = delete;

    Playback::Window* GetWindow(unsigned int id) override;
    void AddWindow(unsigned int id) override;
    void RemoveWindow(unsigned int id) override;
    /// A surface without a window changes nothing.
    void ActivateWindow(unsigned int id) override;

    /// The window in use.
    [[nodiscard]] ReplayWindow& Active() const { return *m_active; }
    /// Gives the surface's window, if it has one, the size that the capture has.
    void Resize(unsigned int id, PixelSize captured);
    /// The user closed one of the windows.
    [[nodiscard]] bool IsClosed() const;

private:
    ReplayWindows(WaylandConnection& connection, Style style, std::unique_ptr<ReplayWindow> first);
    [[nodiscard]] ReplayWindow* Find(unsigned int id) const;
    void Use(ReplayWindow& window);

    WaylandConnection& m_connection;
    Style m_style;
    std::map<unsigned int, std::unique_ptr<ReplayWindow>> m_ofSurface;
    /// Without a surface: the first window before there is one, later the last one. Else null.
    std::unique_ptr<ReplayWindow> m_spare;
    ReplayWindow* m_active = nullptr;
};

/// Windows follow the captured sizes at once: a captured program draws its next frame in the new size, which is before
/// the engine processes the request that it gets from the same command.
class WindowSizes : public Data::NullMetaHandler {
public:
    explicit WindowSizes(ReplayWindows& windows) : m_windows(windows) {}

    void ProcessSetWindowSizeCommand(std::uint32_t /*display*/, std::uint32_t surface, std::uint32_t width,
                                     std::uint32_t height) override
    {
        m_windows.Resize(surface, {width, height});
    }

private:
    ReplayWindows& m_windows;
};

} // namespace Host
