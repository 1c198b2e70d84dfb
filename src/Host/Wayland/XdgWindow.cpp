#include "Host/Wayland/XdgWindow.h"

#include <algorithm>

#include <wayland-client.h>

#include "Host/Wayland/WaylandConnection.h"
#include "xdg-shell-client-protocol.h"

namespace Host {

namespace {

bool Contains(const wl_array& states, std::uint32_t state)
{
    const auto* first = static_cast<const std::uint32_t*>(states.data);
    const auto* last = first + states.size / sizeof(std::uint32_t);
    return std::find(first, last, state) != last;
}

} // namespace

Playback::Window* XdgWindow::CreateNewWindow(void* params)
{
    if (!params)
        return nullptr;
    const auto* create = static_cast<const CreateParams*>(params);
    auto* window = new XdgWindow(create->title, create->display, *static_cast<WaylandConnection*>(create->userData));
    window->CreateAsSet();
    return window;
}

XdgWindow::XdgWindow(const std::string& title, Playback::Display* display, WaylandConnection& connection)
    : WaylandWindow(title, display, &connection), m_connection(connection)
{
}

XdgWindow::~XdgWindow()
{
    if (m_toplevel)
        xdg_toplevel_destroy(m_toplevel);
    if (m_xdgSurface)
        xdg_surface_destroy(m_xdgSurface);
}

bool XdgWindow::Create(unsigned int width, unsigned int height, bool fullscreen)
{
    if (!WaylandWindow::Create(width, height, fullscreen))
        return false;
    // The shell announces how it would like the window after a commit without a buffer; no frame may come before that.
    wl_surface_commit(m_state->surface);
    while (!m_configured)
        if (!m_connection.Roundtrip())
            return false;
    return true;
}

void XdgWindow::CreateRole()
{
    static constexpr xdg_surface_listener SurfaceListener = {
        [](void* self, xdg_surface* surface, std::uint32_t serial) {
            xdg_surface_ack_configure(surface, serial);
            static_cast<XdgWindow*>(self)->m_configured = true;
            // Takes effect with a commit, and a paused replay has no frame to come.
            wl_surface_commit(static_cast<XdgWindow*>(self)->m_state->surface);
        },
    };
    // Events of later versions than the one bound are not sent.
    static constexpr xdg_toplevel_listener ToplevelListener = {
        [](void* self, xdg_toplevel*, std::int32_t, std::int32_t, wl_array* states) {
            static_cast<XdgWindow*>(self)->m_state->fullscreen = Contains(*states, XDG_TOPLEVEL_STATE_FULLSCREEN);
        },
        [](void* self, xdg_toplevel*) { static_cast<XdgWindow*>(self)->m_closed = true; },
        nullptr,
        nullptr,
    };

    m_xdgSurface = xdg_wm_base_get_xdg_surface(m_connection.StableShell(), m_state->surface);
    xdg_surface_add_listener(m_xdgSurface, &SurfaceListener, this);
    m_toplevel = xdg_surface_get_toplevel(m_xdgSurface);
    xdg_toplevel_add_listener(m_toplevel, &ToplevelListener, this);
    xdg_toplevel_set_app_id(m_toplevel, "playback");
    SendTitle(m_title);
}

void XdgWindow::SendTitle(const std::string& text)
{
    xdg_toplevel_set_title(m_toplevel, text.c_str());
}

void XdgWindow::EnterFullscreenState(unsigned int, unsigned int)
{
    m_state->fullscreen = true;
    xdg_toplevel_set_fullscreen(m_toplevel, nullptr);
}

void XdgWindow::ExitFullscreenState(unsigned int, unsigned int)
{
    m_state->fullscreen = false;
    xdg_toplevel_unset_fullscreen(m_toplevel);
}

} // namespace Host
