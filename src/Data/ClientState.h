// The part of the recorded program's EGL and GL state that decides how its calls are read. The recorder keeps one while
// it records, the reader one while it reads, and both come to the same sizes.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>

#include "Data/ContextState.h"

namespace Data {

/// Which captured thread uses which captured context. The methods named like calls come with each such call, as those
/// of ContextState do. Not thread-safe.
class ClientState {
public:
    ClientState();

    /// The thread that the calls come from, from now on.
    void SetCurrentThread(std::uint32_t thread);
    /// The context of the current thread. Calls without one change a state that nothing else sees.
    [[nodiscard]] ContextState& Context() { return *m_current; }

    void eglCreateContext(std::uint32_t result, std::uint32_t display, std::uint32_t config, std::uint32_t shareContext,
                          const void* attribs);
    void eglMakeCurrent(std::int32_t result, std::uint32_t display, std::uint32_t draw, std::uint32_t read,
                        std::uint32_t context);
    void eglDestroyContext(std::int32_t result, std::uint32_t display, std::uint32_t context);
    void eglReleaseThread(std::int32_t result);

private:
    std::shared_ptr<ContextState> Find(std::uint32_t context);
    void Bind(std::uint32_t context);

    std::unordered_map<std::uint32_t, std::shared_ptr<ContextState>> m_contexts;
    /// The context that each thread uses; null for none.
    std::unordered_map<std::uint32_t, std::shared_ptr<ContextState>> m_threads;
    std::shared_ptr<ContextState> m_none;
    ContextState* m_current;
    std::uint32_t m_thread = 0;
};

} // namespace Data
