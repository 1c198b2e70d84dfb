#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "Inspect/FrameCalls.h"
#include "Inspect/FrameIndex.h"
#include "Inspect/Replays.h"
#include "Inspect/Thumbnails.h"
#include "Tools/Info/StateText.h"

namespace Inspect {

/// A capture that is looked at: its frames and calls as the file has them, and what a replay shows of them. Members may
/// be called from any thread, and throw Error.
class Inspector {
public:
    /// Throws Error when the file is no capture. `isLasting` and `every` are as in Replays.
    Inspector(const ReplaySettings& settings, bool isLasting, std::optional<std::uint32_t> every);

    [[nodiscard]] const std::string& Path() const { return m_path; }
    [[nodiscard]] const Data::CaptureHeader& Header() const { return m_header; }
    [[nodiscard]] const FrameIndex& Index() const { return m_index; }
    [[nodiscard]] Replays& Replay() { return m_replays; }
    [[nodiscard]] Thumbnails& Pictures() { return m_thumbnails; }

    /// While it lives, somebody waits for an answer.
    class Asking {
    public:
        explicit Asking(Inspector& inspector) : m_count(inspector.m_asking) { ++m_count; }
        ~Asking() { --m_count; }
        Asking(const Asking&) = delete;
        Asking& operator=(const Asking&) = delete;

    private:
        std::atomic<int>& m_count;
    };

    std::shared_ptr<const FrameCalls> Calls(std::uint32_t frame);
    /// A place that a request names.
    Place Find(const std::string& text);
    /// "57:12", or "57:c345" for a call that is no action.
    std::string NameOf(const Place& place);
    /// What was set in front of a call.
    std::shared_ptr<const Tools::StateSnapshot> State(const Place& place);
    /// The same with the calls that set it, however far back they are: all that is in front is read.
    Tools::StateSnapshot StateWithSetters(const Place& place);

private:
    /// Reads from the snapshot on, or from the start of the capture where that is null.
    [[nodiscard]] Tools::StateSnapshot ReadState(const SnapshotPointer& snapshot, const Place& place) const;

    std::string m_path;
    Data::CaptureHeader m_header;
    FrameIndex m_index;
    Replays m_replays;
    std::atomic<int> m_asking = 0;
    Thumbnails m_thumbnails;

    std::mutex m_callsMutex;
    /// The last used one in front.
    std::list<std::shared_ptr<const FrameCalls>> m_calls;
    std::mutex m_stateMutex;
    std::list<std::pair<Place, std::shared_ptr<const Tools::StateSnapshot>>> m_states;
};

} // namespace Inspect
