#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "Inspect/Capture/FrameCalls.h"
#include "Inspect/Capture/FrameIndex.h"
#include "Inspect/Capture/FrameUses.h"
#include "Inspect/Replay/Replays.h"
#include "Inspect/Replay/Thumbnails.h"
#include "Inspect/Replay/WrongSearch.h"
#include "Tools/Info/StateText.h"

namespace Inspect {

/// A capture that is looked at: its frames and calls as the file has them, and what a replay shows of them. Members may
/// be called from any thread, and throw Error.
class Inspector {
public:
    /// Throws Error when the file is no capture. `isLasting` and `every` are as in Replays.
    Inspector(const ReplaySettings& settings, bool isLasting, std::optional<std::uint32_t> every);

    [[nodiscard]] const std::string& Path() const { return m_path; }
    /// Without the folder.
    [[nodiscard]] std::string FileName() const;
    /// The first driver.
    [[nodiscard]] const Sides::Side& FirstSide() const { return m_replays.Settings().side; }
    [[nodiscard]] const Data::CaptureHeader& Header() const { return m_header; }
    [[nodiscard]] const FrameIndex& Index() const { return m_index; }
    [[nodiscard]] Replays& Replay() { return m_replays; }
    [[nodiscard]] Thumbnails& Pictures() { return m_thumbnails; }

    /// Somebody looks at a frame: what may be asked for next of its actions is made ahead, where requests follow one
    /// another.
    void Select(std::uint32_t frame);
    /// Of playback-probe: about a program of the capture.
    [[nodiscard]] static Json AboutProgram(std::uint32_t name) { return {{"do", "program"}, {"name", name}}; }

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

    /// Another driver, or other settings, whose pictures are compared with the first one's. Before any request.
    void SetSecond(const Sides::Side& side);
    struct SecondDriver {
        Sides::Side side;
        Replays replays;
        /// For the first draw that the two do not do alike.
        WrongSearch search;
    };
    [[nodiscard]] bool HasSecond() const { return m_second != nullptr; }
    /// Throws RequestError where there is none.
    [[nodiscard]] SecondDriver& Second();

    /// Ends all replays, whoever waits for them. From any thread.
    void Stop();

    /// Another capture, with whose state this one's may be compared. Before any request; throws Error.
    void AddOther(const std::string& path);
    /// Their file names.
    [[nodiscard]] std::vector<std::string> Others() const;
    /// A place of this capture, or of one of the others as "FILE:57:12", with the capture that it is in.
    std::pair<Inspector*, Place> FindAnywhere(const std::string& text);

    std::shared_ptr<const FrameCalls> Calls(std::uint32_t frame);
    using StatePointer = std::shared_ptr<const Tools::StateSnapshot>;
    /// A place that a request names.
    Place Find(const std::string& text);
    /// "57:12", or "57:c345" for a call that is no action.
    std::string NameOf(const Place& place);
    /// What was set in front of a call.
    StatePointer State(const Place& place);
    /// The same for several calls of a frame, which are read together.
    std::vector<StatePointer> States(std::uint32_t frame, const std::vector<std::uint32_t>& calls);
    /// The same with the calls that set it, however far back they are: all that is in front is read.
    Tools::StateSnapshot StateWithSetters(const Place& place);
    /// What the calls of a frame did with each object.
    std::shared_ptr<const FrameUses> Uses(std::uint32_t frame);
    /// What calls in front of a frame did to an object; all of the capture up to there is read for it.
    std::vector<EarlierUse> EarlierUses(std::uint32_t frame, const FrameUses::Object& object);

private:
    /// Reads from the snapshot on, or from the start of the capture where that is null.
    [[nodiscard]] std::vector<Tools::StateSnapshot> ReadStates(const SnapshotPointer& snapshot, std::uint32_t frame,
                                                               const std::vector<std::uint32_t>& calls) const;
    StatePointer FindState(const Place& place);
    void KeepState(const Place& place, StatePointer state);
    bool LookAhead(const Place& place, ReplayProcess& replay, const Json& step);
    [[nodiscard]] std::unique_ptr<Data::CaptureSource> Open(const SnapshotPointer& snapshot) const;

    std::string m_path;
    Data::CaptureHeader m_header;
    FrameIndex m_index;
    Replays m_replays;
    std::unique_ptr<SecondDriver> m_second;
    std::vector<std::unique_ptr<Inspector>> m_others;
    std::atomic<int> m_asking = 0;
    Thumbnails m_thumbnails;

    std::mutex m_callsMutex;
    /// The last used one in front.
    std::list<std::shared_ptr<const FrameCalls>> m_calls;
    std::mutex m_stateMutex;
    std::list<std::pair<Place, StatePointer>> m_states;
    std::mutex m_usesMutex;
    std::uint32_t m_usesFrame = 0;
    std::shared_ptr<const FrameUses> m_uses;
};

} // namespace Inspect
