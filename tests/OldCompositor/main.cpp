// old_compositor: a Wayland compositor of former times, for tests of whole programs: windows of one client under
// wl_shell or xdg-shell unstable v5, composed nowhere.

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <wayland-server.h>
#include <xkbcommon/xkbcommon.h>

#include "xdg-shell-unstable-v5-server-protocol.h"

namespace {

enum class Shell { WlShell, XdgShellV5 };

constexpr std::uint32_t PingSerial = 11;
constexpr std::uint32_t ConfigureSerial = 12;
/// What this compositor would like windows to be; those that show a replay know better.
constexpr std::int32_t WishedWidth = 111;
constexpr std::int32_t WishedHeight = 99;
constexpr unsigned FrameOfSecondConfigure = 3;
/// Slow enough that a frame comes between them.
constexpr int MillisecondsBetweenKeys = 300;

int OnChildEnd(int fd, std::uint32_t, void* display)
{
    char byte = 0;
    if (read(fd, &byte, 1) == 0)
        wl_display_terminate(static_cast<wl_display*>(display));
    return 0;
}

/// Serves every request of every interface by its name. Keeps to what the shells promise: a surface without a role is
/// never shown and never gets a frame event, buffers are released when the next one comes, windows are pinged and
/// configured, at the start and while they are drawn.
class OldCompositor {
public:
    /// With a keyboard when there are `keys`: evdev codes that are typed one after the other from the first frame on.
    OldCompositor(Shell shell, std::vector<std::uint32_t> keys)
        : m_display(wl_display_create()), m_keys(std::move(keys))
    {
        wl_display_init_shm(m_display);
        wl_global_create(m_display, &wl_compositor_interface, 1, this, Bind<wl_compositor_interface>);
        if (shell == Shell::WlShell)
            wl_global_create(m_display, &wl_shell_interface, 1, this, Bind<wl_shell_interface>);
        else
            wl_global_create(m_display, &xdg_shell_interface, 1, this, Bind<xdg_shell_interface>);
        if (!m_keys.empty())
            wl_global_create(m_display, &wl_seat_interface, 1, this, Bind<wl_seat_interface>);
        m_socket = wl_display_add_socket_auto(m_display);
    }

    ~OldCompositor()
    {
        wl_display_destroy_clients(m_display);
        wl_display_destroy(m_display);
    }

    OldCompositor(const OldCompositor&) = delete;
    OldCompositor& operator=(const OldCompositor&) = delete;

