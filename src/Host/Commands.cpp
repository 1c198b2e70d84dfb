#include "Host/Commands.h"

#include <xkbcommon/xkbcommon-keysyms.h>

namespace Host {

std::optional<Command> CommandOfKey(std::uint32_t keysym)
{
    switch (keysym) {
    case XKB_KEY_space:
        return Command::PauseOrGo;
    case XKB_KEY_n:
    case XKB_KEY_Right:
        return Command::Step;
    case XKB_KEY_s:
        return Command::Screenshot;
    case XKB_KEY_f:
        return Command::FullScreen;
    case XKB_KEY_i:
        return Command::Inspect;
    case XKB_KEY_q:
    case XKB_KEY_Escape:
        return Command::End;
    default:
        return std::nullopt;
    }
}

} // namespace Host
