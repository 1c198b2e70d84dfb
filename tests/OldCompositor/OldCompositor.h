// A Wayland compositor of former times, for tests of whole programs: windows of one client under wl_shell or
// xdg-shell unstable v5, composed nowhere.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <wayland-server.h>

enum class Shell { WlShell, XdgShellV5 };

/// Serves every request of every interface by its name. Keeps to what the shells promise: a surface without a role is
/// never shown and never gets a frame event, buffers are released when the next one comes, windows are pinged and
/// configured, at the start and while they are drawn.
class OldCompositor {
public:
    /// With a keyboard when there are `keys`: evdev codes that are typed one after the other from the first frame on.
    OldCompositor(Shell shell, std::vector<std::uint32_t> keys);
    ~OldCompositor();
    OldCompositor(const OldCompositor&) = delete;
    OldCompositor& operator=(const OldCompositor&) = delete;

    /// Runs `command` as the only client until it ends. Its exit status, 128 + N for signal N.
    int Run(char** command);

    /// What was seen, as lines of "name value".
    void Report() const;
    /// The contents of the window's last frame: rows of BGRA from the top, as they lie in the buffer.
    bool WritePicture(const char* path) const;

private:
    struct Surface {
        wl_resource* pendingBuffer = nullptr;
        wl_resource* shownBuffer = nullptr;
        std::vector<wl_resource*> frameCallbacks;
        bool hasRole = false;
    };

    static int Dispatch(const void* self, void* target, std::uint32_t opcode, const wl_message* message,
                        wl_argument* arguments);
    template <const wl_interface& Interface>
    static void Bind(wl_client* client, void* self, std::uint32_t version, std::uint32_t id);
    wl_resource* Add(wl_client* client, const wl_interface& interface, std::uint32_t version, std::uint32_t id);
    void Handle(wl_resource* resource, const wl_message& message, wl_argument* arguments);
    void HandleSurface(wl_resource* resource, const std::string& request, wl_argument* arguments, wl_resource* made);
    void Commit(Surface& surface);
    void Show(wl_resource* buffer);
    void Configure();
    void SendKeymap() const;
    void TypeNextKey();

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
