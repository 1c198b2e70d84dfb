#include "Host/Wayland/Keyboard.h"

#include <sys/mman.h>
#include <unistd.h>

#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

namespace Host {

namespace {

/// xkb counts keys from 8, evdev from 0.
constexpr std::uint32_t FirstXkbKey = 8;

} // namespace

Keyboard::Keyboard(wl_seat* seat, CommandQueue& commands)
    : m_seat(seat), m_commands(commands), m_context(xkb_context_new(XKB_CONTEXT_NO_FLAGS))
{
    // Events of later versions than the one bound are not sent.
    static constexpr wl_seat_listener Listener = {
        [](void* self, wl_seat*, std::uint32_t capabilities) {
            static_cast<Keyboard*>(self)->SetPresent((capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0);
        },
        nullptr,
    };
    wl_seat_add_listener(m_seat, &Listener, this);
}

Keyboard::~Keyboard()
{
    SetPresent(false);
    xkb_state_unref(m_state);
    xkb_keymap_unref(m_keymap);
    xkb_context_unref(m_context);
    wl_seat_destroy(m_seat);
}

void Keyboard::SetPresent(bool isPresent)
{
    if (m_keyboard && !isPresent) {
        wl_keyboard_destroy(m_keyboard);
        m_keyboard = nullptr;
    } else if (!m_keyboard && isPresent) {
        static constexpr wl_keyboard_listener Listener = {
            [](void* self, wl_keyboard*, std::uint32_t format, int file, std::uint32_t bytes) {
                static_cast<Keyboard*>(self)->SetKeymap(file, format == WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1 ? bytes : 0);
            },
            [](void*, wl_keyboard*, std::uint32_t, wl_surface*, wl_array*) {},
            [](void*, wl_keyboard*, std::uint32_t, wl_surface*) {},
            [](void* self, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t key, std::uint32_t state) {
                if (state == WL_KEYBOARD_KEY_STATE_PRESSED)
                    static_cast<Keyboard*>(self)->Press(key);
            },
            [](void* self, wl_keyboard*, std::uint32_t, std::uint32_t depressed, std::uint32_t latched,
               std::uint32_t locked, std::uint32_t group) {
                if (xkb_state* state = static_cast<Keyboard*>(self)->m_state)
                    xkb_state_update_mask(state, depressed, latched, locked, 0, 0, group);
            },
            nullptr,
        };
        m_keyboard = wl_seat_get_keyboard(m_seat);
        wl_keyboard_add_listener(m_keyboard, &Listener, this);
    }
}

void Keyboard::SetKeymap(int file, std::uint32_t bytes)
{
    void* const text = bytes ? mmap(nullptr, bytes, PROT_READ, MAP_PRIVATE, file, 0) : MAP_FAILED;
    close(file);
    if (text == MAP_FAILED)
        return;
    xkb_state_unref(m_state);
    xkb_keymap_unref(m_keymap);
    // The text ends with a zero byte, which is not part of it.
    m_keymap = xkb_keymap_new_from_buffer(m_context, static_cast<const char*>(text), bytes - 1,
                                          XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS);
    m_state = m_keymap ? xkb_state_new(m_keymap) : nullptr;
    munmap(text, bytes);
}

void Keyboard::Press(std::uint32_t key)
{
    if (!m_state)
        return;
    if (const auto command = CommandOfKey(xkb_state_key_get_one_sym(m_state, key + FirstXkbKey)))
        m_commands.push_back(*command);
}

} // namespace Host
