#include "Trim/FrontState.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

#include <EGL/egl.h>

#include "Trim/Restore/KeptState.h"
#include "Trim/Restore/NeutralUploads.h"
#include "Trim/Restore/ProgramReads.h"

namespace Trim {

namespace {

using Data::RecordId;

OutputCall MakeCurrentCall(const Current& current)
{
    return MakeCall(Data::CallId::eglMakeCurrent, {current.display, current.draw, current.read, current.context},
                    EGL_TRUE);
}

} // namespace

bool ChangesThread(const Data::RecordView& record, std::uint32_t& thread)
{
    Data::ThreadRecord change;
    if (!record.Is(RecordId::Thread) || !record.Read(change) || change.thread == thread)
        return false;
    thread = change.thread;
    return true;
}

Data::CaptureHeader HeaderOfPart(Data::CaptureHeader header, const std::string& path, std::uint32_t first)
{
    header.toolVersion = PLAYBACK_VERSION;
    // The writer adds those of the part.
    header.calls = header.eglCalls = 0;
    // Of a part of a part, the whole is what is of interest.
    if (header.originFrame != 0) {
        header.originFrame += first - 1;
    } else {
        header.originFrame = first;
        header.originFile = std::filesystem::path(path).filename().string();
    }
    return header;
}

// The first pass.

void FrontState::Track(const Data::RecordView& record, std::optional<Data::CallId> call, Effect effect)
{
    if (record.Header().id >= Data::FirstBuiltInId) {
        std::uint32_t thread = m_tracker.Thread();
        if (ChangesThread(record, thread))
            m_tracker.SetThread(thread);
        const auto id = static_cast<RecordId>(record.Header().id);
        if (Data::FrameEndRecord end; id == RecordId::FrameEnd && record.Read(end))
            m_endUs = end.timeUs;
        NoteSize(record);
        m_tracker.BuiltIn(record, VerdictOf(id));
    } else if (!call) {
        m_tracker.Other(Verdict::Drop);
    } else if (const CallArguments arguments(*call, record); effect == Effect::Played) {
        m_tracker.Call(arguments);
    } else if (effect == Effect::Failed) {
        m_tracker.FailedCall(arguments);
    } else {
        m_tracker.Upload(arguments);
    }
}

void FrontState::NoteSize(const Data::RecordView& record)
{
    if (Data::WindowSizeRecord size; record.Is(RecordId::WindowSize) && record.Read(size))
        m_sizes[size.surface] = size;
}

std::string FrontState::ReadContents(Replay::LiveReplay& replay, Live live)
{
    std::string trouble;
    std::set<const Data::StateGroup*> groups;
    for (const auto& [surface, last] : m_tracker.Surfaces()) {
        const auto& [thread, current] = last;
        replay.MakeCurrent(thread, current);
        const Data::StateContext* const context = m_tracker.Model().AllContexts().Find(current.context);
        Contents& contents = m_contents[surface];
        if (!context)
            continue;
        const bool hasObjects = groups.insert(context->group.get()).second;
        contents.isDrawnAnew = !GL().glBlitFramebuffer;
        const bool hasSurface =
            !contents.isDrawnAnew && m_tracker.IsDrawnTo(surface) && IsWanted(m_tracker.SurfaceOwner(surface));
        if (live == Live::Kept) {
            const std::string one = KeepContents(contents, *context, hasObjects, hasSurface, replay);
            trouble = trouble.empty() ? one : trouble;
            continue;
        }
        if (hasObjects)
            contents.objects = ReadObjectContents(
                m_tracker, *context, [this](Owner owner) { return IsWanted(owner); }, replay, Trial::Thorough);
        if (hasSurface)
            contents.surface = ReadDefaultContents(replay.Restorer(), m_missing);
    }
    for (const auto& [thread, current] : m_tracker.Threads())
        replay.MakeCurrent(thread, current);
    replay.SetThread(m_tracker.Thread());
    return trouble;
}

std::string FrontState::KeepContents(Contents& contents, const Data::StateContext& context, bool hasObjects,
                                     bool hasSurface, Replay::LiveReplay& replay)
{
    const KeptState kept;
    if (hasObjects) {
        const WholeArea whole;
        contents.objects = ReadObjectContents(
            m_tracker, context, [this](Owner owner) { return IsWanted(owner); }, replay, Trial::Gentle);
        // The replay follows which buffers are bound; the driver's own are put back in any case.
        OutputCall bind = MakeCall(
            Data::CallId::glBindBuffer,
            {GL_ARRAY_BUFFER,
             m_tracker.Model().Object(m_tracker.Model().BoundIn(context, State::Buffer, GL_ARRAY_BUFFER)).name});
        replay.Call(bind.id, bind.record.data());
    }
    if (hasSurface)
        contents.surface = ReadDefaultContents(m_missing);
    Core::TakeErrors(GL());
    return contents.objects.isSpoilt ? "an image does not take back what was read from it" : "";
}

void FrontState::Select(bool isConditional)
{
    std::vector<Slot> restored;
    for (const auto& [surface, contents] : m_contents) {
        if (!contents.isDrawnAnew)
            std::ranges::copy(m_tracker.SurfacePixels(surface), std::back_inserter(restored));
        std::ranges::copy(contents.objects.slots, std::back_inserter(restored));
    }
    // What queries saw before the frames matters only where rendering is conditional.
    const bool isInCondition =
        m_needed && m_tracker.Model().HasContext() && m_tracker.Model().Bound(State::ConditionalRender) != 0;
    if (!isConditional && !isInCondition)
        std::ranges::copy(m_tracker.SampleSlots(), std::back_inserter(restored));
    const auto select = m_needed ? SelectForLast : SelectRecords;
    m_selection = select(m_tracker.Log(), m_tracker.Model().Slots(), restored);
}

void FrontState::TrackOnly(Data::CallId call, const Data::RecordView& record, Replay::LiveReplay& replay)
{
    if (const auto current = m_tracker.Threads().find(m_tracker.Thread()); current != m_tracker.Threads().end()) {
        replay.MakeCurrent(current->first, current->second);
        if (m_tracker.Model().HasContext())
            if (std::optional<ProgramReads> reads = FindProgramReads())
                m_tracker.SetProgramReads(std::move(*reads));
    }
    m_tracker.Call(CallArguments(call, record));
    m_needed = SlotsOfLast(m_tracker.Log(), m_tracker.Model().Slots());
}

bool FrontState::IsWanted(Owner owner) const
{
    return !m_needed || std::ranges::any_of(
                            m_tracker.Model().Slots().Of(owner),
                            [this](Slot slot) { return slot < m_needed->size() && (*m_needed)[slot]; });
}

std::optional<OutputCall> FrontState::SwapCall()
{
    const auto current = m_tracker.Threads().find(m_tracker.Thread());
    const bool isShown = m_tracker.Model().HasContext() && m_tracker.Model().Bound(State::Framebuffer, 0, 1) == 0;
    if (!isShown || current == m_tracker.Threads().end())
        return std::nullopt;
    return MakeCall(Data::CallId::eglSwapBuffers, {current->second.display, current->second.draw}, EGL_TRUE);
}

// The second pass.

void FrontState::Write(const Data::RecordCursor& record, std::optional<Data::CallId> call, RecordOutput& output)
{
    const std::size_t index = m_written++;
    if (output.Hold(record))
        return;
    if (!m_selection.isKept[index]) {
        if (call)
            output.DropHeld();
        return;
    }
    if (!call) {
        if (Data::WindowSizeRecord size;
            record.Is(RecordId::WindowSize) && record.Read(size) && IsViewportSet(size.surface))
            std::memcpy(record.Record(), &m_sizes[size.surface], sizeof size);
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

/// A driver takes up a new size of a window that was current after the next swap only, so a window is made in the size
/// that it has in the first frame. The one that it was made in counts where a context has its viewport from that.
bool FrontState::IsViewportSet(std::uint32_t surface) const
{
    const auto last = m_tracker.Surfaces().find(surface);
    const Data::StateContext* const context = last != m_tracker.Surfaces().end()
                                                  ? m_tracker.Model().AllContexts().Find(last->second.second.context)
                                                  : nullptr;
    if (!context)
        return false;
    const Data::StateSlots& slots = m_tracker.Model().Slots();
    const Slot viewport = slots.Find(context->owner, State::Viewport);
    return viewport != Data::StateSlots::None && !slots.ValueOf(viewport).words.empty();
}

void FrontState::WriteContents(RecordOutput& output)
{
    for (const auto& [surface, last] : m_tracker.Surfaces()) {
        const auto& [thread, current] = last;
        const Contents& contents = m_contents[surface];
        const Data::StateContext* const context = m_tracker.Model().AllContexts().Find(current.context);
        if (!context || (contents.objects.calls.empty() && contents.surface.empty()))
            continue;
        output.SetThread(thread);
        output.Write(MakeCurrentCall(current));
        const NeutralUploads neutral(output, m_tracker.Model(), *context);
        WriteObjectContents(output, m_tracker, *context, contents.objects);
        WriteDefaultContents(output.Writer(), current, contents.surface);
    }
}

void FrontState::WriteCurrent(RecordOutput& output)
{
    // Also what is current anyway, since a new size takes effect with it.
    for (const auto& [thread, current] : m_tracker.Threads()) {
        output.SetThread(thread);
        if (current.context != 0)
            output.Write(MakeCurrentCall(current));
    }
}

} // namespace Trim
