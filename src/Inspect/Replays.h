#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

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
    /// Frames are cut out only where the way back is likely.
    Replays(std::string capture, std::string driver, bool cutsFrames);

    /// What a call left behind; kept, up to 256 MiB, for the next time. `calls` are all calls of the frame. Throws
    /// Error.
    std::shared_ptr<const Outcome> At(const Place& place, std::uint32_t calls);
    /// The answer to a request after a call. Throws Error.
    ReplayAnswer Ask(const Place& place, const Json& request);
    /// The answer to "history" from the start of the frame to the call. Throws Error.
    Json History(const Place& last, Json request);
    /// Where the frame at hand lies in a file of its own; nothing while it does not.
    [[nodiscard]] std::optional<FrameCut> CutOf(std::uint32_t frame) const { return m_cuts.Find(frame); }

private:
    /// A process, and how far it is.
    struct Running {
        std::unique_ptr<ReplayProcess> process;
        /// Of the whole capture, or of a cut.
        std::optional<FrameCut> cut;
        Place at;
    };

    ReplayAnswer GoAndAsk(const Place& place, const Json& request, Json* call);
    Running& Reach(const Place& place);
    Running Start(const std::optional<FrameCut>& cut);
    void KeepSpare(const FrameCut& cut);
    [[noreturn]] void Fail(Running& running, const Place& place);
    void Keep(const Place& place, std::shared_ptr<const Outcome> outcome);

    const std::string m_capture;
    const std::string m_driver;
    const bool m_cutsFrames;
    FrameCuts m_cuts;
    std::mutex m_mutex;
    Running m_whole;
    Running m_frame;
    /// Was told to go to the start of its frame, and has not been asked whether it is there.
    Running m_spare;
    std::map<Place, std::shared_ptr<const Outcome>> m_kept;
    /// The one that was used last is in front.
    std::list<Place> m_recent;
    std::size_t m_keptBytes = 0;
};

} // namespace Inspect
