#include "Trim/Track/StateTracker.h"

#include <algorithm>
#include <utility>

#include <GLES3/gl32.h>

namespace Trim {

using Data::CallId;

void StateTracker::Call(const CallArguments& call)
{
    m_log.Begin();
    m_state.Begin();
    if (IsEGL(call.Call())) {
        if (!TrackEGL(call))
            m_log.SetVerdict(Verdict::Keep);
        return;
    }
    // Without a context a call does nothing.
    if (!m_state.HasContext())
        return;
    const bool hasObjects = TrackObjects(call);
    const bool isDescribed = TrackChanges(call) || hasObjects;
    const bool isKnown = TrackDrawing(call) || TrackBuffer(call) || TrackTexture(call) || TrackProgram(call) ||
                         TrackQuery(call) || TrackDebug(call) || isDescribed;
    for (const Owner owner : m_state.MadeUp())
        Replaces(SlotOf(owner, State::Object));
    if (!isKnown)
        m_log.SetVerdict(Verdict::KeepAll);
}

void StateTracker::FailedCall(const CallArguments& call)
{
    if (IsEGL(call.Call()))
        Call(call);
    else
        m_log.Begin();
}

void StateTracker::Replaces(Slot slot)
{
    m_log.Add(Effect::Replaces, slot);
    m_log.Use();
}

void StateTracker::Changes(Slot slot)
{
    m_log.Add(Effect::Changes, slot);
    m_log.Use();
}

void StateTracker::ReadsAll(Owner owner)
{
    if (owner != 0)
        m_log.Add(Effect::ReadsAll, owner);
}

void StateTracker::ReadsObject(Owner owner, int depth)
{
    ReadsAll(owner);
    if (depth > 0) {
        for (const Owner reference : Object(owner).references)
            ReadsObject(reference, depth - 1);
    }
}

// Contexts and surfaces.

bool StateTracker::TrackEGL(const CallArguments& call)
{
    switch (call.Call()) {
    case CallId::eglSwapBuffers:
    case CallId::eglDupNativeFenceFDANDROID:
    case CallId::eglGetError:
    case CallId::eglGetConfigAttrib:
    case CallId::eglGetCurrentContext:
    case CallId::eglGetCurrentDisplay:
    case CallId::eglGetCurrentSurface:
    case CallId::eglGetProcAddress:
    case CallId::eglGetSyncAttribKHR:
    case CallId::eglQueryAPI:
    case CallId::eglQueryContext:
    case CallId::eglQueryString:
    case CallId::eglQuerySurface:
    case CallId::eglWaitClient:
    case CallId::eglWaitGL:
    case CallId::eglWaitNative:
    case CallId::eglWaitSyncKHR:
    case CallId::eglClientWaitSyncKHR:
    case CallId::eglSetDamageRegionKHR:
        return true;
    case CallId::eglSwapInterval:
        if (const Owner surface = SurfaceOwner(m_threads[Thread()].draw))
            Replaces(SlotOf(surface, State::SwapInterval));
        return true;
    case CallId::eglCreateContext:
        m_state.CreateContext(call.Returned(), call.Unsigned(0), call.Unsigned(2));
        return false;
    case CallId::eglDestroyContext:
        DestroyContext(call.Unsigned(1));
        return false;
    case CallId::eglMakeCurrent:
        return MakeCurrent(call);
    case CallId::eglReleaseThread:
        m_threads[Thread()].context = 0;
        m_state.MakeCurrent(0);
        return false;
    case CallId::eglDestroySurface:
        if (const auto surface = m_surfaceOwners.extract(call.Unsigned(1)))
            m_log.Add(Effect::Ends, surface.mapped());
        m_surfaces.erase(call.Unsigned(1));
        return false;
    case CallId::eglCreateImageKHR:
    case CallId::eglCreateImageKHRv1:
        CreateEGLImage(call);
        return false;
    case CallId::eglCreateSync:
    case CallId::eglCreateSyncKHR:
    case CallId::eglCreateSync64KHR:
        Create(ObjectKind::EglSync, call.Returned(), call.Unsigned(0));
        return true;
    case CallId::eglDestroySyncKHR:
        Delete(ObjectKind::EglSync, call.Unsigned(1), call.Unsigned(0));
        return true;
    default:
        return false;
    }
}

void StateTracker::DestroyContext(std::uint32_t name)
{
    const Data::StateContext* const context = m_state.AllContexts().Find(name);
    if (!context || m_state.AllContexts().IsUsed(*context))
        return;
    const auto end = [this](const Data::NamedObjects& names) {
        for (const auto& [key, owner] : names.owners) {
            Object(owner).isDeleted = true;
            m_log.Add(Effect::Ends, owner);
        }
    };
    end(context->objects);
    if (context->group.use_count() == 1)
        end(context->group->objects);
    m_log.Add(Effect::Ends, context->owner);
    for (const auto& [key, owner] : context->defaults)
        m_log.Add(Effect::Ends, owner);
    m_state.DestroyContext(name);
}

bool StateTracker::MakeCurrent(const CallArguments& call)
{
    const Current current{call.Unsigned(0), call.Unsigned(1), call.Unsigned(2), call.Unsigned(3)};
    const bool succeeded = call.Returned() != 0;
    if (!succeeded || m_threads[Thread()] == current)
        return true;
    m_threads[Thread()] = current;
    m_state.MakeCurrent(current.context);
    // The first time counts: a context takes its first viewport from its first surface.
    bool isNew = m_state.HasContext() && !std::exchange(Info().wasCurrent, true);
    if (current.draw != 0) {
        isNew |= !m_surfaces.contains(current.draw);
        m_surfaces[current.draw] = {Thread(), current};
    }
    m_log.SetVerdict(isNew ? Verdict::Keep : Verdict::KeepLast);
    return true;
}

Owner StateTracker::SurfaceOwner(std::uint32_t surface)
{
    if (surface == 0)
        return 0;
    const auto [entry, isNew] = m_surfaceOwners.try_emplace(surface, 0);
    if (isNew)
        entry->second = m_state.MakeOwner(ObjectKind::Surface, surface);
    return entry->second;
}

std::vector<Slot> StateTracker::SampleSlots() const
{
    std::vector<Slot> result;
    const Data::StateSlots& slots = m_state.Slots();
    for (Slot slot = 0; slot < slots.Count(); ++slot) {
        if (slots.StateOf(slot) == State::QueryResult && slots.SecondOf(slot) == 1)
            result.push_back(slot);
    }
    return result;
}

// Objects.

void StateTracker::Create(ObjectKind kind, std::uint32_t name, std::uint32_t display)
{
    if (const Owner owner = m_state.Create(kind, name, display))
        Replaces(SlotOf(owner, State::Object));
}

void StateTracker::Delete(ObjectKind kind, std::uint32_t name, std::uint32_t display)
{
    m_log.SetVerdict(Verdict::Delete);
    const Owner owner = m_state.Known(kind, name, display);
    m_log.Add(Effect::Deletes, owner);
    if (owner == 0)
        return;
    Object(owner).isDeleted = true;
    if (kind == ObjectKind::Program) {
        EndUnusedProgram(owner);
    } else if (kind == ObjectKind::Shader) {
        if (Object(owner).attached.empty())
            m_log.Add(Effect::Ends, owner);
    } else {
        const bool isOnlyUsedHere = kind == ObjectKind::EglSync || IsOnlyUsedHere(owner);
        ReadsContainers(kind);
        if (kind != ObjectKind::EglSync)
            Unbind(owner);
        if (isOnlyUsedHere)
            m_log.Add(Effect::Ends, owner);
    }
    m_state.Delete(kind, name, display);
}

void StateTracker::ReadsContainers(ObjectKind kind)
{
    // Deleting takes objects out of the containers that are bound, so others must not be bound in their place.
    if (kind == ObjectKind::Buffer) {
        Reads(ContextSlot(State::VertexArray));
        Reads(ContextSlot(State::TransformFeedback));
    } else if (kind == ObjectKind::Texture || kind == ObjectKind::Renderbuffer) {
        Reads(FramebufferSlot(true));
        Reads(FramebufferSlot(false));
    }
}

void StateTracker::Unbind(Owner owner)
{
    const auto letGo = [&](Slot slot) {
        Changes(slot);
        Reads(slot);
        Exists(owner);
    };
    const auto unbind = [&](Slot slot) {
        if (m_state.Slots().ValueOf(slot).bound == owner)
            letGo(slot);
    };
    std::ranges::for_each(Context().bindings, unbind);
    unbind(BufferSlot(GL_ELEMENT_ARRAY_BUFFER));
    for (const bool isForDrawing : {true, false})
        std::ranges::for_each(m_state.Slots().Of(BoundFramebuffer(isForDrawing)), unbind);
}

bool StateTracker::IsOnlyUsedHere(Owner owner)
{
    const auto isBound = [&](Slot slot) { return m_state.Slots().ValueOf(slot).bound == owner; };
    for (const auto& [name, context] : m_state.AllContexts().All()) {
        if (context.get() != &Context() && std::ranges::any_of(context->bindings, isBound))
            return false;
    }
    const Owner bound[] = {m_state.BoundVertexArray(), BoundFramebuffer(true), BoundFramebuffer(false)};
    return std::ranges::all_of(Object(owner).referencedBy, [&](Owner container) {
        return Object(container).isDeleted || std::ranges::find(bound, container) != std::end(bound);
    });
}

void StateTracker::Refer(Owner from, Owner to)
{
    if (to != 0) {
        Object(from).references.insert(to);
        Object(to).referencedBy.insert(from);
    }
}

} // namespace Trim