    /// Runs `command` as the only client until it ends. Its exit status, 128 + N for signal N.
    int Run(char** command)
    {
        // The write end stays with the child: end of file on the other one is its end.
        int ends[2];
        if (pipe(ends) != 0)
            return 127;
        const pid_t child = fork();
        if (child == 0) {
            close(ends[0]);
            setenv("WAYLAND_DISPLAY", m_socket.c_str(), 1);
            execvp(command[0], command);
            std::perror(command[0]);
            _exit(127);
        }
        close(ends[1]);
        fcntl(ends[0], F_SETFD, FD_CLOEXEC);
        wl_event_loop_add_fd(wl_display_get_event_loop(m_display), ends[0], WL_EVENT_READABLE | WL_EVENT_HANGUP,
                             OnChildEnd, m_display);
        wl_display_run(m_display);
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    /// What was seen, as lines of "name value".
    void Report() const
    {
        std::printf("role %s\ntitle %s\npongs %u\nacknowledged %u\nframes %u\nsize %dx%d\nfullscreens %u\n",
                    m_role.c_str(), m_title.c_str(), m_pongs, m_acknowledged, m_frames, m_width, m_height,
                    m_fullscreens);
    }

    /// The contents of the window's last frame: rows of BGRA from the top, as they lie in the buffer.
    bool WritePicture(const char* path) const
    {
        std::FILE* file = std::fopen(path, "wb");
        if (!file)
            return false;
        const bool written = std::fwrite(m_picture.data(), 1, m_picture.size(), file) == m_picture.size();
        return std::fclose(file) == 0 && written;
    }

private:
    struct Surface {
        wl_resource* pendingBuffer = nullptr;
        wl_resource* shownBuffer = nullptr;
        std::vector<wl_resource*> frameCallbacks;
        bool hasRole = false;
    };

    template <const wl_interface& Interface>
    static void Bind(wl_client* client, void* self, std::uint32_t version, std::uint32_t id)
    {
        static_cast<OldCompositor*>(self)->Add(client, Interface, version, id);
    }

    wl_resource* Add(wl_client* client, const wl_interface& interface, std::uint32_t version, std::uint32_t id)
    {
        wl_resource* resource = wl_resource_create(client, &interface, static_cast<int>(version), id);
        if (&interface == &wl_seat_interface)
            wl_seat_send_capabilities(resource, WL_SEAT_CAPABILITY_KEYBOARD);
        wl_resource_set_dispatcher(resource, Dispatch, this, this, [](wl_resource* gone) {
            static_cast<OldCompositor*>(wl_resource_get_user_data(gone))->m_surfaces.erase(gone);
        });
        return resource;
    }

    static int Dispatch(const void*, void* target, std::uint32_t, const wl_message* message, wl_argument* arguments)
    {
        auto* resource = static_cast<wl_resource*>(target);
        static_cast<OldCompositor*>(wl_resource_get_user_data(resource))->Handle(resource, *message, arguments);
        return 0;
    }

    void Handle(wl_resource* resource, const wl_message& message, wl_argument* arguments)
    {
        const std::string request = message.name;
        wl_resource* made = nullptr;
        int index = 0;
        for (const char* type = message.signature; *type; ++type) {
            if (*type == '?' || std::isdigit(static_cast<unsigned char>(*type)))
                continue;
            if (*type == 'n') {
                made = Add(wl_resource_get_client(resource), *message.types[index],
                           static_cast<std::uint32_t>(wl_resource_get_version(resource)), arguments[index].n);
            }
            ++index;
        }

        if (request == "create_surface") {
            m_surfaces[made];
        } else if (request == "get_shell_surface" || request == "get_xdg_surface") {
            m_surfaces[reinterpret_cast<wl_resource*>(arguments[1].o)].hasRole = true;
            m_role = wl_resource_get_class(made);
            m_roleResource = made;
            Configure();
        } else if (request == "set_title") {
            m_title = arguments[0].s;
        } else if (request == "get_keyboard") {
            m_keyboard = made;
            SendKeymap();
        } else if (request == "set_fullscreen") {
            ++m_fullscreens;
        } else if (request == "pong") {
            m_pongs += arguments[0].u == PingSerial;
        } else if (request == "ack_configure") {
            m_acknowledged += arguments[0].u == ConfigureSerial;
        } else if (request == "destroy") {
            wl_resource_destroy(resource);
        } else if (m_surfaces.count(resource) != 0) {
            HandleSurface(resource, request, arguments, made);
        }
    }

    void Configure()
    {
        if (m_role == "wl_shell_surface") {
            wl_shell_surface_send_ping(m_roleResource, PingSerial);
            wl_shell_surface_send_configure(m_roleResource, 0, WishedWidth, WishedHeight);
            return;
        }
        wl_array states;
        wl_array_init(&states);
        xdg_surface_send_configure(m_roleResource, WishedWidth, WishedHeight, &states, ConfigureSerial);
        wl_array_release(&states);
    }

    void SendKeymap() const
    {
        xkb_context* const context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
        xkb_keymap* const keymap = xkb_keymap_new_from_names(context, nullptr, XKB_KEYMAP_COMPILE_NO_FLAGS);
        char* const text = xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1);
        const auto bytes = static_cast<std::uint32_t>(std::strlen(text) + 1);
        const int file = memfd_create("keymap", MFD_CLOEXEC);
        if (write(file, text, bytes) == static_cast<ssize_t>(bytes))
            wl_keyboard_send_keymap(m_keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file, bytes);
        close(file);
        std::free(text);
        xkb_keymap_unref(keymap);
        xkb_context_unref(context);
    }

    void TypeNextKey()
    {
        if (m_typed == m_keys.size() || !m_keyboard)
            return;
        const std::uint32_t key = m_keys[m_typed++];
        wl_keyboard_send_key(m_keyboard, m_typed, m_typed, key, WL_KEYBOARD_KEY_STATE_PRESSED);
        wl_keyboard_send_key(m_keyboard, m_typed, m_typed, key, WL_KEYBOARD_KEY_STATE_RELEASED);
        wl_event_source_timer_update(m_typing, MillisecondsBetweenKeys);
    }

