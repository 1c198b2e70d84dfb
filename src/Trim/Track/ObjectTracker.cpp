#include "Trim/Track/ObjectTracker.h"

#include <algorithm>
#include <utility>

namespace Trim {

bool ObjectTracker::Track(const CallArguments& call)
{
    const Data::ObjectEffect& effect = Data::EffectsOf(call.Call()).object;
    if (effect.action == Data::ObjectAction::None)
        return false;
    call.ForEachName(effect.parameter, [&](std::uint32_t name) {
        if (effect.action == Data::ObjectAction::Make)
            Create(effect.kind, name);
        else
            Delete(effect.kind, name);
    });
    return true;
}

void ObjectTracker::Create(ObjectKind kind, std::uint32_t name, std::uint32_t display)
{
    if (const Owner owner = m_tracked.Model().Create(kind, name, display))
        m_tracked.Replaces(m_tracked.SlotOf(owner, State::Object));
}

void ObjectTracker::Delete(ObjectKind kind, std::uint32_t name, std::uint32_t display)
{
    m_tracked.Log().SetVerdict(Verdict::Delete);
    const Owner owner = m_tracked.Model().Known(kind, name, display);
    m_tracked.Log().Add(Effect::Deletes, owner);
    if (owner == 0)
        return;
    m_tracked.Object(owner).isDeleted = true;
    if (kind == ObjectKind::Program) {
        EndUnusedProgram(owner);
    } else if (kind == ObjectKind::Shader) {
        if (m_tracked.Object(owner).attached.empty())
            m_tracked.Log().Add(Effect::Ends, owner);
    } else {
        const bool isOnlyUsedHere = kind == ObjectKind::EglSync || IsOnlyUsedHere(owner);
        ReadsContainers(kind);
        if (kind != ObjectKind::EglSync)
            Unbind(owner);
        if (isOnlyUsedHere)
            m_tracked.Log().Add(Effect::Ends, owner);
    }
    m_tracked.Model().Delete(kind, name, display);
}

void ObjectTracker::ReadsContainers(ObjectKind kind)
{
    // Deleting takes objects out of the containers that are bound, so others must not be bound in their place.
    if (kind == ObjectKind::Buffer) {
        m_tracked.Reads(m_tracked.ContextSlot(State::VertexArray));
        m_tracked.Reads(m_tracked.ContextSlot(State::TransformFeedback));
    } else if (kind == ObjectKind::Texture || kind == ObjectKind::Renderbuffer) {
        m_tracked.Reads(m_tracked.FramebufferSlot(true));
        m_tracked.Reads(m_tracked.FramebufferSlot(false));
    }
}

void ObjectTracker::Unbind(Owner owner)
{
    // Who bound it is needed only where nothing else is bound later, which the change says.
    const auto unbind = [&](Slot slot) {
        if (m_tracked.Slots().ValueOf(slot).bound == owner)
            m_tracked.Changes(slot);
    };
    std::ranges::for_each(m_tracked.Context().bindings, unbind);
    for (const Owner container : m_tracked.Model().BoundContainers())
        std::ranges::for_each(m_tracked.Slots().Of(container), unbind);
}

bool ObjectTracker::IsOnlyUsedHere(Owner owner)
{
    const auto isBound = [&](Slot slot) { return m_tracked.Slots().ValueOf(slot).bound == owner; };
    for (const auto& [name, context] : m_tracked.Model().AllContexts().All())
        if (context.get() != &m_tracked.Context() && std::ranges::any_of(context->bindings, isBound))
            return false;
    const auto bound = m_tracked.Model().BoundContainers();
    return std::ranges::all_of(m_tracked.Object(owner).referencedBy, [&](Owner container) {
        return m_tracked.Object(container).isDeleted || std::ranges::find(bound, container) != bound.end();
    });
}

void ObjectTracker::EndUnusedProgram(Owner program)
{
    for (const auto& [name, context] : m_tracked.Model().AllContexts().All())
        if (m_tracked.Model().BoundIn(*context, State::Program) == program)
            return;
    const auto isThere = [this](Owner pipeline) { return !m_tracked.Object(pipeline).isDeleted; };
    if (std::ranges::any_of(m_tracked.Object(program).referencedBy, isThere))
        return;
    m_tracked.Log().Add(Effect::Ends, program);
    for (const Owner shader : std::exchange(m_tracked.Object(program).attached, {}))
        LetGoOfShader(shader, program);
}

void ObjectTracker::LetGoOfShader(Owner shader, Owner program)
{
    m_tracked.Object(shader).attached.erase(program);
    if (m_tracked.Object(shader).isDeleted && m_tracked.Object(shader).attached.empty())
        m_tracked.Log().Add(Effect::Ends, shader);
}

} // namespace Trim
