#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "OldCompositor.h"

int main(int argc, char** argv)
{
    if (argc < 4) {
        std::fputs(
            "usage: old_compositor wl_shell|xdg_shell PICTURE [--keys CODE,CODE...] COMMAND...\n"
            "Runs COMMAND as the client of a compositor with an old shell, tells what was seen of it, and writes\n"
            "its last frame to PICTURE: raw BGRA, top row first. --keys types these evdev codes into the window.\n",
            stderr);
        return 2;
    }
    std::vector<std::uint32_t> keys;
    char** command = argv + 3;
    if (std::strcmp(command[0], "--keys") == 0 && argc > 5) {
        std::istringstream codes(command[1]);
        for (std::string code; std::getline(codes, code, ',');) {
            keys.push_back(static_cast<std::uint32_t>(std::stoul(code)));
        }
        command += 2;
    }
    OldCompositor compositor(std::strcmp(argv[1], "wl_shell") == 0 ? Shell::WlShell : Shell::XdgShellV5, keys);
    const int status = compositor.Run(command);
    compositor.Report();
    if (!compositor.WritePicture(argv[2])) {
        std::perror(argv[2]);
        return 1;
    }
    return status;
}
