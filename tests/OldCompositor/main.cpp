#include <cstdio>
#include <cstring>

#include "OldCompositor.h"

int main(int argc, char** argv)
{
    if (argc < 4) {
        std::fputs(
            "usage: old_compositor wl_shell|xdg_shell PICTURE COMMAND...\n"
            "Runs COMMAND as the client of a compositor with an old shell, tells what was seen of it, and writes\n"
            "its last frame to PICTURE: raw BGRA, top row first.\n",
            stderr);
        return 2;
    }
    OldCompositor compositor(std::strcmp(argv[1], "wl_shell") == 0 ? Shell::WlShell : Shell::XdgShellV5);
    const int status = compositor.Run(argv + 3);
    compositor.Report();
    if (!compositor.WritePicture(argv[2])) {
        std::perror(argv[2]);
        return 1;
    }
    return status;
}
