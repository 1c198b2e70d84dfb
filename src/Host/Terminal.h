#pragma once

#include <memory>

#include <termios.h>

#include "Host/Commands.h"

namespace Host {

/// The terminal as a keyboard: while the object lives, keys arrive at once and are not echoed. Signals keep their keys.
class Terminal {
public:
    /// Null where stdin is no terminal, or where the terminal belongs to another job of the shell.
    static std::unique_ptr<Terminal> Open();
    ~Terminal() { Restore(); }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Puts the terminal back as it was. Any thread.
    void Restore();
    /// Appends the commands of the keys that were pressed since the last call.
    void Read(CommandQueue& commands);

private:
    Terminal(const termios& before, const termios& keys);

    termios m_before;
    termios m_keys;
    /// How often the program had been resumed when the mode was set: a shell takes its own while it is stopped.
    int m_resumed;
};

} // namespace Host
