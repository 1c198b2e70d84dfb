#include "Host/Options/Options.h"
#include "Host/Session.h"
#include "Util/OutputFile.h"

int main(int argc, char** argv)
{
    const auto parsed = Host::ParseOptions(argc, argv);
    if (const auto* const status = std::get_if<Util::ExitStatus>(&parsed))
        return Util::EndProgram("playback", *status);
    Host::Session session(std::get<Host::Options>(parsed));
    return Util::EndProgram("playback", session.Run());
}
