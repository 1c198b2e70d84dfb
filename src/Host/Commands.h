#pragma once

#include <cstdint>
#include <deque>
#include <optional>

namespace Host {

/// What somebody at a keyboard asks of a running replay.
enum class Command { PauseOrGo, Step, Screenshot, FullScreen, Inspect, End };

/// Commands that were given and not obeyed yet, oldest first.
using CommandQueue = std::deque<Command>;

/// The command of a key, in the window as in the terminal; keys are given as xkb keysyms, which are the characters
/// themselves for letters. Nothing for a key without a meaning.
std::optional<Command> CommandOfKey(std::uint32_t keysym);

/// The keys and what they do, for help and messages.
inline constexpr const char* KeyHelp = "space pauses and resumes, right arrow or n steps a frame, s takes a "
                                       "screenshot, f toggles full screen, i shows the inside of the frame "
                                       "in a browser, q or Escape ends";

} // namespace Host
