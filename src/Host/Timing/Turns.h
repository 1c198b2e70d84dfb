#pragma once

#include <cstdint>

namespace Host {

/// Turns that this replay takes with those of other processes, a pass each: somebody writes a line to standard input
/// ahead of each pass, and reads one from standard output at its end. Nothing happens in between.
class Turns {
public:
    /// Waits until the next pass may begin. False when there is none: the input ended, or a signal came.
    [[nodiscard]] static bool Wait();
    /// Tells that this pass is over.
    static void Tell(std::uint32_t pass);
};

} // namespace Host
