#include "Data/ClientState.h"

#include "Data/GLEnums.h"

namespace Data {

ClientState::ClientState()
    : m_none(std::make_shared<ContextState>(std::make_shared<ShareGroupState>())), m_current(m_none.get())
{
}

void ClientState::SetCurrentThread(std::uint32_t thread)
{
    m_thread = thread;
    const auto at = m_threads.find(thread);
    m_current = at != m_threads.end() && at->second ? at->second.get() : m_none.get();
}

std::shared_ptr<ContextState> ClientState::Find(std::uint32_t context)
{
    if (context == 0)
        return nullptr;
    std::shared_ptr<ContextState>& state = m_contexts[context];
    // A context whose creation was not seen shares with none.
    if (!state)
        state = std::make_shared<ContextState>(std::make_shared<ShareGroupState>());
    return state;
}

void ClientState::eglCreateContext(std::uint32_t result, std::uint32_t /*display*/, std::uint32_t /*config*/,
                                   std::uint32_t shareContext, const void* /*attribs*/)
{
    if (result == 0)
        return;
    const auto shared = m_contexts.find(shareContext);
    m_contexts[result] = std::make_shared<ContextState>(shareContext != 0 && shared != m_contexts.end()
                                                            ? shared->second->Group()
                                                            : std::make_shared<ShareGroupState>());
}

void ClientState::eglMakeCurrent(std::int32_t result, std::uint32_t /*display*/, std::uint32_t /*draw*/,
                                 std::uint32_t /*read*/, std::uint32_t context)
{
    if (result == Enum::EglTrue)
        Bind(context);
}

void ClientState::eglDestroyContext(std::int32_t result, std::uint32_t /*display*/, std::uint32_t context)
{
    // Threads that use it keep its state until they let go of it.
    if (result == Enum::EglTrue)
        m_contexts.erase(context);
}

void ClientState::eglReleaseThread(std::int32_t result)
{
    if (result == Enum::EglTrue)
        Bind(0);
}

void ClientState::Bind(std::uint32_t context)
{
    m_threads[m_thread] = Find(context);
    SetCurrentThread(m_thread);
}

} // namespace Data
