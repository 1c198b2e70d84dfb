#include "Host/Terminal.h"

#include <string_view>

#include <poll.h>
#include <unistd.h>

#include <xkbcommon/xkbcommon-keysyms.h>

#include "Replay/StopSignal.h"

namespace Host {

namespace {

bool IsOurs()
{
    return tcgetpgrp(STDIN_FILENO) == getpgrp();
}

/// Takes one key off the front of what a terminal sent, as a keysym; 0 for a key that is none of ours.
std::uint32_t TakeKey(std::string_view& input)
{
    constexpr char Escape = '\033';
    if (input.size() < 2 || input[0] != Escape || (input[1] != '[' && input[1] != 'O')) {
        const auto key = static_cast<unsigned char>(input[0]);
        input.remove_prefix(1);
        return key == Escape ? XKB_KEY_Escape : key;
    }
    // A cursor or function key: parameters, then a final character from '@' on.
    std::size_t end = 2;
    while (end < input.size() && input[end] < '@')
        ++end;
    const bool isRight = end == 2 && end < input.size() && input[end] == 'C';
    input.remove_prefix(end < input.size() ? end + 1 : end);
    return isRight ? XKB_KEY_Right : 0;
}

} // namespace

std::unique_ptr<Terminal> Terminal::Open()
{
    termios before = {};
    if (!IsOurs() || tcgetattr(STDIN_FILENO, &before) != 0)
        return nullptr;
    termios keys = before;
    keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    keys.c_cc[VMIN] = 1;
    keys.c_cc[VTIME] = 0;
    if (tcsetattr(STDIN_FILENO, TCSANOW, &keys) != 0)
        return nullptr;
    return std::unique_ptr<Terminal>(new Terminal(before, keys));
}

Terminal::Terminal(const termios& before, const termios& keys)
    : m_before(before), m_keys(keys), m_resumed(Replay::StopSignal::Resumed())
{
}

void Terminal::Restore()
{
    if (IsOurs())
        tcsetattr(STDIN_FILENO, TCSANOW, &m_before);
}

void Terminal::Read(CommandQueue& commands)
{
    if (const int resumed = Replay::StopSignal::Resumed(); resumed != m_resumed && IsOurs()) {
        m_resumed = resumed;
        tcsetattr(STDIN_FILENO, TCSANOW, &m_keys);
    }
    pollfd keyboard = {STDIN_FILENO, POLLIN, 0};
    while (IsOurs() && poll(&keyboard, 1, 0) > 0) {
        char buffer[64];
        const ssize_t count = read(STDIN_FILENO, buffer, sizeof buffer);
        if (count <= 0)
            return;
        for (std::string_view input(buffer, static_cast<std::size_t>(count)); !input.empty();)
            if (const auto command = CommandOfKey(TakeKey(input)))
                commands.push_back(*command);
    }
}

} // namespace Host
