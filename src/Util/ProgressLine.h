// How far something is, for who waits at a terminal.
#pragma once

#include <cstdio>
#include <string>

#include <unistd.h>

namespace Util {

/// The last line of the terminal that standard error is; nothing where it is none.
class ProgressLine {
public:
    ProgressLine() = default;
    ~ProgressLine() { Show(""); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// In the place of what was shown; empty to take it away.
    void Show(const std::string& text) const
    {
        if (m_isTerminal)
            std::fprintf(stderr, "\r\033[K%s", text.c_str());
    }

private:
    const bool m_isTerminal = isatty(STDERR_FILENO) != 0;
};

} // namespace Util
