#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Inspect/Place.h"
#include "Sides/Child.h"
#include "Util/TemporaryFolder.h"

namespace Inspect {

/// A capture of one frame, with what the frames in front of it have set up. The only place that knows how its numbers
/// and those of the whole capture belong together.
struct FrameCut {
    std::string path;
    /// Of the whole capture; in the cut it is frame 1.
    std::uint32_t frame = 0;
    /// Calls in front of the frame's first one.
    std::uint32_t callsBefore = 0;

    [[nodiscard]] Place ToCut(const Place& place) const { return {1, callsBefore + place.call}; }
    [[nodiscard]] Place ToWhole(const Place& place) const
    {
        return {frame, place.call > callsBefore ? place.call - callsBefore : 0};
    }
};

/// Cuts frames out by playback-trim on a thread of its own, into a temporary folder that goes with this object. Members
/// may be called from any thread.
class FrameCuts {
public:
    explicit FrameCuts(std::string capture) : m_capture(std::move(capture)) {}
    ~FrameCuts();
    FrameCuts(const FrameCuts&) = delete;
    FrameCuts& operator=(const FrameCuts&) = delete;

    /// What the whole capture showed, which a cut has to show too before it is used.
    struct Wish {
        std::uint32_t frame = 0;
        /// All calls of the frame.
        std::uint32_t calls = 0;
        /// After this call its targets have these hashes.
        std::uint32_t checkedCall = 0;
        std::vector<std::string> hashes = {};
    };
    /// Starts cutting, where that has not been tried; of several wishes the last one is met first.
    void Want(Wish wish);
    /// Nothing while it is not ready, and when it cannot be had.
    [[nodiscard]] std::optional<FrameCut> Find(std::uint32_t frame) const;
    /// A cut turned out to be of no use.
    void Drop(std::uint32_t frame);

private:
    struct Entry {
        FrameCut cut;
        bool isReady = false;
    };

    void Run();
    bool Trim(const FrameCut& cut);
    std::optional<FrameCut> Make(const Wish& wish);
    void RemoveOldest();

    const std::string m_capture;
    Util::TemporaryFolder m_folder;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::map<std::uint32_t, Entry> m_cuts;
    /// Ready ones, in the order in which they were made.
    std::deque<std::uint32_t> m_order;
    std::deque<Wish> m_wishes;
    /// The playback-trim at work.
    std::shared_ptr<Sides::Child> m_trim;
    bool m_stop = false;
    std::thread m_thread;
};

} // namespace Inspect
