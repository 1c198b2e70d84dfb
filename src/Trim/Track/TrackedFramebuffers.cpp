#include "Trim/Track/TrackedFramebuffers.h"

#include <GLES3/gl32.h>

namespace Trim {

namespace {

std::uint32_t AspectsOf(std::uint32_t attachment)
{
    if (attachment == GL_DEPTH_ATTACHMENT)
        return Depth;
    return attachment == GL_STENCIL_ATTACHMENT ? Stencil : Color;
}

} // namespace

std::vector<FramebufferImage> TrackedFramebuffers::Attachments(Owner framebuffer)
{
    enum Word : std::uint8_t { Level = 2, Face = 3 };
    std::vector<FramebufferImage> targets;
    const Data::StateSlots& slots = m_tracked.Slots();
    for (const Slot slot : slots.Of(framebuffer)) {
        const Data::StateSlots::Value& value = slots.ValueOf(slot);
        if (slots.StateOf(slot) != State::Attachment || value.bound == 0)
            continue;
        const std::uint32_t attachment = slots.FirstOf(slot);
        const auto word = [&](Word number) { return static_cast<std::uint32_t>(value.words[number]); };
        const std::uint32_t face = word(Face) != 0 ? word(Face) : m_tracked.Object(value.bound).target;
        targets.push_back({attachment, {value.bound, face, word(Level)}, AspectsOf(attachment)});
    }
    return targets;
}

std::vector<FramebufferImage> TrackedFramebuffers::DrawTargets()
{
    if (const Owner framebuffer = m_tracked.BoundFramebuffer(true))
        return Attachments(framebuffer);
    if (const Owner surface = m_egl.DrawSurface())
        return {{GL_BACK, {surface, 0, 0}, AllAspects}};
    return {};
}

void TrackedFramebuffers::ReadsReadFramebuffer()
{
    m_tracked.Reads(m_tracked.FramebufferSlot(false));
    if (const Owner framebuffer = m_tracked.BoundFramebuffer(false))
        m_tracked.ReadsObject(framebuffer);
    else
        m_tracked.ReadsAll(m_egl.ReadSurface());
}

void TrackedFramebuffers::ReadsSetup(Owner framebuffer)
{
    m_tracked.ReadsAll(framebuffer);
    for (const FramebufferImage& target : Attachments(framebuffer)) {
        for (const Slot slot : m_tracked.Slots().Of(target.image.object))
            if (m_tracked.Slots().StateOf(slot) != State::Pixels)
                m_tracked.Reads(slot);
    }
}

} // namespace Trim
