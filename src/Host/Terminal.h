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
    /// Puts the terminal back as it was.
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Appends the commands of the keys that were pressed since the last call.
    void Read(CommandQueue& commands);

private:
    explicit Terminal(const termios& before) : m_before(before) {}

    termios m_before;
};

} // namespace Host
