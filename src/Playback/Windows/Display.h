// A Wayland display with what a window needs of it.
#pragma once

#include <cstdint>

struct wl_compositor;
struct wl_display;
struct wl_egl_window;
struct wl_registry;
struct wl_shell;
struct wl_shell_surface;
struct wl_surface;
struct xdg_shell;
struct xdg_surface;

namespace Playback {

/// The window of a display, as the Wayland listeners see it: they get this record as their data. Sizes are pixels,
/// 0 until the compositor gave one. The pointers are null until the window is created and once it is destroyed.
struct WindowState {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    /// Last size outside full screen.
    std::uint32_t savedWidth = 0;
    std::uint32_t savedHeight = 0;
    wl_egl_window* eglWindow = nullptr;
    wl_surface* surface = nullptr;
    xdg_surface* xdgSurface = nullptr;
    wl_shell_surface* shellSurface = nullptr;
    bool fullscreen = false;

    /// Takes a size that the compositor proposes, 0 by 0 when it leaves the choice to the window, and resizes the EGL
    /// window. Full screen keeps its size then, a window gets the last windowed size back.
    void Configure(std::int32_t newWidth, std::int32_t newHeight, bool newFullscreen);
};

/// A connected display and its bound globals. The host fills it in, owns what it points to and dispatches its events.
struct Display {
    wl_display* display = nullptr;
    wl_compositor* compositor = nullptr;
    /// xdg-shell, unstable version 5. Null when the compositor does not offer it; see BindXdgShell.
    xdg_shell* xdgShell = nullptr;
    /// Null when the compositor does not offer it. Used only without xdgShell.
    wl_shell* shell = nullptr;
    WindowState* windowState = nullptr;
};

/// Binds global `name` of the registry, an xdg_shell of unstable version 5: states the version in use and answers
/// the compositor's pings. Here because the stable shell has interfaces of the same names, so that one binary cannot
/// hold both. Null when out of memory.
xdg_shell* BindXdgShell(wl_registry* registry, std::uint32_t name);

} // namespace Playback
