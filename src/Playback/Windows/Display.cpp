#include "Playback/Windows/Display.h"

#include <wayland-client.h>
#include <wayland-egl.h>

#include "xdg-shell-unstable-v5-client-protocol.h"

namespace Playback {

namespace {

void handle_shell_ping(void*, xdg_shell* shell, std::uint32_t serial)
{
    xdg_shell_pong(shell, serial);
}

const xdg_shell_listener ShellListener = {handle_shell_ping};

} // namespace

void WindowState::Configure(std::int32_t newWidth, std::int32_t newHeight, bool newFullscreen)
{
    fullscreen = newFullscreen;
    if (newWidth > 0 && newHeight > 0) {
        width = static_cast<std::uint32_t>(newWidth);
        height = static_cast<std::uint32_t>(newHeight);
        if (!fullscreen) {
            savedWidth = width;
            savedHeight = height;
        }
    } else if (!fullscreen) {
        width = savedWidth;
        height = savedHeight;
    }
    if (eglWindow)
        wl_egl_window_resize(eglWindow, static_cast<int>(width), static_cast<int>(height), 0, 0);
}

xdg_shell* BindXdgShell(wl_registry* registry, std::uint32_t name)
{
    auto* shell = static_cast<xdg_shell*>(wl_registry_bind(registry, name, &xdg_shell_interface, 1));
    if (shell) {
        xdg_shell_use_unstable_version(shell, XDG_SHELL_VERSION_CURRENT);
        xdg_shell_add_listener(shell, &ShellListener, nullptr);
    }
    return shell;
}

} // namespace Playback
