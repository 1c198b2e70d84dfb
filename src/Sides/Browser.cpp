#include "Sides/Browser.h"

#include <cstdio>
#include <thread>

#include "Sides/Child.h"

namespace Sides {

void OpenBrowser(const std::string& program, const std::string& address)
{
    // A browser outlives this program, and its way of being started does not.
    std::thread([program, address] {
        std::string error;
        const auto shell = Child::Start({"/bin/sh", "-c", "exec xdg-open \"$1\"", "sh", address}, {}, error);
        if (!shell || shell->Wait() != 0)
            std::fprintf(stderr, "%s: xdg-open opens no browser; open the address yourself\n", program.c_str());
    }).detach();
}

} // namespace Sides
