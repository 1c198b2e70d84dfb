// What a loop's start does with the live driver.
#include <algorithm>

#include <EGL/egl.h>

#include "Data/Records/CallTable.h"
#include "Data/Records/RecordWalk.h"
#include "Trim/Loop/LoopStart.h"
#include "Trim/Restore/KeptState.h"

namespace Trim {

namespace {

using Data::CallId;

void Play(Replay::LiveCalls& live, OutputCall call)
{
    live.Call(call.id, call.record.data());
}

} // namespace

// What is replayed.

std::string LoopStart::TakeSteps()
{
    std::string error;
    const auto source = Data::CaptureSource::Open(m_file, error);
    if (!source)
        return error;
    Data::Diagnostics diagnostics(m_file, [](const std::string&) {});
    m_steps.clear();
    std::size_t index = 0;
    const auto visit = [&](const Data::RecordCursor& record) {
        const std::size_t at = index++;
        if (at >= m_begin.begin || !m_selection.isKept[at])
            return;
        const auto call = static_cast<CallId>(m_origins[at].call);
        Step step{m_origins[at].context, {call, {record.Bytes().begin(), record.Bytes().end()}}};
        if (m_tracker.Log().VerdictOf(at) == Verdict::Delete)
            DropNames(call, m_tracker.Log().Items(at), m_selection.isCreated, step.call.record);
        m_steps.push_back(std::move(step));
    };
    if (!Data::WalkRecords(*source, diagnostics, visit, m_frames.first - 1))
        return "the capture is damaged or incomplete";
    FindDeletes();
    return "";
}

void LoopStart::FindDeletes()
{
    m_deletes.clear();
    std::set<const Data::StateGroup*> groups;
    for (const auto& [name, context] : m_tracker.Model().AllContexts().All()) {
        if (!PlaceOf(name))
            continue;
        const auto find = [&, context = name](const Data::NamedObjects& objects) {
            for (const auto& [key, owner] : objects.owners)
                if (owner >= m_begin.owners || m_selection.recreated.contains(owner))
                    AddDelete(context, key.first, key.second);
        };
        find(context->objects);
        if (groups.insert(context->group.get()).second)
            find(context->group->objects);
    }
}

/// By the call of GL that deletes objects of this kind. Where there is none they are made once, and are not made anew.
void LoopStart::AddDelete(std::uint32_t context, ObjectKind kind, std::uint32_t name)
{
    for (std::size_t id = 0; id < Data::callCount; ++id) {
        const auto call = static_cast<CallId>(id);
        const Data::ObjectEffect& effect = Data::EffectsOf(call).object;
        if (effect.action != Data::ObjectAction::Delete || effect.kind != kind || Data::IsEGL(call))
            continue;
        const std::span<const std::uint8_t> names(reinterpret_cast<const std::uint8_t*>(&name), sizeof name);
        m_deletes.push_back({context, effect.parameter == 1 ? MakeCall(call, {name}) : MakeCall(call, {1, names})});
        return;
    }
}

void LoopStart::MakeCurrent(Replay::LiveCalls& live, std::map<std::uint32_t, Current>& threads,
                            const Place& place) const
{
    const auto& [thread, current] = place;
    live.SetThread(thread);
    if (threads[thread] == current)
        return;
    threads[thread] = current;
    Play(live,
         MakeCall(CallId::eglMakeCurrent, {current.display, current.draw, current.read, current.context}, EGL_TRUE));
}

void LoopStart::MakeAllCurrent(Replay::LiveCalls& live, std::map<std::uint32_t, Current>& threads) const
{
    // Threads that have come up since then have nothing.
    std::map<std::uint32_t, Current> wanted = m_threads;
    for (const auto& [thread, current] : threads)
        wanted.try_emplace(thread, Current{current.display, 0, 0, 0});
    for (const auto& place : wanted)
        MakeCurrent(live, threads, place);
    live.SetThread(m_lastThread);
}

// Contents.

std::set<Owner> LoopStart::WantedContents() const
{
    std::set<Owner> wanted;
    for (const Slot slot : m_selection.touched)
        if (HasContents(slot))
            wanted.insert(m_tracker.Model().Slots().OwnerOf(slot));
    return wanted;
}

bool LoopStart::ReadContents(Replay::LiveCalls& live)
{
    std::map<std::uint32_t, Current> threads = m_threads;
    const Data::StateSlots& slots = m_tracker.Model().Slots();
    m_contents.clear();
    bool isWhole = true;
    for (const Owner owner : WantedContents()) {
        const auto found = m_readable.find(owner);
        if (found == m_readable.end())
            continue;
        const auto& [context, before] = found->second;
        ObjectInfo info = before;
        info.isDrawn = true;
        info.drawn.clear();
        info.hasMipmaps = false;
        std::set<Slot> wanted;
        for (const Slot slot : slots.Of(owner)) {
            if (!m_selection.touched.contains(slot) || !HasContents(slot))
                continue;
            wanted.insert(slot);
            if (slots.StateOf(slot) == State::Mipmaps)
                info.hasMipmaps = before.hasMipmaps;
            else if (slots.StateOf(slot) == State::Pixels)
                info.drawn.insert(TrackedImages::PlaceOf(slots, slot));
        }
        MakeCurrent(live, threads, *PlaceOf(context));
        const KeptState kept;
        ObjectContents contents = ReadObject(m_tracker, owner, info, live);
        for (const Slot slot : contents.slots)
            wanted.erase(slot);
        m_unreadable.insert(wanted.begin(), wanted.end());
        isWhole &= wanted.empty();
        m_contents.push_back({context, std::move(contents.calls)});
    }
    MakeAllCurrent(live, threads);
    return isWhole;
}

bool LoopStart::ReadSurfaces(Replay::LiveCalls& live)
{
    std::map<std::uint32_t, Current> threads = m_threads;
    const std::set<Owner> wanted = WantedContents();
    m_pictures.clear();
    std::set<std::string> missing;
    for (const auto& [surface, place] : m_surfaces) {
        if (!wanted.contains(m_tracker.SurfaceOwner(surface)))
            continue;
        MakeCurrent(live, threads, place);
        const KeptState kept;
        m_pictures.emplace_back(place, ReadDefaultContents(missing));
    }
    MakeAllCurrent(live, threads);
    return missing.empty();
}

std::string LoopStart::Keep(Replay::LiveCalls& live)
{
    if (!WantedContents().empty() && !CanReadContents())
        return "the driver does not read contents back";
    // What cannot be read is made again by the calls that made it, which may need other contents.
    while (!ReadContents(live))
        if (std::string reason = Select(); !reason.empty())
            return reason;
    if (!ReadSurfaces(live))
        return "the driver does not read all of a surface";
    return TakeSteps();
}

void LoopStart::Restore(Replay::LiveCalls& live) const
{
    std::map<std::uint32_t, Current> threads = m_tracker.Threads();
    for (const std::vector<Step>* const steps : {&m_deletes, &m_initialValues, &m_steps}) {
        for (const Step& step : *steps) {
            if (step.context != 0)
                MakeCurrent(live, threads, *PlaceOf(step.context));
            Play(live, step.call);
        }
    }
    for (const auto& [context, calls] : m_contents) {
        MakeCurrent(live, threads, *PlaceOf(context));
        const KeptState kept;
        const WholeArea whole;
        for (const OutputCall& call : calls)
            Play(live, call);
    }
    for (const auto& [place, pictures] : m_pictures) {
        MakeCurrent(live, threads, place);
        const KeptState kept;
        const WholeArea whole;
        GL().glBindFramebuffer(GL_FRAMEBUFFER, 0);
        for (const DefaultContents& picture : pictures)
            RestoreDefaultContents(live.Restorer(), picture);
    }
    MakeAllCurrent(live, threads);
    Core::TakeErrors(GL());
}

} // namespace Trim
