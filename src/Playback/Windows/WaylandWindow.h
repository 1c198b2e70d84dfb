#pragma once

#include "Playback/Windows/Display.h"
#include "Playback/Windows/Window.h"

namespace Playback {

/// A Wayland toplevel drawn through a wl_egl_window, under xdg-shell unstable v5 or wl_shell. Without either it has no
/// role and the compositor does not show it. Its size follows the compositor's configure events, not the engine's
/// requests. A host derives from it for other shells: override CreateRole, SendTitle and what uses the role, and offer
/// a CreateNewWindow of its own.
class WaylandWindow : public Window {
public:
    /// What CreateNewWindow takes. The title is copied.
    struct CreateParams {
        const char* title;
        Display* display;
        void* userData;
    };

    /// `display` and its window state outlive the window; a display has one window. `userData` is the host's.
    WaylandWindow(const std::string& title, Display* display, void* userData);
    ~WaylandWindow() override;
    WaylandWindow(const WaylandWindow&) = delete;
    WaylandWindow& operator=(const WaylandWindow&) = delete;

    /// Makes a window of the size and mode in the settings, 640 x 480 where they name no size. `params` points to
    /// CreateParams. The caller owns the result; null only for null `params`, so ask IsValid.
    static Window* CreateNewWindow(void* params);

    [[nodiscard]] bool IsValid() const override;
    [[nodiscard]] bool CanShow() const override { return true; }
    [[nodiscard]] bool CanHide() const override { return true; }
    [[nodiscard]] bool CanRaise() const override { return true; }
    [[nodiscard]] bool CanMove() const override { return true; }
    [[nodiscard]] bool CanResize() const override { return true; }
    [[nodiscard]] bool CanEnqueueResizeRequest() const override { return true; }
    [[nodiscard]] bool SupportsFullscreen() const override { return true; }
    void Show() override {}
    void Hide() override {}
    void Raise() override {}
    void EnterFullscreenState() override { EnterFullscreenState(0, 0); }
    /// The size is the compositor's choice; the arguments are not used.
    void EnterFullscreenState(unsigned int width, unsigned int height) override;
    void ExitFullscreenState() override { ExitFullscreenState(0, 0); }
    void ExitFullscreenState(unsigned int width, unsigned int height) override;
    [[nodiscard]] bool IsVisible() const override { return true; }
    [[nodiscard]] bool IsFullscreen() const override;
    /// Clients do not place themselves: the position is not used, the window geometry becomes the pending size.
    void Move(unsigned int x, unsigned int y) override;
    void Resize(unsigned int, unsigned int) override {}
    void Position(unsigned int, unsigned int, unsigned int, unsigned int) override {}
    void EnqueueResizeRequest(unsigned int width, unsigned int height) override;
    void ProcessResizeRequest(bool force) override;
    [[nodiscard]] unsigned int GetX() const override { return 0; }
    [[nodiscard]] unsigned int GetY() const override { return 0; }
    /// Size of the buffer the driver attached last; 0 before the first.
    [[nodiscard]] unsigned int GetWidth() const override;
    [[nodiscard]] unsigned int GetHeight() const override;
    void SetTitle(const std::string& title) override;
    void SetSubTitle(const std::string& subTitle) override;
    void SetFrameCount(unsigned int frame, unsigned int frameCount) override;
    unsigned int GetNativeHandle(NativeHandle kind, void** out) override;
    bool Create(unsigned int width, unsigned int height, bool fullscreen) override;

    /// Null before Create.
    [[nodiscard]] wl_egl_window* GetWindowHandle() const { return m_state->eglWindow; }

protected:
    /// Create with the size and mode in the settings.
    bool CreateAsSet();
    /// Gives the new wl_surface its role in a shell, with title. Called by Create.
    virtual void CreateRole();
    /// Shows the text in the title bar, where the role has one.
    virtual void SendTitle(const std::string& text);

    Display* m_display;
    WindowState* m_state;
    std::string m_title;
    std::string m_subTitle;
    /// Size asked for and not yet processed; 0 for none.
    unsigned int m_pendingWidth = 0;
    unsigned int m_pendingHeight = 0;

private:
    [[nodiscard]] std::string FullTitle() const;
};

} // namespace Playback
