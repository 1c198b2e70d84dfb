#include <cstdio>

#include "Host/Options/Options.h"
#include "Host/Session.h"
#include "Util/OutputFile.h"

int main(int argc, char** argv)
{
    const auto parsed = Host::ParseOptions(argc, argv);
    if (const auto* answer = std::get_if<Host::Answer>(&parsed)) {
        if (answer->status == Util::ExitStatus::Done)
            Util::Print(answer->text);
        else
            std::fputs(answer->text.c_str(), stderr);
        return Util::EndProgram("playback", answer->status);
    }
    Host::Session session(std::get<Host::Options>(parsed));
    return static_cast<int>(session.Run());
}
