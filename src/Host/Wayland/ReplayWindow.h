#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "Playback/Windows/Display.h"
#include "Playback/Windows/WaylandWindow.h"

struct wl_callback;

namespace Host {

class WaylandConnection;
class XdgWindow;

/// A size in pixels; 0 where nothing is known or asked for.
struct PixelSize {
    unsigned int width = 0;
    unsigned int height = 0;
};

/// A display's globals with the state of one window, for the engine's windows, which know one window a display.
struct WindowRecord {
    explicit WindowRecord(const Playback::Display& shared) : display(shared) { display.windowState = &state; }
    WindowRecord(const WindowRecord&) = delete;
    WindowRecord& operator=(const WindowRecord&) = delete;

    Playback::WindowState state;
    Playback::Display display;
};

/// A window that no compositor knows: it stands for the one in which pbuffers would be displayed, since the engine
/// reads them back for a window only.
struct UnopenedWindow : private WindowRecord, public Playback::WaylandWindow {
    UnopenedWindow() : WindowRecord(Playback::Display{}), WaylandWindow("", &display, nullptr) {}
};

/// A window of a replay: as large as the captured surface, whatever the compositor would like, since another size
/// would show other pixels. Under the stable xdg-shell it is an XdgWindow, under an older shell the engine's own.
class ReplayWindow {
public:
    /// A shown window under the best shell of the connection, in the size and mode of the settings; null when the
    /// compositor refuses. `fixed` is the size that the user chose: a dimension given there stays for good.
    static std::unique_ptr<ReplayWindow> Open(const std::string& title, WaylandConnection& connection, PixelSize fixed);
    ~ReplayWindow();
    ReplayWindow(const ReplayWindow&) = delete;
    ReplayWindow& operator=(const ReplayWindow&) = delete;

    /// What the engine knows of it.
    [[nodiscard]] Playback::Window& Window() const { return *m_window; }

    /// Takes the captured surface's size. Takes effect with the first drawing after a swap or make-current.
    void Resize(PixelSize captured);
    /// To be called when events were handled: takes the size back that one of the compositor's may have replaced.
    void KeepSize();
    /// Before a swap: waits until the compositor has shown the frame swapped before, at most for `patience`, since a
    /// compositor tells nothing of a window that it does not show.
    void WaitForFrame(std::chrono::milliseconds patience);
    /// Has the compositor take note of what was asked of the window, without a new frame.
    void Commit();
    /// The user closed the window, where the shell tells.
    [[nodiscard]] bool IsClosed() const;
    void ToggleFullscreen();

private:
    ReplayWindow(WaylandConnection& connection, PixelSize fixed);
    void RememberSize(PixelSize size);
    void ForgetFrame();

    WaylandConnection& m_connection;
    WindowRecord m_record;
    std::unique_ptr<Playback::Window> m_window;
    PixelSize m_fixed;
    PixelSize m_size;
    /// Pending until the compositor shows the frame swapped last; null when nothing is awaited.
    wl_callback* m_frame = nullptr;
};

} // namespace Host
