#include "Playback/Windows/WaylandWindow.h"

#include <algorithm>

#include <wayland-client.h>
#include <wayland-egl.h>

#include "Playback/Calls/Result.h"
#include "Playback/PlaybackSettings.h"
#include "xdg-shell-unstable-v5-client-protocol.h"

namespace Playback {

namespace {

constexpr unsigned int DefaultWidth = 640;
constexpr unsigned int DefaultHeight = 480;

void handle_surface_configure(void* data, xdg_surface* surface, std::int32_t width, std::int32_t height,
                              wl_array* states, std::uint32_t serial)
{
    const auto* first = static_cast<const std::uint32_t*>(states->data);
    const auto* last = first + states->size / sizeof(std::uint32_t);
    const bool fullscreen = std::find(first, last, XDG_SURFACE_STATE_FULLSCREEN) != last;
    static_cast<WindowState*>(data)->Configure(width, height, fullscreen);
    xdg_surface_ack_configure(surface, serial);
}

void handle_surface_delete(void*, xdg_surface*) {}

void handle_ping(void*, wl_shell_surface* surface, std::uint32_t serial)
{
    wl_shell_surface_pong(surface, serial);
}

void handle_configure(void*, wl_shell_surface*, std::uint32_t, std::int32_t, std::int32_t) {}

void handle_popup_done(void*, wl_shell_surface*) {}

const xdg_surface_listener XdgSurfaceListener = {handle_surface_configure, handle_surface_delete};
const wl_shell_surface_listener ShellSurfaceListener = {handle_ping, handle_configure, handle_popup_done};

} // namespace

WaylandWindow::WaylandWindow(const std::string& title, Display* display, void* /*userData*/)
    : m_display(display), m_state(display->windowState), m_title(title)
{
    m_state->fullscreen = false;
}

/// The wl_shell_surface goes with its wl_surface: the protocol has no request to destroy it, and its proxy stays until
/// the display is disconnected.
WaylandWindow::~WaylandWindow()
{
    if (m_state->eglWindow) {
        wl_egl_window_destroy(m_state->eglWindow);
        m_state->eglWindow = nullptr;
    }
    if (m_state->xdgSurface) {
        xdg_surface_destroy(m_state->xdgSurface);
        m_state->xdgSurface = nullptr;
    }
    if (m_state->surface) {
        wl_surface_destroy(m_state->surface);
        m_state->surface = nullptr;
    }
    m_state->shellSurface = nullptr;
}

Window* WaylandWindow::CreateNewWindow(void* params)
{
    if (!params)
        return nullptr;
    const auto* create = static_cast<const CreateParams*>(params);
    auto* window = new WaylandWindow(create->title, create->display, create->userData);
    window->CreateAsSet();
    return window;
}

bool WaylandWindow::CreateAsSet()
{
    const auto* settings = PlaybackEnvironment::Instance();
    const unsigned int width = settings->m_windowWidth ? settings->m_windowWidth : DefaultWidth;
    const unsigned int height = settings->m_windowHeight ? settings->m_windowHeight : DefaultHeight;
    return Create(width, height, settings->m_fullscreen);
}

bool WaylandWindow::Create(unsigned int width, unsigned int height, bool fullscreen)
{
    m_state->surface = wl_compositor_create_surface(m_display->compositor);
    if (!m_state->surface)
        return false;
    m_state->eglWindow = wl_egl_window_create(m_state->surface, static_cast<int>(width), static_cast<int>(height));
    CreateRole();
    m_state->fullscreen = fullscreen;
    if (fullscreen)
        EnterFullscreenState();
    EnqueueResizeRequest(width, height);
    return m_state->eglWindow != nullptr;
}

void WaylandWindow::CreateRole()
{
    if (m_display->xdgShell) {
        m_state->xdgSurface = xdg_shell_get_xdg_surface(m_display->xdgShell, m_state->surface);
        xdg_surface_add_listener(m_state->xdgSurface, &XdgSurfaceListener, m_state);
        SendTitle(m_title);
    } else if (m_display->shell) {
        m_state->shellSurface = wl_shell_get_shell_surface(m_display->shell, m_state->surface);
        wl_shell_surface_add_listener(m_state->shellSurface, &ShellSurfaceListener, m_state);
        wl_shell_surface_set_toplevel(m_state->shellSurface);
    }
}

bool WaylandWindow::IsValid() const
{
    return m_state->surface != nullptr;
}

bool WaylandWindow::IsFullscreen() const
{
    return m_state->fullscreen;
}

void WaylandWindow::EnterFullscreenState(unsigned int, unsigned int)
{
    if (m_state->xdgSurface) {
        m_state->fullscreen = true;
        xdg_surface_set_fullscreen(m_state->xdgSurface, nullptr);
    }
}

void WaylandWindow::ExitFullscreenState(unsigned int width, unsigned int height)
{
    if (m_state->xdgSurface) {
        m_state->fullscreen = false;
        xdg_surface_unset_fullscreen(m_state->xdgSurface);
        xdg_surface_set_window_geometry(m_state->xdgSurface, 0, 0, static_cast<std::int32_t>(width),
                                        static_cast<std::int32_t>(height));
    }
}

void WaylandWindow::Move(unsigned int, unsigned int)
{
    if (m_state->xdgSurface) {
        xdg_surface_set_window_geometry(m_state->xdgSurface, 0, 0, static_cast<std::int32_t>(m_pendingWidth),
                                        static_cast<std::int32_t>(m_pendingHeight));
    }
}

void WaylandWindow::EnqueueResizeRequest(unsigned int width, unsigned int height)
{
    m_pendingWidth = width;
    m_pendingHeight = height;
}

void WaylandWindow::ProcessResizeRequest(bool force)
{
    if (m_pendingWidth == 0 || m_pendingHeight == 0)
        return;
    if (force || m_pendingWidth != GetWidth() || m_pendingHeight != GetHeight())
        Resize(m_pendingWidth, m_pendingHeight);
    EnqueueResizeRequest(0, 0);
}

unsigned int WaylandWindow::GetWidth() const
{
    int width = 0;
    if (m_state->eglWindow)
        wl_egl_window_get_attached_size(m_state->eglWindow, &width, nullptr);
    return static_cast<unsigned int>(width);
}

unsigned int WaylandWindow::GetHeight() const
{
    int height = 0;
    if (m_state->eglWindow)
        wl_egl_window_get_attached_size(m_state->eglWindow, nullptr, &height);
    return static_cast<unsigned int>(height);
}

void WaylandWindow::SetTitle(const std::string& title)
{
    m_title = title;
    SendTitle(m_title);
}

void WaylandWindow::SetSubTitle(const std::string& subTitle)
{
    m_subTitle = subTitle;
    SendTitle(FullTitle());
}

void WaylandWindow::SetFrameCount(unsigned int frame, unsigned int frameCount)
{
    SendTitle(FullTitle() + " - Frame " + std::to_string(frame) + " of " + std::to_string(frameCount));
}

std::string WaylandWindow::FullTitle() const
{
    return m_subTitle.empty() ? m_title : m_title + " - " + m_subTitle;
}

void WaylandWindow::SendTitle(const std::string& text)
{
    if (m_state->xdgSurface)
        xdg_surface_set_title(m_state->xdgSurface, text.c_str());
}

unsigned int WaylandWindow::GetNativeHandle(NativeHandle kind, void** out)
{
    if (!out)
        return ResultInvalidArgument;
    switch (kind) {
    case NativeHandle::Window:
    case NativeHandle::EGLWindow:
        *out = m_state->eglWindow;
        return ResultSuccess;
    case NativeHandle::Display:
    case NativeHandle::EGLDisplay:
        *out = m_display->display;
        return ResultSuccess;
    }
    return ResultUnsupported;
}

} // namespace Playback
