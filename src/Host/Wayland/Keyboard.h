#pragma once

#include "Host/Commands.h"

struct wl_keyboard;
struct wl_seat;
struct xkb_context;
struct xkb_keymap;
struct xkb_state;

namespace Host {

/// The keyboard of a seat, if it has one: puts the commands of pressed keys into a queue. Owns the seat.
class Keyboard {
public:
    /// The queue outlives the object.
    Keyboard(wl_seat* seat, CommandQueue& commands);
    ~Keyboard();
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;

private:
    void SetPresent(bool isPresent);
    /// Reads the description of the keys, in xkb's text format, from a file that is closed here.
    void SetKeymap(int file, std::uint32_t bytes);
    /// `key` is an evdev code.
    void Press(std::uint32_t key);

    wl_seat* m_seat;
    CommandQueue& m_commands;
    wl_keyboard* m_keyboard = nullptr;
    xkb_context* m_context;
    xkb_keymap* m_keymap = nullptr;
    xkb_state* m_state = nullptr;
};

} // namespace Host
