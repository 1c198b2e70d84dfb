#pragma once

#include <chrono>
#include <mutex>

namespace Host {

/// What two threads may tell of a replay, and one changes: the replay thread holds this at all times but in the hands
/// of the driver. From there it may never come back, so that another thread can take it then, for good.
class Telling {
public:
    /// As long as it lives, the replay thread is in the driver's hands, or back from there for a while. They nest.
    class Scope {
    public:
        Scope(Telling* telling, bool isHeld) : m_telling(telling), m_before(!telling || telling->Hold(isHeld)) {}
        ~Scope()
        {
            if (m_telling)
                m_telling->Hold(m_before);
        }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        Telling* m_telling;
        bool m_before;
    };
    struct InDriver : Scope {
        explicit InDriver(Telling* telling) : Scope(telling, false) {}
    };
    struct InHost : Scope {
        explicit InHost(Telling* telling) : Scope(telling, true) {}
    };

    Telling() { m_mutex.lock(); }
    ~Telling() { Hold(false); }
    Telling(const Telling&) = delete;
    Telling& operator=(const Telling&) = delete;

    /// By another thread. False when the replay thread does not let go of it for so long.
    [[nodiscard]] bool Take(std::chrono::milliseconds patience) { return m_mutex.try_lock_for(patience); }

private:
    /// Returns whether it was held before.
    bool Hold(bool isHeld);

    std::timed_mutex m_mutex;
    bool m_isHeld = true;
};

} // namespace Host
