#include "Host/Wayland/WaylandConnection.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <string_view>

#include <wayland-client.h>

#include "Interfaces/Core.h"
#include "xdg-shell-client-protocol.h"

namespace Host {

namespace {

void AnswerPing(void*, xdg_wm_base* shell, std::uint32_t serial)
{
    xdg_wm_base_pong(shell, serial);
}

/// What libwayland has to say. Without a connection only the log tells: Open gives the reason.
int libraryLevel = Core::LogDiagnostic;

void LogOfLibrary(const char* format, va_list arguments)
{
    char text[256];
    std::vsnprintf(text, sizeof text, format, arguments);
    text[std::strcspn(text, "\n")] = '\0';
    Core::Log::Print(libraryLevel, Core::ZoneGeneral, __LINE__, "src/Host/WaylandConnection", true, "Wayland: %s",
                     text);
}

constexpr xdg_wm_base_listener ShellListener = {AnswerPing};

std::string TriedSocket()
{
    const char* display = std::getenv("WAYLAND_DISPLAY");
    const char* directory = std::getenv("XDG_RUNTIME_DIR");
    return std::string("WAYLAND_DISPLAY=") + (display ? display : "(unset)") +
           ", XDG_RUNTIME_DIR=" + (directory ? directory : "(unset)");
}

} // namespace

std::unique_ptr<WaylandConnection> WaylandConnection::Open(std::string& why)
{
    // Not make_unique: the constructor is private.
    std::unique_ptr<WaylandConnection> connection(new WaylandConnection);
    Playback::Display& globals = connection->m_globals;
    wl_log_set_handler_client(LogOfLibrary);
    globals.display = wl_display_connect(nullptr);
    if (!globals.display) {
        why = std::string("no compositor: ") + std::strerror(errno) + " (" + TriedSocket() + ")";
        return nullptr;
    }
    libraryLevel = Core::LogError;

    static constexpr wl_registry_listener RegistryListener = {
        [](void* self, wl_registry*, std::uint32_t name, const char* interface, std::uint32_t version) {
            static_cast<WaylandConnection*>(self)->Bind(name, interface, version);
        },
        [](void*, wl_registry*, std::uint32_t) {},
    };
    connection->m_registry = wl_display_get_registry(globals.display);
    wl_registry_add_listener(connection->m_registry, &RegistryListener, connection.get());
    if (!connection->Roundtrip()) {
        why = "the compositor closed the connection";
        return nullptr;
    }
    if (!globals.compositor || (!connection->m_stableShell && !globals.xdgShell && !globals.shell)) {
        why = "the compositor offers no wl_compositor with xdg_wm_base, xdg_shell (unstable v5) or wl_shell";
        return nullptr;
    }
    return connection;
}

WaylandConnection::~WaylandConnection()
{
    if (!m_globals.display)
        return;
    m_keyboards.clear();
    if (m_stableShell)
        xdg_wm_base_destroy(m_stableShell);
    // The proxies of the older shells have no request to destroy them; they go with the connection.
    if (m_globals.compositor)
        wl_compositor_destroy(m_globals.compositor);
    wl_registry_destroy(m_registry);
    wl_display_flush(m_globals.display);
    wl_display_disconnect(m_globals.display);
}

void WaylandConnection::Bind(std::uint32_t name, const char* interface, std::uint32_t)
{
    // Version 1 of each is all that a plain toplevel needs.
    const std::string_view offered = interface;
    if (offered == wl_compositor_interface.name) {
        m_globals.compositor =
            static_cast<wl_compositor*>(wl_registry_bind(m_registry, name, &wl_compositor_interface, 1));
    } else if (offered == xdg_wm_base_interface.name) {
        m_stableShell = static_cast<xdg_wm_base*>(wl_registry_bind(m_registry, name, &xdg_wm_base_interface, 1));
        xdg_wm_base_add_listener(m_stableShell, &ShellListener, nullptr);
    } else if (offered == "xdg_shell") {
        m_globals.xdgShell = Playback::BindXdgShell(m_registry, name);
    } else if (offered == wl_seat_interface.name) {
        auto* const seat = static_cast<wl_seat*>(wl_registry_bind(m_registry, name, &wl_seat_interface, 1));
        m_keyboards.push_back(std::make_unique<Keyboard>(seat, m_commands));
    } else if (offered == wl_shell_interface.name) {
        m_globals.shell = static_cast<wl_shell*>(wl_registry_bind(m_registry, name, &wl_shell_interface, 1));
    }
}

bool WaylandConnection::Dispatch(std::chrono::milliseconds patience)
{
    wl_display* display = m_globals.display;
    while (wl_display_prepare_read(display) != 0) {
        if (wl_display_dispatch_pending(display) < 0)
            return false;
        patience = std::chrono::milliseconds::zero();
    }
    wl_display_flush(display);
    pollfd readable = {wl_display_get_fd(display), POLLIN, 0};
    if (poll(&readable, 1, static_cast<int>(patience.count())) > 0)
        wl_display_read_events(display);
    else
        wl_display_cancel_read(display);
    return HandledEvents(wl_display_dispatch_pending(display));
}

bool WaylandConnection::Roundtrip()
{
    return HandledEvents(wl_display_roundtrip(m_globals.display));
}

bool WaylandConnection::HandledEvents(int result) const
{
    if (m_afterEvents)
        m_afterEvents();
    return result >= 0;
}

const char* WaylandConnection::ShellName() const
{
    return m_stableShell ? "xdg_wm_base" : m_globals.xdgShell ? "xdg_shell (unstable v5)" : "wl_shell";
}

} // namespace Host
