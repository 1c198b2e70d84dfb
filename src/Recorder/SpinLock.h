// The lock of what the library does in the program's threads.
#pragma once

#include <atomic>

namespace Recorder {

/// For work that mostly takes tens of nanoseconds: waiting threads spin first; after longer work they sleep. May be
/// waited for in a signal handler. Works with std::lock_guard.
class SpinLock {
public:
    [[gnu::always_inline]] void lock()
    {
        if (m_held.exchange(true, std::memory_order_acquire)) [[unlikely]]
            Wait();
    }
    [[gnu::always_inline]] void unlock() { m_held.store(false, std::memory_order_release); }

private:
    void Wait();

    std::atomic<bool> m_held = false;
};

} // namespace Recorder
