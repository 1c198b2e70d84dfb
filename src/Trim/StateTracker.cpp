#include "Trim/StateTracker.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include <GLES3/gl32.h>

#include "Data/CallTable.h"

namespace Trim {

using Data::CallId;

void StateTracker::SetThread(std::uint32_t thread)
{
    m_thread = thread;
    const auto current = m_threads.find(thread);
    const auto context = current != m_threads.end() ? m_contexts.find(current->second.context) : m_contexts.end();
    m_context = context != m_contexts.end() ? context->second : nullptr;
}

void StateTracker::Call(const CallArguments& call)
{
    m_log.Begin();
    if (IsEGL(call.Call())) {
        if (!TrackEGL(call))
            m_log.SetVerdict(Verdict::Keep);
        return;
    }
    // Without a context a call does nothing.
    if (!m_context)
        return;
    const bool isKnown = TrackSetting(call) || TrackBinding(call) || TrackUniform(call) || TrackDrawing(call) ||
                         TrackVertexArray(call) || TrackBuffer(call) || TrackTexture(call) || TrackFramebuffer(call) ||
                         TrackProgram(call) || TrackObject(call) || TrackWithoutEffect(call);
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

TrackedContext* StateTracker::FindContext(std::uint32_t context)
{
    const auto entry = m_contexts.find(context);
    return entry != m_contexts.end() ? entry->second.get() : nullptr;
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
        for (const Owner reference : m_objects[owner].references)
            ReadsObject(reference, depth - 1);
    }
}

// Contexts and surfaces.

bool StateTracker::TrackEGL(const CallArguments& call)
{
    switch (call.Call()) {
    case CallId::eglSwapBuffers:
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
        if (const Owner surface = SurfaceOwner(m_threads[m_thread].draw))
            Replaces(m_slots.At(surface, Piece::Setting, static_cast<std::uint32_t>(call.Call())));
        return true;
    case CallId::eglCreateContext:
        CreateContext(call.Returned(), call.Unsigned(2));
        return false;
    case CallId::eglDestroyContext:
        DestroyContext(call.Unsigned(1));
        return false;
    case CallId::eglMakeCurrent:
        return MakeCurrent(call);
    case CallId::eglReleaseThread:
        m_threads[m_thread].context = 0;
        m_context.reset();
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
        Create(ObjectKind::EGLSync, call.Returned());
        return true;
    case CallId::eglDestroySyncKHR:
        Delete(ObjectKind::EGLSync, call.Unsigned(1));
        return true;
    default:
        return false;
    }
}

void StateTracker::CreateContext(std::uint32_t context, std::uint32_t sharedContext)
{
    if (context == 0)
        return;
    const auto state = std::make_shared<TrackedContext>();
    state->owner = MakeObject(ObjectKind::Context, context);
    state->name = context;
    state->defaultVertexArray = MakeObject(ObjectKind::VertexArray, 0);
    state->defaultTransformFeedback = MakeObject(ObjectKind::TransformFeedback, 0);
    const TrackedContext* const shared = FindContext(sharedContext);
    state->shared = shared ? shared->shared : std::make_shared<ObjectNames>();
    m_contexts[context] = state;
}

void StateTracker::DestroyContext(std::uint32_t context)
{
    const auto entry = m_contexts.find(context);
    const auto isCurrent = [&](const auto& thread) { return thread.second.context == context; };
    if (entry == m_contexts.end() || std::ranges::any_of(m_threads, isCurrent))
        return;
    const auto end = [this](const ObjectNames& names) {
        for (const auto& [name, owner] : names) {
            m_objects[owner].isDeleted = true;
            m_log.Add(Effect::Ends, owner);
        }
    };
    const TrackedContext& state = *entry->second;
    end(state.own);
    if (state.shared.use_count() == 1)
        end(*state.shared);
    for (const Owner owner : {state.owner, state.defaultVertexArray, state.defaultTransformFeedback})
        m_log.Add(Effect::Ends, owner);
    for (const auto& [target, texture] : state.defaultTextures)
        m_log.Add(Effect::Ends, texture);
    m_contexts.erase(entry);
}

bool StateTracker::MakeCurrent(const CallArguments& call)
{
    const Current current{call.Unsigned(0), call.Unsigned(1), call.Unsigned(2), call.Unsigned(3)};
    const bool succeeded = call.Returned() != 0;
    if (!succeeded || m_threads[m_thread] == current)
        return true;
    m_threads[m_thread] = current;
    SetThread(m_thread);
    // The first time counts: a context takes its first viewport from its first surface.
    bool isNew = m_context && !std::exchange(m_context->wasCurrent, true);
    if (current.draw != 0) {
        isNew |= !m_surfaces.contains(current.draw);
        m_surfaces[current.draw] = {m_thread, current};
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
        entry->second = MakeObject(ObjectKind::Surface, surface);
    return entry->second;
}

// Objects.

Owner StateTracker::MakeObject(ObjectKind kind, std::uint32_t name)
{
    m_objects.emplace_back();
    m_objects.back().kind = kind;
    m_objects.back().name = name;
    return m_slots.NewOwner();
}

ObjectNames& StateTracker::NamesOf(ObjectKind kind)
{
    if (kind == ObjectKind::EGLSync)
        return m_eglSyncs;
    return kind >= ObjectKind::Framebuffer ? m_context->own : *m_context->shared;
}

Owner StateTracker::Find(ObjectKind kind, std::uint32_t name)
{
    if (name == 0)
        return 0;
    const auto [entry, isNew] = NamesOf(kind).try_emplace({kind, name}, 0);
    if (isNew) {
        // OpenGL ES 2 lets applications make names up.
        entry->second = MakeObject(kind, name);
        Replaces(m_slots.At(entry->second, Piece::Object));
    }
    return entry->second;
}

void StateTracker::Create(ObjectKind kind, std::uint32_t name)
{
    if (name == 0)
        return;
    const Owner owner = MakeObject(kind, name);
    NamesOf(kind)[{kind, name}] = owner;
    Replaces(m_slots.At(owner, Piece::Object));
}

void StateTracker::Delete(ObjectKind kind, std::uint32_t name)
{
    m_log.SetVerdict(Verdict::Delete);
    const auto entry = NamesOf(kind).extract({kind, name});
    m_log.Add(Effect::Deletes, entry ? entry.mapped() : 0);
    if (!entry)
        return;
    const Owner owner = entry.mapped();
    m_objects[owner].isDeleted = true;
    if (kind == ObjectKind::Program) {
        EndUnusedProgram(owner);
    } else if (kind == ObjectKind::Shader) {
        if (m_objects[owner].attached.empty())
            m_log.Add(Effect::Ends, owner);
    } else {
        const bool isOnlyUsedHere = kind == ObjectKind::EGLSync || IsOnlyUsedHere(owner);
        ReadsContainers(kind);
        if (kind != ObjectKind::EGLSync)
            Unbind(owner);
        if (isOnlyUsedHere)
            m_log.Add(Effect::Ends, owner);
    }
}

void StateTracker::ReadsContainers(ObjectKind kind)
{
    // Deleting takes objects out of the containers that are bound, so others must not be bound in their place.
    if (kind == ObjectKind::Buffer) {
        Reads(ContextSlot(Piece::VertexArray));
        Reads(ContextSlot(Piece::TransformFeedback));
    } else if (kind == ObjectKind::Texture || kind == ObjectKind::Renderbuffer) {
        Reads(ContextSlot(Piece::DrawFramebuffer));
        Reads(ContextSlot(Piece::ReadFramebuffer));
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
        if (m_slots.Value(slot) == owner) {
            letGo(slot);
            m_slots.Value(slot) = 0;
        }
    };
    std::ranges::for_each(m_context->bindings, unbind);
    unbind(BufferSlot(GL_ELEMENT_ARRAY_BUFFER));
    for (const Piece piece : {Piece::DrawFramebuffer, Piece::ReadFramebuffer}) {
        const Owner framebuffer = Value(piece);
        std::erase_if(m_objects[framebuffer].attachments, [&](const auto& attachment) {
            if (attachment.second.object != owner)
                return false;
            letGo(m_slots.At(framebuffer, Piece::Attachment, attachment.first));
            return true;
        });
    }
}

bool StateTracker::IsOnlyUsedHere(Owner owner)
{
    const auto isBound = [&](Slot slot) { return m_slots.Value(slot) == owner; };
    for (const auto& [name, context] : m_contexts) {
        if (context != m_context && std::ranges::any_of(context->bindings, isBound))
            return false;
    }
    const Owner bound[] = {BoundVertexArray(), Value(Piece::DrawFramebuffer), Value(Piece::ReadFramebuffer)};
    return std::ranges::all_of(m_objects[owner].referencedBy, [&](Owner container) {
        return m_objects[container].isDeleted || std::ranges::find(bound, container) != std::end(bound);
    });
}

void StateTracker::Refer(Owner from, Owner to)
{
    if (to != 0) {
        m_objects[from].references.insert(to);
        m_objects[to].referencedBy.insert(from);
    }
}

} // namespace Trim
