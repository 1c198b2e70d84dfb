#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "Inspect/Replay/ReplayProcess.h"

namespace Inspect {

/// Looks for the first draw that two drivers do not do alike, by a playback-compare on a thread of its own. Members may
/// be called from any thread.
class WrongSearch {
public:
    /// What is looked for.
    struct Wish {
        std::uint32_t firstFrame = 1;
        /// Steps of 255 that count as equal.
        std::uint32_t tolerance = 0;
        bool operator==(const Wish&) const = default;
    };

    WrongSearch(std::string capture, Sides::Side first, Sides::Side second)
        : m_capture(std::move(capture)), m_first(std::move(first)), m_second(std::move(second))
    {
    }
    /// Ends what is at work.
    ~WrongSearch();
    WrongSearch(const WrongSearch&) = delete;
    WrongSearch& operator=(const WrongSearch&) = delete;

    /// Begins the search, unless it has begun; another one is ended. Throws Error.
    void Begin(const Wish& wish);
    /// Waits for the end.
    void Wait();
    /// Ends what is at work. From any thread.
    void Stop() const;

    struct Progress {
        bool isDone = false;
        /// Of the comparison, as far as it is; empty at the start.
        std::string text = {};
        /// As playback-compare --json has it; null before the end.
        Json result = {};
        /// Why there is none.
        std::string error = {};
    };
    [[nodiscard]] Progress Get() const;

private:
    void End();

    const std::string m_capture;
    const Sides::Side m_first;
    const Sides::Side m_second;
    /// Held while a search begins or ends.
    std::mutex m_wishMutex;
    Wish m_wish = {0, 0};
    std::thread m_thread;

    mutable std::mutex m_mutex;
    std::shared_ptr<Sides::Child> m_child;
    Progress m_progress;
};

} // namespace Inspect
