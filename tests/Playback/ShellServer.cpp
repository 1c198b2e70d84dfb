#include "ShellServer.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <map>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <wayland-client-core.h>
#include <wayland-server.h>

#include "xdg-shell-unstable-v5-server-protocol.h"

struct ShellServerState {
    wl_display* server = nullptr;
    wl_display* client = nullptr;
    /// Newest resource of each interface.
    std::map<std::string, wl_resource*> resources;
    std::vector<std::string> requests;
};

namespace {

std::string Text(char type, const wl_argument& argument)
{
    switch (type) {
    case 'i':
        return std::to_string(argument.i);
    case 'u':
        return std::to_string(argument.u);
    case 's':
        return std::string("\"") + argument.s + '"';
    case 'o':
        return argument.o ? "object" : "null";
    default:
        return "new";
    }
}

int Dispatch(const void*, void* target, std::uint32_t, const wl_message* message, wl_argument* arguments);

void Add(ShellServerState* state, wl_client* client, const wl_interface* interface, std::uint32_t version,
         std::uint32_t id)
{
    wl_resource* resource = wl_resource_create(client, interface, static_cast<int>(version), id);
    wl_resource_set_dispatcher(resource, Dispatch, state, state, nullptr);
    state->resources[interface->name] = resource;
}

/// Serves every request of every interface alike: writes it down, makes what it makes and destroys what it destroys.
int Dispatch(const void* data, void* target, std::uint32_t, const wl_message* message, wl_argument* arguments)
{
    auto* state = static_cast<ShellServerState*>(const_cast<void*>(data));
    auto* resource = static_cast<wl_resource*>(target);
    std::string text = std::string(wl_resource_get_class(resource)) + "." + message->name + "(";
    int index = 0;
    for (const char* type = message->signature; *type; ++type) {
        if (std::isdigit(static_cast<unsigned char>(*type)) || *type == '?') {
            continue;
        }
        text += (index > 0 ? ", " : "") + Text(*type, arguments[index]);
        if (*type == 'n') {
            Add(state, wl_resource_get_client(resource), message->types[index],
                static_cast<std::uint32_t>(wl_resource_get_version(resource)), arguments[index].n);
        }
        ++index;
    }
    state->requests.push_back(text + ")");
    if (std::strcmp(message->name, "destroy") == 0) {
        wl_resource_destroy(resource);
    }
    return 0;
}

template <const wl_interface& Interface>
void Bind(wl_client* client, void* state, std::uint32_t version, std::uint32_t id)
{
    Add(static_cast<ShellServerState*>(state), client, &Interface, version, id);
}

} // namespace

ShellServer::ShellServer(Shell shell) : m_state(std::make_unique<ShellServerState>())
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        ADD_FAILURE() << "socketpair: " << std::strerror(errno);
        std::abort();
    }
    m_state->server = wl_display_create();
    wl_global_create(m_state->server, &wl_compositor_interface, 1, m_state.get(), Bind<wl_compositor_interface>);
    if (shell == Shell::WlShell) {
        wl_global_create(m_state->server, &wl_shell_interface, 1, m_state.get(), Bind<wl_shell_interface>);
    } else if (shell == Shell::XdgShellV5) {
        wl_global_create(m_state->server, &xdg_shell_interface, 1, m_state.get(), Bind<xdg_shell_interface>);
    }
    wl_client_create(m_state->server, ends[0]);
    m_state->client = wl_display_connect_to_fd(ends[1]);
}

ShellServer::~ShellServer()
{
    wl_display_disconnect(m_state->client);
    wl_display_destroy_clients(m_state->server);
    wl_display_destroy(m_state->server);
}

wl_display* ShellServer::Client() const
{
    return m_state->client;
}

void ShellServer::Dispatch()
{
    // An answer to an event is a request, which may have an answer itself; nothing here takes more turns.
    constexpr int Turns = 4;
    for (int turn = 0; turn < Turns; ++turn) {
        wl_display_flush(m_state->client);
        wl_event_loop_dispatch(wl_display_get_event_loop(m_state->server), 0);
        wl_display_flush_clients(m_state->server);
        while (wl_display_prepare_read(m_state->client) != 0) {
            wl_display_dispatch_pending(m_state->client);
        }
        pollfd ready = {wl_display_get_fd(m_state->client), POLLIN, 0};
        if (poll(&ready, 1, 0) > 0) {
            wl_display_read_events(m_state->client);
        } else {
            wl_display_cancel_read(m_state->client);
        }
        wl_display_dispatch_pending(m_state->client);
    }
    EXPECT_EQ(wl_display_get_error(m_state->client), 0);
}

std::vector<std::string> ShellServer::TakeRequests()
{
    Dispatch();
    return std::exchange(m_state->requests, {});
}

void ShellServer::PingShell(std::uint32_t serial)
{
    xdg_shell_send_ping(m_state->resources.at("xdg_shell"), serial);
    Dispatch();
}

void ShellServer::PingShellSurface(std::uint32_t serial)
{
    wl_shell_surface_send_ping(m_state->resources.at("wl_shell_surface"), serial);
    Dispatch();
}

void ShellServer::ConfigureXdgSurface(int width, int height, const std::vector<std::uint32_t>& states,
                                      std::uint32_t serial)
{
    wl_array array;
    wl_array_init(&array);
    for (const std::uint32_t state : states) {
        *static_cast<std::uint32_t*>(wl_array_add(&array, sizeof(state))) = state;
    }
    xdg_surface_send_configure(m_state->resources.at("xdg_surface"), width, height, &array, serial);
    wl_array_release(&array);
    Dispatch();
}
