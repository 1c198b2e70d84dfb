#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "Playback/Display.h"
#include "Playback/WaylandWindow.h"

struct wl_callback;

namespace Host {

class WaylandConnection;

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
/// would show other pixels. Under xdg-shell unstable v5 or wl_shell; see XdgWindow for the stable shell.
class ReplayWindow : private WindowRecord, public Playback::WaylandWindow {
public:
    /// A shown window under the best shell of the connection; null when the compositor refuses. `captured` is the size
    /// to begin with, `fixed` what the user chose: a dimension given there stays for good.
    static std::unique_ptr<ReplayWindow> Open(const std::string& title, WaylandConnection& connection,
                                              PixelSize captured, PixelSize fixed, bool fullscreen);

    ReplayWindow(const std::string& title, WaylandConnection& connection, PixelSize fixed);
    ~ReplayWindow() override;

    bool Create(unsigned int width, unsigned int height, bool fullscreen) override;
    /// At once: a captured program draws its next frame in the new size, which is before the engine processes requests.
    void EnqueueResizeRequest(unsigned int width, unsigned int height) override;
    /// Takes effect with the first drawing after a swap or make-current.
    void Resize(unsigned int width, unsigned int height) override;

    /// To be called when events were handled: takes the size back that one of the compositor's may have replaced.
    void KeepSize();
    /// Before a swap: waits until the compositor has shown the frame swapped before, at most for `patience`, since a
    /// compositor tells nothing of a window that it does not show.
    void WaitForFrame(std::chrono::milliseconds patience);
    /// Has the compositor take note of what was asked of the window, without a new frame.
    void Commit();
    /// The user closed the window.
    [[nodiscard]] bool IsClosed() const { return m_closed; }

protected:
    /// wl_shell has titles too.
    void SendTitle(const std::string& text) override;
    /// The compositor is ready for the first frame.
    [[nodiscard]] virtual bool IsConfigured() const { return true; }

    WaylandConnection& m_connection;
    bool m_closed = false;

private:
    void RememberSize(PixelSize size);
    void ForgetFrame();

    PixelSize m_fixed;
    PixelSize m_size;
    /// Pending until the compositor shows the frame swapped last; null when nothing is awaited.
    wl_callback* m_frame = nullptr;
};

} // namespace Host
