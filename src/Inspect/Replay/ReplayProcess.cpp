#include "Inspect/Replay/ReplayProcess.h"

#include <sys/resource.h>
#include <unistd.h>

#include "Inspect/Error.h"

namespace Inspect {

std::string Text(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void TakeLowPriority()
{
    constexpr int Low = 10;
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), Low);
}

void ProcessList::EndAll()
{
    const std::lock_guard lock(m_mutex);
    m_hasEnded = true;
    for (const Sides::Child* const child : m_children)
        child->Terminate();
}

ReplayProcess::ReplayProcess(ProcessList& list, const ReplaySettings& settings, const std::string& snapshot,
                             bool makesSnapshots)
    : m_list(list)
{
    std::vector<std::string> command = {Sides::ProgramBesideThis("playback-probe")};
    for (const std::string& option : settings.side.PlaybackOptions())
        command.push_back(option);
    if (!snapshot.empty())
        command.insert(command.end(), {"-from", snapshot});
    if (makesSnapshots)
        command.emplace_back("-snapshots");
    command.insert(command.end(), {"--", settings.capture});
    std::string error = "the server is about to end";
    const std::lock_guard lock(m_list.m_mutex);
    if (!m_list.m_hasEnded)
        m_child = Sides::Child::Start(command, settings.side.environment, error);
    if (!m_child)
        throw ReplayError(error);
    m_list.m_children.insert(m_child.get());
}

ReplayProcess::~ReplayProcess()
{
    const std::lock_guard lock(m_list.m_mutex);
    m_list.m_children.erase(m_child.get());
}

void ReplayProcess::Send(const Json& request)
{
    if (!IsAlive() || !m_child->Write(Text(request) + "\n"))
        Fail();
}

ReplayAnswer ReplayProcess::Receive()
{
    const std::optional<std::string> line = IsAlive() ? m_child->ReadLine() : std::nullopt;
    ReplayAnswer answer{line ? Json::parse(*line, nullptr, false) : Json()};
    if (!answer.json.is_object())
        Fail();
    const std::size_t bytes = answer.json.value("bytes", std::size_t{0});
    answer.bytes = m_child->ReadBytes(bytes);
    if (answer.bytes.size() != bytes)
        Fail();
    return answer;
}

ReplayAnswer ReplayProcess::Ask(const Json& request)
{
    Send(request);
    return Receive();
}

void ReplayProcess::Fail()
{
    if (IsAlive()) {
        m_child->CloseInput();
        const int status = m_child->Wait();
        m_end = m_child->Messages();
        // What led to it is at the end.
        constexpr std::size_t Most = 2000;
        if (m_end.size() > Most)
            m_end.erase(0, m_end.size() - Most);
        m_end += "the replay ended with status " + std::to_string(status);
    }
    throw ReplayError(m_end);
}

} // namespace Inspect
