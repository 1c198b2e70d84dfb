#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Data/Capture/CaptureHeader.h"
#include "Replay/LiveReplay.h"
#include "Trim/RecordOutput.h"
#include "Trim/Restore/DefaultContents.h"
#include "Trim/Restore/ObjectContents.h"
#include "Trim/Track/EffectLog.h"
#include "Trim/Track/StateTracker.h"

namespace Trim {

/// The state that records lead to. It hears of each of them along with a replay, reads from the driver what only that
/// has, and then, in a second pass over the same records, writes those that the state depends on.
class FrontState {
public:
    /// What a call came to.
    enum class Effect : std::uint8_t {
        Played,
        Failed,
        Uploaded ///< it is of a snapshot, of the block that brings contents back
    };
    /// A record as it was before the replay, in order.
    void Track(const Data::RecordView& record, std::optional<Data::CallId> call, Effect effect);
    [[nodiscard]] std::uint32_t Thread() const { return m_tracker.Thread(); }
    /// The same for the first frame after them, of whose records only sizes of windows matter.
    void NoteSize(const Data::RecordView& record);

    /// What becomes of the live state when contents are read.
    enum class Live : std::uint8_t {
        Spoilt, ///< for the last look at it: whether contents can be restored is tried thoroughly
        Kept    ///< the replay goes on
    };
    /// After the last record. Where `live` is Kept, the answer is why the replay shows something else from now on;
    /// empty for nothing.
    std::string ReadContents(Replay::LiveReplay& replay, Live live);
    /// After the last record: only what the call of this record depends on is wanted of the state.
    void TrackOnly(Data::CallId call, const Data::RecordView& record, Replay::LiveReplay& replay);
    /// What shows the picture of the thread's context, where it draws to a surface.
    [[nodiscard]] std::optional<OutputCall> SwapCall();
    /// Finds out which records are needed. `isConditional`: what queries saw decides about what is drawn.
    void Select(bool isConditional);

    /// The next record of the second pass; `call` by the output's numbers.
    void Write(const Data::RecordCursor& record, std::optional<Data::CallId> call, RecordOutput& output);
    /// After the last one: uploads, after which all that they need is bound and set as before but what is current.
    void WriteContents(RecordOutput& output);
    /// After that.
    void WriteCurrent(RecordOutput& output);

    /// When the last frame ended; 0 in the first one.
    [[nodiscard]] std::uint64_t EndUs() const { return m_endUs; }
    /// What the output lacks, in words.
    [[nodiscard]] const std::set<std::string>& Missing() const { return m_missing; }

private:
    struct Contents {
        /// Of the share group of the surface's context; empty when another surface's context is in the same one.
        ObjectContents objects;
        std::vector<DefaultContents> surface;
        /// Nothing brings the surface's picture back in its context: what drew it is kept.
        bool isDrawnAnew = false;
    };
    std::string KeepContents(Contents& contents, const Data::StateContext& context, bool hasObjects, bool hasSurface,
                             Replay::LiveReplay& replay);

    [[nodiscard]] bool IsViewportSet(std::uint32_t surface) const;
    /// What an object holds is needed.
    [[nodiscard]] bool IsWanted(Owner owner) const;

    StateTracker m_tracker;
    /// What the only call has a part in, by slot; nothing without such a call.
    std::optional<std::vector<bool>> m_needed;
    Selection m_selection;
    std::uint64_t m_endUs = 0;
    /// Of windows, the last ones, by surface.
    std::map<std::uint32_t, Data::WindowSizeRecord> m_sizes;
    /// By surface, in the order in which they are restored.
    std::map<std::uint32_t, Contents> m_contents;
    std::set<std::string> m_missing;
    /// Records that were written or left out.
    std::size_t m_written = 0;
};

/// The thread of what follows, where the record says so and it is another one.
bool ChangesThread(const Data::RecordView& record, std::uint32_t& thread);

/// The header of the frames of a capture from `first` on.
Data::CaptureHeader HeaderOfPart(Data::CaptureHeader header, const std::string& path, std::uint32_t first);

} // namespace Trim
