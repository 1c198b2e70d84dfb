#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Inspect/Replay/ReplayProcess.h"
#include "Inspect/Replay/Replays.h"

namespace Inspect {

/// Small pictures of frames, and of what each action of a frame changed. They are made on a thread of its own by
/// replays of its own, of low priority, which go on while nobody waits for anything else. Where the one of actions
/// comes by, others look ahead. Members may be called from any thread.
class Thumbnails {
public:
    /// Takes what somebody may ask for about an action, which a replay has come to; `step` describes the call. False
    /// when there is no room for more of the frame. Throws Error.
    using LookAhead = std::function<bool(const Place& place, ReplayProcess& replay, const Json& step)>;

    /// `isBusy` tells whether somebody waits for another answer; what `lookAhead` takes `replays` keeps, which outlives
    /// this.
    Thumbnails(Replays& replays, std::function<bool()> isBusy, LookAhead lookAhead)
        : m_replays(replays), m_isBusy(std::move(isBusy)), m_lookAhead(std::move(lookAhead))
    {
    }
    ~Thumbnails();
    Thumbnails(const Thumbnails&) = delete;
    Thumbnails& operator=(const Thumbnails&) = delete;

    /// What is known of all frames so far.
    struct Strip {
        /// Of each frame that was replayed, how many calls were refused or raised an error.
        std::vector<std::uint32_t> failed = {};
        /// Frames that have pictures.
        std::vector<std::uint32_t> pictures = {};
        bool isDone = false;
    };
    /// What an action changed in the picture that it draws to, counted from the lower left corner.
    struct Change {
        std::uint32_t x = 0;
        std::uint32_t y = 0;
        std::uint32_t width = 0;
        std::uint32_t height = 0;
        /// A file.
        std::string png = {};
    };
    struct Actions {
        /// By their calls; those that changed nothing have a width of 0.
        std::map<std::uint32_t, Change> changes = {};
        /// Calls of the frame that were refused or raised an error; known at its end.
        Json failed = Json::array();
        /// How many of them were looked at ahead; known at its end.
        std::size_t ahead = 0;
        bool isDone = false;
    };

    /// Begins with the frames, of which the capture has so many; `waits` for all.
    Strip Frames(std::uint32_t total, bool waits);
    /// A PNG file; empty while there is none.
    std::string OfFrame(std::uint32_t frame);
    /// Begins with the actions of a frame, in front of everything else.
    void Begin(std::uint32_t frame);
    /// The same, and what is known of them; `waits` for all.
    std::shared_ptr<const Actions> OfActions(std::uint32_t frame, bool waits);

private:
    using Clock = std::chrono::steady_clock;
    /// The frame whose actions are at work.
    struct Work {
        std::uint32_t frame = 0;
        std::shared_ptr<Actions> actions = {};
        Clock::time_point since = {};
    };

    void Run();
    void StartThread();
    void Select(std::uint32_t frame);
    [[nodiscard]] bool WantsFrames() const;
    /// False when it was told to end.
    bool WaitForQuiet();
    void NextFrame();
    /// False while it waits for a snapshot of the frame.
    bool NextAction(const Work& work);
    bool GoToFrame(const Work& work);
    void Keep(const Work& work, const ReplayAnswer& answer);

    Replays& m_replays;
    const std::function<bool()> m_isBusy;
    const LookAhead m_lookAhead;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_stop = false;
    std::uint32_t m_total = 0;
    Strip m_strip;
    /// Frames 1, 1 + m_every ... get pictures.
    std::uint32_t m_every = 1;
    std::map<std::uint32_t, std::string> m_frames;
    /// The one wished for last in front.
    std::list<Work> m_works;

    // Of the thread alone.
    std::unique_ptr<ReplayProcess> m_strips;
    std::unique_ptr<ReplayProcess> m_steps;
    /// Of m_steps, and how far it went.
    std::uint32_t m_stepsFrame = 0;
    std::uint32_t m_framesGone = 0;
    /// Actions of it that were looked at ahead, and whether there is room for more.
    std::size_t m_ahead = 0;
    bool m_hasRoom = true;

    std::thread m_thread;
};

} // namespace Inspect
