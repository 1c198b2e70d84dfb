#include "Data/State/ClientState.h"

#include "Data/GLEnums.h"

namespace Data {

ClientState::ClientState() : m_contexts(std::make_shared<Client>(0, std::make_shared<ShareGroupState>())) {}

void ClientState::eglCreateContext(std::uint32_t result, std::uint32_t /*display*/, std::uint32_t /*config*/,
                                   std::uint32_t shareContext, const void* attribs)
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
    // A name that is still in use gets a context that nobody shares, so that nothing is taken for known that is not.
    if (m_contexts.Find(result))
        m_contexts.Renew(result);
    else
        m_contexts.Create(result, shareContext);
    if (IsFirstVersion(attribs))
        m_contexts.Find(result)->UseFixedFunctions();
}

std::uint32_t ClientState::Root(std::uint32_t context) const
{
    const auto root = m_roots.find(context);
    return root != m_roots.end() ? root->second : context;
}

void ClientState::eglMakeCurrent(std::int32_t result, std::uint32_t /*display*/, std::uint32_t /*draw*/,
                                 std::uint32_t /*read*/, std::uint32_t context)
{
    if (result != Enum::EglTrue)
        return;
    // A context whose creation was not seen shares with none.
    if (context != 0 && !m_contexts.Find(context))
        m_contexts.Create(context, 0);
    m_contexts.Use(m_contexts.Share(context));
}

void ClientState::eglDestroyContext(std::int32_t result, std::uint32_t /*display*/, std::uint32_t context)
{
    for (const auto& [id, state] : m_contexts.All())
        if (Root(id) == context)
            state->group->buffers.clear();
    m_roots.erase(context);
    // Threads that use it keep its state until they let go of it.
    if (result == Enum::EglTrue)
        m_contexts.Destroy(context);
}

void ClientState::eglReleaseThread(std::int32_t result)
{
    if (result == Enum::EglTrue)
        m_contexts.Use(nullptr);
}

} // namespace Data
