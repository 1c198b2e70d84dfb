#include "Data/State/ClientState.h"

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
    if (shareContext != 0) {
        std::uint32_t root = shareContext;
        for (auto next = m_roots.find(root); next != m_roots.end(); next = m_roots.find(root))
            root = next->second;
        if (root != result)
            m_roots.try_emplace(result, root);
    }
    const auto shared = m_contexts.find(shareContext);
    const auto known = m_contexts.find(result);
    // A name that is still in use gets a context that nobody shares, so that nothing is taken for known that is not.
    const bool isShared = shareContext != 0 && shared != m_contexts.end() && known == m_contexts.end();
    const auto created =
        std::make_shared<ContextState>(isShared ? shared->second->Group() : std::make_shared<ShareGroupState>());
    if (known != m_contexts.end()) {
        for (auto& [thread, state] : m_threads) {
            if (state == known->second)
                state = created;
        }
    }
    m_contexts[result] = created;
    SetCurrentThread(m_thread);
}

std::uint32_t ClientState::Root(std::uint32_t context) const
{
    const auto root = m_roots.find(context);
    return root != m_roots.end() ? root->second : context;
}

void ClientState::eglMakeCurrent(std::int32_t result, std::uint32_t /*display*/, std::uint32_t /*draw*/,
                                 std::uint32_t /*read*/, std::uint32_t context)
{
    if (result == Enum::EglTrue)
        Bind(context);
}

void ClientState::eglDestroyContext(std::int32_t result, std::uint32_t /*display*/, std::uint32_t context)
{
    for (const auto& [id, state] : m_contexts) {
        if (Root(id) == context)
            state->Group()->buffers.clear();
    }
    m_roots.erase(context);
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
