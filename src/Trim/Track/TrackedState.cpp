#include "Trim/Track/TrackedState.h"

#include <GLES2/gl2.h>

namespace Trim {

void TrackedState::Replaces(Slot slot)
{
    m_log.Add(Effect::Replaces, slot);
    m_log.Use();
}

void TrackedState::Changes(Slot slot)
{
    m_log.Add(Effect::Changes, slot);
    m_log.Use();
}

void TrackedState::ReadsAll(Owner owner)
{
    if (owner != 0)
        m_log.Add(Effect::ReadsAll, owner);
}

void TrackedState::ReadsObject(Owner owner, int depth)
{
    ReadsAll(owner);
    if (depth > 0)
        for (const Owner reference : Object(owner).references)
            ReadsObject(reference, depth - 1);
}

Owner TrackedState::BoundBuffer(std::uint32_t target)
{
    if (target == GL_ELEMENT_ARRAY_BUFFER)
        Reads(ContextSlot(State::VertexArray));
    Reads(BufferSlot(target));
    return m_model.Slots().ValueOf(BufferSlot(target)).bound;
}

Owner TrackedState::BoundTexture(std::uint32_t target)
{
    const Owner texture = m_model.BoundTexture(target);
    Reads(ContextSlot(State::ActiveTexture));
    Reads(ContextSlot(State::Texture, m_model.Unit(), Data::StateModel::TextureTarget(target)));
    return texture;
}

Slot TrackedState::BufferSlot(std::uint32_t target)
{
    return target == GL_ELEMENT_ARRAY_BUFFER ? SlotOf(m_model.BoundVertexArray(), State::ElementBuffer)
                                             : ContextSlot(State::Buffer, target);
}

std::vector<Slot> TrackedState::SampleSlots() const
{
    std::vector<Slot> result;
    const Data::StateSlots& slots = m_model.Slots();
    for (Slot slot = 0; slot < slots.Count(); ++slot)
        if (slots.StateOf(slot) == State::QueryResult && slots.SecondOf(slot) == 1)
            result.push_back(slot);
    return result;
}

void TrackedState::Refer(Owner from, Owner to)
{
    if (to != 0) {
        Object(from).references.insert(to);
        Object(to).referencedBy.insert(from);
    }
}

} // namespace Trim
