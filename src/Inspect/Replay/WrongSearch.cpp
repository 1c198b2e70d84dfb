#include "Inspect/Replay/WrongSearch.h"

#include "Inspect/Error.h"
#include "Util/Spelling.h"

namespace Inspect {

namespace {

/// The last line of what playback-compare --progress has said.
std::string LastLine(std::string text)
{
    while (text.ends_with('\n'))
        text.pop_back();
    return text.substr(text.rfind('\n') + 1);
}

/// The options that name a side.
void AddSide(char letter, const Sides::Side& side, std::vector<std::string>& command)
{
    const std::string prefix = std::string("--") + letter;
    if (!side.driverDirectory.empty())
        command.insert(command.end(), {prefix + "-driver", side.driverDirectory});
    for (const std::string& variable : side.environment)
        command.insert(command.end(), {prefix + "-env", variable});
    for (const std::string& option : side.options)
        command.push_back(prefix + "-options=" + Util::Quoted(option));
}

} // namespace

WrongSearch::~WrongSearch()
{
    End();
}

void WrongSearch::End()
{
    Stop();
    if (m_thread.joinable())
        m_thread.join();
}

void WrongSearch::Stop() const
{
    const std::lock_guard lock(m_mutex);
    if (m_child)
        m_child->Terminate();
}

void WrongSearch::Begin(const Wish& wish)
{
    const std::lock_guard wishLock(m_wishMutex);
    if (m_wish == wish)
        return;
    End();
    std::vector<std::string> command = {
        Sides::ProgramBesideThis("playback-compare"), "--first", "--quiet", "--progress", "--json", "-"};
    command.insert(command.end(), {"--frames", std::to_string(wish.firstFrame) + "-"});
    command.insert(command.end(), {"--tolerance", std::to_string(wish.tolerance)});
    AddSide('a', m_first, command);
    AddSide('b', m_second, command);
    command.insert(command.end(), {"--", m_capture});
    std::string error;
    std::shared_ptr<Sides::Child> child = Sides::Child::Start(command, {}, error);
    if (!child)
        throw ReplayError(error);
    {
        const std::lock_guard lock(m_mutex);
        m_child = child;
        m_progress = {};
    }
    m_wish = wish;
    m_thread = std::thread([this, child] {
        child->CloseInput();
        Json result = Json::parse(child->ReadRest(), nullptr, false);
        child->Wait();
        const std::lock_guard lock(m_mutex);
        m_child.reset();
        m_progress.isDone = true;
        if (result.is_object())
            m_progress.result = std::move(result);
        else
            m_progress.error = child->Messages();
    });
}

void WrongSearch::Wait()
{
    const std::lock_guard wishLock(m_wishMutex);
    if (m_thread.joinable())
        m_thread.join();
}

WrongSearch::Progress WrongSearch::Get() const
{
    const std::lock_guard lock(m_mutex);
    Progress progress = m_progress;
    if (m_child)
        progress.text = LastLine(m_child->Messages());
    return progress;
}

} // namespace Inspect
