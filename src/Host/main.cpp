#include <cstdio>

#include "Host/Options.h"
#include "Host/Session.h"

int main(int argc, char** argv)
{
    const auto parsed = Host::ParseOptions(argc, argv);
    if (const auto* answer = std::get_if<Host::Answer>(&parsed)) {
        std::fputs(answer->text.c_str(), answer->status == Util::ExitStatus::Done ? stdout : stderr);
        return static_cast<int>(answer->status);
    }
    Host::Session session(std::get<Host::Options>(parsed));
    return static_cast<int>(session.Run());
}
