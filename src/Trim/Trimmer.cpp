#include "Trim/Trimmer.h"

#include <algorithm>
#include <cstring>

#include <EGL/egl.h>

#include "Data/Records/ProgramEnd.h"
#include "Data/Records/RecordWalk.h"
#include "Trim/Restore/NeutralUploads.h"

namespace Trim {

namespace {

using Data::RecordId;

/// A replay of what comes before the frames.
class FrontReplay : public LiveCalls {
public:
    explicit FrontReplay(Replay::LiveReplay& replay) : m_replay(replay) {}

    void SetThread(std::uint32_t thread) override { m_replay.SetThread(thread); }
    bool Call(Data::CallId call, std::uint8_t* record) override { return m_replay.Call(call, record); }
    [[nodiscard]] Data::MetaHandler& Restorer() override { return m_replay.Restorer(); }
    [[nodiscard]] const Playback::GLResourceTable& Names() const override { return m_replay.Names(); }

private:
    Replay::LiveReplay& m_replay;
};

/// Tells what comes before the first frame that is kept: earlier frames, and the capture's own state-setup block.
class FrontPart {
public:
    explicit FrontPart(Util::FrameRange range) : m_frames(range.first - 1) {}

    /// To be asked for each record, in order; `frames` frames have ended so far.
    bool Has(const Data::RecordCursor& record, std::uint32_t frames)
    {
        const bool isContent = !record.Is(RecordId::Thread) && !record.Is(RecordId::BlockStart);
        m_isOver = m_isOver || (frames == m_frames && !m_isInStateBlock && isContent);
        if (record.Is(RecordId::BlockStart) || record.Is(RecordId::BlockEnd))
            m_isInStateBlock = record.Is(RecordId::BlockStart);
        return !m_isOver;
    }

private:
    std::uint32_t m_frames;
    bool m_isInStateBlock = false;
    bool m_isOver = false;
};

} // namespace

bool Trimmer::ChangesThread(const Data::RecordCursor& record, std::uint32_t& thread)
{
    Data::ThreadRecord change;
    if (!record.Is(RecordId::Thread) || !record.Read(change) || change.thread == thread)
        return false;
    thread = change.thread;
    return true;
}

// The first pass.

bool Trimmer::Analyse(Replay::LiveReplay& replay)
{
    FrontPart front(m_range);
    bool isConditional = false;
    const auto visit = [&](const Data::RecordCursor& record) {
        if (front.Has(record, m_diagnostics.position.frame))
            Analyse(record, replay);
        else
            isConditional |= m_source.CallOf(record.Header()) == Data::CallId::glBeginConditionalRenderNV;
    };
    // Up to the last frame, so that nothing is written when one of them cannot be read.
    if (!Data::WalkRecords(m_source, m_diagnostics, visit, m_range.last))
        return false;
    ReadContents(replay);
    std::vector<Slot> restored;
    for (const auto& [surface, contents] : m_contents) {
        std::ranges::copy(m_tracker.SurfacePixels(surface), std::back_inserter(restored));
        std::ranges::copy(contents.objects.slots, std::back_inserter(restored));
    }
    // What queries saw before the frames matters only where rendering is conditional.
    if (!isConditional)
        std::ranges::copy(m_tracker.SampleSlots(), std::back_inserter(restored));
    m_selection = SelectRecords(m_tracker.Log(), m_tracker.Model().Slots(), restored);
    return true;
}

void Trimmer::Analyse(const Data::RecordCursor& record, Replay::LiveReplay& replay)
{
    const Data::RecordHeader& header = record.Header();
    if (header.id >= Data::FirstBuiltInId) {
        std::uint32_t thread = m_tracker.Thread();
        if (ChangesThread(record, thread)) {
            m_tracker.SetThread(thread);
            replay.SetThread(thread);
        }
        const auto id = static_cast<RecordId>(header.id);
        if (Data::FrameEndRecord end; id == RecordId::FrameEnd && record.Read(end)) {
            m_startUs = end.timeUs;
            m_progress(m_diagnostics.position.frame + 1);
        }
        m_tracker.BuiltIn(record, VerdictOf(id));
        replay.Other(record);
        return;
    }
    const std::optional<Data::CallId> call = m_source.CallOf(header);
    if (!call) {
        m_tracker.Other(Verdict::Drop);
        return;
    }
    m_record.assign(record.Bytes().begin(), record.Bytes().end());
    const CallArguments arguments(*call, Data::RecordView(m_record.data()));
    if (replay.Call(*call, record.Record()))
        m_tracker.Call(arguments);
    else
        m_tracker.FailedCall(arguments);
}

void Trimmer::ReadContents(Replay::LiveReplay& replay)
{
    FrontReplay live(replay);
    std::set<const Data::StateGroup*> groups;
    for (const auto& [surface, last] : m_tracker.Surfaces()) {
        const auto& [thread, current] = last;
        replay.MakeCurrent(thread, {current.display, current.draw, current.read, current.context});
        const Data::StateContext* const context = m_tracker.Model().AllContexts().Find(current.context);
        Contents& contents = m_contents[surface];
        if (!context)
            continue;
        if (groups.insert(context->group.get()).second)
            contents.objects = ReadObjectContents(m_tracker, *context, live);
        if (m_tracker.IsDrawnTo(surface))
            contents.surface = ReadDefaultContents(replay.Restorer(), m_missing);
    }
}

// The second pass.

bool Trimmer::Write(Data::CaptureWriter& writer, Data::CaptureHeader& header)
{
    RecordOutput output(writer, m_diagnostics, m_isContinued);
    FrontPart front(m_range);
    std::size_t index = 0;
    std::uint32_t thread = 0;
    bool isInState = true;
    const auto visit = [&](const Data::RecordCursor& record) {
        if (isInState && !front.Has(record, m_diagnostics.position.frame)) {
            isInState = false;
            WriteContents(output);
            output.SetThread(thread);
            writer.BlockEnd(static_cast<std::uint32_t>(Data::BlockType::State));
        }
        if (ChangesThread(record, thread))
            output.SetThread(thread);
        if (isInState)
            WriteState(record, index++, output);
        else
            WriteFrame(record, output);
    };
    writer.SetTime(0);
    writer.BlockStart(static_cast<std::uint32_t>(Data::BlockType::State));
    const bool isWhole = Data::WalkRecords(m_source, m_diagnostics, visit, m_range.last);
    header.startTimeUs += m_startUs;
    return isWhole;
}

void Trimmer::WriteState(const Data::RecordCursor& record, std::size_t index, RecordOutput& output)
{
    if (output.Hold(record))
        return;
    const std::optional<Data::CallId> call = m_source.CallOf(record.Header());
    if (!m_selection.isKept[index]) {
        if (call)
            output.DropHeld();
        return;
    }
    if (!call) {
        output.Copy(record);
        return;
    }
    if (m_tracker.Log().VerdictOf(index) == Verdict::KeepLast) {
        output.HoldMakeCurrent(record.Bytes());
        return;
    }
    std::vector<std::uint8_t> copy(record.Bytes().begin(), record.Bytes().end());
    if (m_tracker.Log().VerdictOf(index) == Verdict::Delete)
        DropNames(*call, m_tracker.Log().Items(index), m_selection.isCreated, copy);
    output.CopyCall(*call, copy);
}

void Trimmer::WriteContents(RecordOutput& output)
{
    for (const auto& [surface, last] : m_tracker.Surfaces()) {
        const auto& [thread, current] = last;
        const Contents& contents = m_contents[surface];
        const Data::StateContext* const context = m_tracker.Model().AllContexts().Find(current.context);
        if (!context || (contents.objects.calls.empty() && contents.surface.empty()))
            continue;
        output.SetThread(thread);
        WriteMakeCurrent(output, current);
        const NeutralUploads neutral(output, m_tracker.Model(), *context);
        WriteObjectContents(output, m_tracker, *context, contents.objects);
        WriteDefaultContents(output.Writer(), current, contents.surface);
    }
    // Also what is current anyway, since a new size takes effect with it.
    for (const auto& [thread, current] : m_tracker.Threads()) {
        output.SetThread(thread);
        if (current.context != 0)
            WriteMakeCurrent(output, current);
    }
}

void Trimmer::WriteFrame(const Data::RecordCursor& record, RecordOutput& output)
{
    Data::CaptureWriter& writer = output.Writer();
    if (const std::optional<Data::CallId> call = m_source.CallOf(record.Header())) {
        output.CopyCall(*call, record.Bytes());
        return;
    }
    switch (static_cast<RecordId>(record.Header().id)) {
    case RecordId::Thread:
    case RecordId::BlockStart:
    case RecordId::BlockEnd:
        break;
    case RecordId::FrameEnd:
        if (Data::FrameEndRecord end; record.Read(end))
            writer.SetTime(end.timeUs - std::min(end.timeUs, m_startUs));
        writer.FrameEnd();
        break;
    case RecordId::FrameHash:
        if (Data::FrameHashRecord hash; record.Read(hash))
            writer.FrameHash(hash.surface, hash.width, hash.height, hash.hash);
        break;
    case RecordId::Unfinished:
        WriteUnfinished(record, output);
        break;
    default:
        if (record.Header().id >= Data::FirstBuiltInId && !output.Hold(record))
            output.Copy(record);
        break;
    }
}

void Trimmer::WriteUnfinished(const Data::RecordCursor& record, RecordOutput& output) const
{
    for (Data::RecordCursor inner = Data::UnfinishedRecords(record); inner.Next();) {
        Data::RecordHeader header = inner.Header();
        if (header.id < Data::FirstBuiltInId) {
            const std::optional<Data::CallId> call = m_source.CallOf(header);
            if (!call)
                return;
            header.id = static_cast<std::uint32_t>(*call);
            std::memcpy(inner.Record(), &header, sizeof header);
        }
    }
    output.Copy(record);
}

void Trimmer::WriteMakeCurrent(RecordOutput& output, const Current& current)
{
    output.Write(MakeCall(Data::CallId::eglMakeCurrent, {current.display, current.draw, current.read, current.context},
                          EGL_TRUE));
}

} // namespace Trim
