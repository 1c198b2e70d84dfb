#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct wl_display;
struct ShellServerState;

/// A Wayland compositor for tests, in the test's own process and thread: it has wl_compositor and one shell, shows
/// nothing, and tells what its one client asked for.
class ShellServer {
public:
    enum class Shell { None, WlShell, XdgShellV5 };

    explicit ShellServer(Shell shell);
    ~ShellServer();
    ShellServer(const ShellServer&) = delete;
    ShellServer& operator=(const ShellServer&) = delete;

    /// The connection of the client; disconnected by this object.
    [[nodiscard]] wl_display* Client() const;
    /// Delivers all requests and events, both ways.
    void Dispatch();
    /// The requests since the last call, such as "xdg_surface.set_title(\"Cube\")".
    std::vector<std::string> TakeRequests();

    // Events for the client's newest object of the kind.

    void PingShell(std::uint32_t serial);
    void PingShellSurface(std::uint32_t serial);
    void ConfigureXdgSurface(int width, int height, const std::vector<std::uint32_t>& states, std::uint32_t serial);

private:
    std::unique_ptr<ShellServerState> m_state;
};
