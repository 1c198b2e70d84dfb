#include <cstdio>

#include "Host/Options.h"
#include "Host/Session.h"
#include "Util/OutputFile.h"

int main(int argc, char** argv)
{
    const auto parsed = Host::ParseOptions(argc, argv);
    if (const auto* answer = std::get_if<Host::Answer>(&parsed)) {
        std::fputs(answer->text.c_str(), answer->status == Util::ExitStatus::Done ? stdout : stderr);
        if (const std::string error = Util::CloseStandardOutput(); !error.empty()) {
            std::fprintf(stderr, "playback: cannot write %s\n", error.c_str());
            return static_cast<int>(Util::ExitStatus::NotWritten);
        }
        return static_cast<int>(answer->status);
    }
    Host::Session session(std::get<Host::Options>(parsed));
    return static_cast<int>(session.Run());
}
