#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "Inspect/Edit.h"
#include "Inspect/FrameCuts.h"
#include "Inspect/Place.h"
#include "Inspect/ReplayProcess.h"

namespace Inspect {

/// What a replay showed after a call.
struct Outcome {
    /// The answer of "go".
    Json call;
    /// Those of "targets", and the contents of each.
    Json targets;
    std::vector<std::vector<std::uint8_t>> contents;

    [[nodiscard]] std::size_t Bytes() const;
};

/// The replay processes behind a capture: one that goes through all of it, and for the frame at hand one that has only
/// that frame in front of it, with another one waiting at the frame's start for the way back. A process that ends is
/// replaced when it is needed. Members may be called from any thread; they wait for one another.
class Replays {
public:
    /// What is asked about: frames with the edits from their start on, where there are any, or as they were recorded.
    enum class Version : std::uint8_t { Edited, Recorded };

    /// Frames are cut out only where the way back is likely.
    Replays(std::string capture, std::string driver, bool cutsFrames);

    /// What a call left behind; kept, up to 256 MiB, for the next time. `calls` are all calls of the frame. Throws
    /// Error.
    std::shared_ptr<const Outcome> At(const Place& place, std::uint32_t calls, Version version = Version::Edited);
    /// The answer to a request after a call. Throws Error.
    ReplayAnswer Ask(const Place& place, const Json& request, Version version = Version::Edited);
    /// The answer to a request that goes from the start of the frame on, such as "history", with the last call as its
    /// "call". Throws Error.
    ReplayAnswer AskFromStart(const Place& last, Json request, Version version = Version::Edited);
    /// From now on these, in the place of those before. Throws Error where the driver does not take one of them in the
    /// frame, and those before stay.
    void SetEdits(std::vector<Edit> edits, std::uint32_t frame);
    [[nodiscard]] std::vector<Edit> Edits();
    /// Where the frame at hand lies in a file of its own; nothing while it does not.
    [[nodiscard]] std::optional<FrameCut> CutOf(std::uint32_t frame) const { return m_cuts.Find(frame); }

private:
    /// A process, and how far it is.
    struct Running {
        std::unique_ptr<ReplayProcess> process;
        /// Of the whole capture, or of a cut.
        std::optional<FrameCut> cut;
        Place at;
        bool hasEdits = false;
    };

    ReplayAnswer GoAndAsk(const Place& place, const Json& request, Json* call, Version version);
    Running& Reach(const Place& place, Version version);
    Running& ReachEdited(const Place& place);
    Running AtStartOf(std::uint32_t frame);
    Running AtStartOf(std::uint32_t frame, const std::vector<Edit>& edits);
    Running Start(const std::optional<FrameCut>& cut);
    void KeepSpare(const FrameCut& cut);
    [[noreturn]] void Fail(Running& running, const Place& place);
    /// A place, and the edits that were in force; 0 without any.
    using Moment = std::pair<std::uint32_t, Place>;
    void Keep(const Moment& moment, std::shared_ptr<const Outcome> outcome);

    const std::string m_capture;
    const std::string m_driver;
    const bool m_cutsFrames;
    FrameCuts m_cuts;
    std::mutex m_mutex;
    Running m_whole;
    Running m_frame;
    /// Was told to go to the start of its frame, and has not been asked whether it is there.
    Running m_spare;
    /// Counted each time that they are set.
    std::uint32_t m_revision = 0;
    std::vector<Edit> m_edits;
    /// In the frame at hand, with the edits.
    Running m_edited;
    std::map<Moment, std::shared_ptr<const Outcome>> m_kept;
    /// The one that was used last is in front.
    std::list<Moment> m_recent;
    std::size_t m_keptBytes = 0;
};

} // namespace Inspect
