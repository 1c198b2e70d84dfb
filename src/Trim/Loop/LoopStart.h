#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Data/Capture/CaptureSource.h"
#include "Data/Records/RecordCursor.h"
#include "Replay/LiveCalls.h"
#include "Trim/Loop/RestoreSelection.h"
#include "Trim/Restore/DefaultContents.h"
#include "Trim/Restore/ObjectContents.h"
#include "Trim/Track/StateTracker.h"
#include "Util/FrameRange.h"

namespace Trim {

/// Brings a replay that has come to the end of some frames back to the state that it had before them, so that they can
/// be replayed again without what is before. Only what the frames change and depend on is brought back: by the calls
/// that set it, as the trackers know them, and by contents that were read from the driver in between.
///
/// The calls of the capture are believed to have had their effects: it is not for a replay in which some fail.
class LoopStart {
public:
    /// Reads the capture up to the last of the frames. Null with a reason where something in them is not understood.
    static std::unique_ptr<LoopStart> Find(const std::string& file, Util::FrameRange frames, std::string& reason);

    /// Reads what contents will be needed, when replay stands before the first of the frames. Leaves the live state as
    /// it is. Empty where that went well, else the reason.
    [[nodiscard]] std::string Keep(Replay::LiveCalls& live);
    /// After the last frame, and after Keep. Leaves the last thread that acted before the frames the current one.
    void Restore(Replay::LiveCalls& live) const;

private:
    /// Where a record comes from.
    struct Origin {
        std::uint32_t call = 0;
        std::uint32_t context = 0;
    };
    /// A call that is replayed, with the context that it needs.
    struct Step {
        std::uint32_t context;
        OutputCall call;
    };
    /// An object whose contents can be read, as it was when the loop began, with a context that has it.
    struct Readable {
        std::uint32_t context;
        ObjectInfo info;
    };
    using Place = std::pair<std::uint32_t, Current>;

    explicit LoopStart(std::string file, Util::FrameRange frames) : m_file(std::move(file)), m_frames(frames) {}

    [[nodiscard]] std::string Read();
    void Track(const Data::CaptureSource& source, const Data::RecordCursor& record);
    /// Takes note of what is there when the loop begins.
    void Begin();
    /// What in the loop cannot be undone; empty for nothing.
    [[nodiscard]] std::string FaultOfLoop() const;
    [[nodiscard]] std::string FaultOfSpans() const;
    /// Takes what is said of mappings out of the needs: a buffer that is mapped at neither end of the loop is none.
    [[nodiscard]] std::string FaultOfMappings();
    /// Finds what is replayed and what is read.
    [[nodiscard]] std::string Select();
    [[nodiscard]] std::string FaultOfSelection() const;
    [[nodiscard]] bool HasContents(Slot slot) const;
    /// Cannot be made anew: a context, a surface, or an object without a name.
    [[nodiscard]] bool IsFixed(Owner owner) const;
    /// Takes the selected records out of the capture.
    [[nodiscard]] std::string TakeSteps();
    /// Finds calls for what no call set before the loop.
    [[nodiscard]] std::string TakeInitialValues();
    void FindDeletes();
    void AddDelete(std::uint32_t context, ObjectKind kind, std::uint32_t name);

    [[nodiscard]] std::set<Owner> WantedContents() const;
    /// False when some cannot be read: their slots are then in m_unreadable.
    bool ReadContents(Replay::LiveCalls& live);
    bool ReadSurfaces(Replay::LiveCalls& live);
    /// The context that state belongs to; 0 for none.
    [[nodiscard]] std::uint32_t ContextOf(Owner owner) const;
    /// The thread that had the context, and with what.
    [[nodiscard]] const Place* PlaceOf(std::uint32_t context) const;
    void MakeCurrent(Replay::LiveCalls& live, std::map<std::uint32_t, Current>& threads, const Place& place) const;
    void MakeAllCurrent(Replay::LiveCalls& live, std::map<std::uint32_t, Current>& threads) const;

    std::string m_file;
    Util::FrameRange m_frames;
    StateTracker m_tracker;
    std::vector<Origin> m_origins;
    std::vector<bool> m_isIgnored;
    LoopBegin m_begin;
    LoopNeeds m_needs;
    RestoreSelection m_selection;
    /// What was current when the loop began, by thread and by surface; the thread that acted last.
    std::map<std::uint32_t, Current> m_threads;
    std::map<std::uint32_t, Place> m_surfaces;
    std::map<std::uint32_t, Place> m_contexts;
    std::uint32_t m_lastThread = 0;
    std::map<Owner, ContextInfo> m_spans;
    std::map<Owner, Readable> m_readable;
    std::set<Slot> m_unreadable;

    std::vector<Step> m_deletes;
    std::vector<Step> m_initialValues;
    std::vector<Step> m_steps;
    struct Contents {
        std::uint32_t context;
        std::vector<OutputCall> calls;
    };
    std::vector<Contents> m_contents;
    std::vector<std::pair<Place, std::vector<DefaultContents>>> m_pictures;
};

} // namespace Trim
