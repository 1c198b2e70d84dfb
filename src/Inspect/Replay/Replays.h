#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Inspect/Place.h"
#include "Inspect/Replay/Edit.h"
#include "Inspect/Replay/Outcomes.h"
#include "Inspect/Replay/ReplayProcess.h"
#include "Inspect/Replay/Snapshots.h"

namespace Inspect {

/// The replay processes of a capture: one that goes on to what is asked for, beginning with the nearest snapshot where
/// it is behind or far in front, and for the way back in the frame at hand another one that waits at its start. A
/// process that ends is replaced when it is needed. Members may be called from any thread; they wait for one another
/// where what they answer is not kept.
class Replays {
public:
    /// What is asked about: frames with the edits from their start on, where there are any, or as they were recorded.
    enum class Version : std::uint8_t { Edited, Recorded };

    /// `isLasting`: the way back and jumps are likely, so that snapshots are worth their while; `every` as in
    /// Snapshots.
    Replays(const ReplaySettings& settings, bool isLasting, std::optional<std::uint32_t> every);
    ~Replays();
    Replays(const Replays&) = delete;
    Replays& operator=(const Replays&) = delete;

    /// What a call left behind; kept for the next time. Throws Error.
    std::shared_ptr<const Outcome> At(const Place& place, Version version = Version::Edited);
    /// What replays have left behind, by the number of the edits that were in force.
    [[nodiscard]] KeptOutcomes& Kept() { return m_kept; }
    /// The answer to a request after a call. Throws Error.
    ReplayAnswer Ask(const Place& place, const Json& request, Version version = Version::Edited);
    /// The answer to a request that goes from the start of the frame on, such as "history", with the last call as its
    /// "call". Throws Error.
    ReplayAnswer AskFromStart(const Place& last, Json request, Version version = Version::Edited);
    /// From now on these, in the place of those before. Throws Error where the driver does not take one of them in the
    /// frame, and those before stay.
    void SetEdits(std::vector<Edit> edits, std::uint32_t frame);
    [[nodiscard]] std::vector<Edit> Edits();
    [[nodiscard]] bool IsLasting() const { return m_isLasting; }
    [[nodiscard]] const ReplaySettings& Settings() const { return m_settings; }
    [[nodiscard]] Snapshots& AllSnapshots() { return m_snapshots; }
    /// Ends all processes and removes what they wrote, whoever waits for them. From any thread.
    void Stop();

private:
    /// `at` is how far it is.
    using Running = Snapshots::Started;

    [[nodiscard]] KeptOutcomes::Moment MomentOf(const Place& place, Version version) const;
    template <class Do> auto There(const Place& place, Version version, Do act);
    Running& Reach(const Place& place, Version version);
    Running& ReachEdited(const Place& place);
    /// A process in front of a frame, at its start where there is a snapshot.
    Running BeginAt(std::uint32_t frame);
    /// One that is there, with edits.
    Running AtStartOf(std::uint32_t frame, const std::vector<Edit>& edits);
    /// Has one begin with the snapshot, where there is such and none has done so.
    void KeepSpare(const SnapshotPointer& snapshot);
    [[noreturn]] void Fail(Running& running, const Place& place, std::string text);

    const bool m_isLasting;
    const ReplaySettings m_settings;
    ProcessList m_processes;
    Snapshots m_snapshots;
    std::mutex m_mutex;
    Running m_running;
    /// Was told to go to the start of its frame, and has not been asked whether it is there.
    Running m_spare;
    /// Counted each time that they are set.
    std::uint32_t m_revision = 0;
    /// The one in force; 0 without edits.
    std::atomic<std::uint32_t> m_inForce = 0;
    std::vector<Edit> m_edits;
    /// In the frame at hand, with the edits.
    Running m_edited;
    KeptOutcomes m_kept;
};

} // namespace Inspect
