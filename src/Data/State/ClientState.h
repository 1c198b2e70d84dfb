// The part of the recorded program's EGL and GL state that decides how its calls are read, as far as the replay has it.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>

#include "Data/State/ContextState.h"
#include "Data/State/Contexts.h"

namespace Data {

/// Which captured thread uses which captured context. The methods named like calls come with each such call, as those
/// of ContextState do. Not thread-safe.
///
/// Object names that the replay has lost are forgotten here too, since a call with one of them would reach another
/// object, or memory where an offset was meant: a share group's names go with the context that began the group.
class ClientState {
public:
    ClientState();

    /// The thread that the calls come from, from now on.
    void SetCurrentThread(std::uint32_t thread) { m_contexts.SetThread(thread); }
    [[nodiscard]] std::uint32_t Thread() const { return m_contexts.Thread(); }
    /// The context of the current thread. Calls without one change a state that nothing else sees.
    [[nodiscard]] ContextState& Context() { return m_contexts.Current(); }
    [[nodiscard]] bool HasContext() const { return m_contexts.HasCurrent(); }
    /// Its captured name; 0 for none.
    [[nodiscard]] std::uint32_t ContextName() const { return m_contexts.Current().name; }

    void eglCreateContext(std::uint32_t result, std::uint32_t display, std::uint32_t config, std::uint32_t shareContext,
                          const void* attribs);
    void eglMakeCurrent(std::int32_t result, std::uint32_t display, std::uint32_t draw, std::uint32_t read,
                        std::uint32_t context);
    void eglDestroyContext(std::int32_t result, std::uint32_t display, std::uint32_t context);
    void eglReleaseThread(std::int32_t result);

private:
    struct Client : ContextState {
        Client(std::uint32_t itsName, std::shared_ptr<ShareGroupState> itsGroup)
            : ContextState(itsGroup), name(itsName), group(std::move(itsGroup))
        {
        }
        std::uint32_t name;
        std::shared_ptr<ShareGroupState> group;
    };

    /// The context whose name the replay keeps the objects of the context's share group under.
    [[nodiscard]] std::uint32_t Root(std::uint32_t context) const;

    Contexts<Client, ShareGroupState> m_contexts;
    /// Root of each context that was made to share with another one. It need not exist any more.
    std::unordered_map<std::uint32_t, std::uint32_t> m_roots;
};

} // namespace Data
