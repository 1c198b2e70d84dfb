#include "Host/Inspection.h"

#include "Sides/Browser.h"

namespace Host {

Inspection::~Inspection()
{
    if (!m_server)
        return;
    m_server->Terminate();
    m_server->Wait();
}

std::string Inspection::Start()
{
    std::vector<std::string> command = {Sides::ProgramBesideThis("playback-inspect")};
    if (!m_driver.empty())
        command.insert(command.end(), {"--driver", m_driver});
    command.insert(command.end(), {"--", m_capture});
    std::string error;
    m_server = Sides::Child::Start(command, {}, error);
    if (!m_server)
        return error;
    m_address = m_server->ReadLine().value_or("");
    if (!m_address.empty())
        return "";
    m_server->Wait();
    error = m_server->Messages();
    m_server.reset();
    return error;
}

std::string Inspection::Show(std::uint32_t frame)
{
    if (!m_server)
        if (const std::string error = Start(); !error.empty())
            return "playback-inspect cannot be started: " + error;
    const std::string address = m_address + "#" + std::to_string(frame);
    Sides::OpenBrowser("playback", address);
    return "Inside of frame " + std::to_string(frame) + ": " + address;
}

} // namespace Host