    void HandleSurface(wl_resource* resource, const std::string& request, wl_argument* arguments, wl_resource* made)
    {
        Surface& surface = m_surfaces[resource];
        if (request == "attach")
            surface.pendingBuffer = reinterpret_cast<wl_resource*>(arguments[0].o);
        else if (request == "frame")
            surface.frameCallbacks.push_back(made);
        else if (request == "commit")
            Commit(surface);
    }

    void Commit(Surface& surface)
    {
        wl_resource* buffer = std::exchange(surface.pendingBuffer, nullptr);
        if (!buffer || !surface.hasRole)
            return;
        if (surface.shownBuffer && surface.shownBuffer != buffer)
            wl_buffer_send_release(surface.shownBuffer);
        surface.shownBuffer = buffer;
        Show(buffer);
        if (m_frames == FrameOfSecondConfigure)
            Configure();
        for (wl_resource* callback : std::exchange(surface.frameCallbacks, {})) {
            wl_callback_send_done(callback, m_frames);
            wl_resource_destroy(callback);
        }
    }

    void Show(wl_resource* buffer)
    {
        wl_shm_buffer* shm = wl_shm_buffer_get(buffer);
        if (!shm)
            return;
        if (++m_frames == 1 && !m_keys.empty()) {
            const auto type = [](void* self) {
                static_cast<OldCompositor*>(self)->TypeNextKey();
                return 0;
            };
            m_typing = wl_event_loop_add_timer(wl_display_get_event_loop(m_display), type, this);
            wl_event_source_timer_update(m_typing, MillisecondsBetweenKeys);
        }
        m_width = wl_shm_buffer_get_width(shm);
        m_height = wl_shm_buffer_get_height(shm);
        const auto rowBytes = static_cast<std::size_t>(m_width) * 4;
        m_picture.resize(rowBytes * static_cast<std::size_t>(m_height));
        wl_shm_buffer_begin_access(shm);
        const auto* row = static_cast<const std::uint8_t*>(wl_shm_buffer_get_data(shm));
        for (std::int32_t y = 0; y < m_height; ++y, row += wl_shm_buffer_get_stride(shm))
            std::memcpy(m_picture.data() + rowBytes * static_cast<std::size_t>(y), row, rowBytes);
        wl_shm_buffer_end_access(shm);
    }

    wl_display* m_display = nullptr;
    std::string m_socket;
    /// Surfaces by their resource.
    std::map<wl_resource*, Surface> m_surfaces;
    std::string m_role;
    wl_resource* m_roleResource = nullptr;
    std::string m_title;
    std::vector<std::uint32_t> m_keys;
    wl_resource* m_keyboard = nullptr;
    wl_event_source* m_typing = nullptr;
    unsigned m_typed = 0;
    unsigned m_fullscreens = 0;
    unsigned m_pongs = 0;
    unsigned m_acknowledged = 0;
    unsigned m_frames = 0;
    std::int32_t m_width = 0;
    std::int32_t m_height = 0;
    std::vector<std::uint8_t> m_picture;
};

} // namespace

int main(int argc, char** argv)
{
    if (argc < 4) {
        std::fputs(
            "usage: old_compositor wl_shell|xdg_shell PICTURE [--keys CODE,CODE...] COMMAND...\n"
            "Runs COMMAND as the client of a compositor with an old shell, tells what was seen of it, and writes\n"
            "its last frame to PICTURE: raw BGRA, top row first. --keys types these evdev codes into the window.\n",
            stderr);
        return 2;
    }
    std::vector<std::uint32_t> keys;
    char** command = argv + 3;
    if (std::strcmp(command[0], "--keys") == 0 && argc > 5) {
        std::istringstream codes(command[1]);
        for (std::string code; std::getline(codes, code, ',');)
            keys.push_back(static_cast<std::uint32_t>(std::stoul(code)));
        command += 2;
    }
    OldCompositor compositor(std::strcmp(argv[1], "wl_shell") == 0 ? Shell::WlShell : Shell::XdgShellV5, keys);
    const int status = compositor.Run(command);
    compositor.Report();
    if (!compositor.WritePicture(argv[2])) {
        std::perror(argv[2]);
        return 1;
    }
    return status;
}
