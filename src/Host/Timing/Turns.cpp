#include "Host/Timing/Turns.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <string>

#include <poll.h>
#include <unistd.h>

#include "Replay/StopSignal.h"
#include "Util/OutputFile.h"

namespace Host {

bool Turns::Wait()
{
    for (;;) {
        std::array<pollfd, 2> sources = {{{STDIN_FILENO, POLLIN, 0}, {Replay::StopSignal::Descriptor(), POLLIN, 0}}};
        if (poll(sources.data(), sources.size(), -1) < 0 && errno != EINTR)
            return false;
        if (Replay::StopSignal::Received() != 0)
            return false;
        if (sources[0].revents == 0)
            continue;
        char letter = '\0';
        if (read(STDIN_FILENO, &letter, 1) != 1)
            return false;
        if (letter == '\n')
            return true;
    }
}

void Turns::Tell(std::uint32_t pass)
{
    Util::Print("pass " + std::to_string(pass) + "\n");
    std::fflush(stdout);
}

} // namespace Host
