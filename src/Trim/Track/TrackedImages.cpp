#include "Trim/Track/TrackedImages.h"

#include <algorithm>

namespace Trim {

namespace {

/// A level above which no texture has any.
constexpr std::int32_t MaxLevels = 16;

} // namespace

void TrackedImages::Replaces(const Image& image, ImageSize size)
{
    m_tracked.Object(image.object).sizes[image.Place()] = size;
    m_tracked.Object(image.object).drawn.erase(image.Place());
    m_tracked.Replaces(m_tracked.SlotOf(image.object, State::Storage, image.face, image.level));
    for (const Aspects aspect : {Color, Depth, Stencil})
        m_tracked.Replaces(SlotOf(image, aspect));
    HasOwnStorage(image.object);
}

void TrackedImages::ReplacesByEGLImage(const Image& image, std::uint32_t eglImage)
{
    Replaces(image, {});
    m_tracked.Object(image.object).isAliased = true;
    if (m_eglImages.contains(eglImage)) {
        m_tracked.Reads(EGLImageSlot(eglImage));
        m_eglImageUsers.insert_or_assign(image.object, std::pair(eglImage, image));
    }
}

void TrackedImages::HoldsContents(std::uint32_t eglImage)
{
    m_tracked.Replaces(EGLImageSlot(eglImage));
    for (const auto& [object, use] : m_eglImageUsers)
        if (use.first == eglImage)
            m_tracked.Replaces(SlotOf(use.second, Color));
    if (m_unseenUses.contains(eglImage))
        m_tracked.Log().SetVerdict(Verdict::Keep);
}

Slot TrackedImages::EGLImageSlot(std::uint32_t eglImage)
{
    const auto [entry, isNew] = m_eglImages.try_emplace(eglImage, 0);
    if (isNew)
        entry->second = m_tracked.Model().MakeOwner(ObjectKind::EglImage, eglImage);
    return m_tracked.SlotOf(entry->second, State::Pixels);
}

void TrackedImages::ChangesPixels(const Image& image, std::uint32_t aspects)
{
    for (const Aspects aspect : {Color, Depth, Stencil})
        if ((aspects & aspect) != 0)
            m_tracked.Changes(SlotOf(image, aspect));
    if (m_tracked.Object(image.object).isAliased)
        m_tracked.Log().SetVerdict(Verdict::Keep);
}

void TrackedImages::WritesArea(const Image& image, std::int32_t x, std::int32_t y, ImageSize size)
{
    const std::optional<ImageSize> whole = SizeOf(image);
    if (x == 0 && y == 0 && whole == size && !m_tracked.Object(image.object).isAliased)
        for (const Aspects aspect : {Color, Depth, Stencil})
            m_tracked.Replaces(SlotOf(image, aspect));
    else
        ChangesPixels(image, AllAspects);
    m_tracked.Reads(m_tracked.SlotOf(image.object, State::Storage, image.face, image.level));
    m_tracked.Reads(m_tracked.SlotOf(image.object, State::Storage));
}

std::optional<ImageSize> TrackedImages::SizeOf(const Image& image)
{
    const auto& sizes = m_tracked.Object(image.object).sizes;
    if (const auto size = sizes.find(image.Place()); size != sizes.end())
        return size->second;
    // Levels that were generated or allocated together follow from the first one.
    const auto first = sizes.find({image.face, 0});
    if (first == sizes.end() || image.level >= MaxLevels)
        return std::nullopt;
    return ImageSize{std::max(first->second.width >> image.level, 1), std::max(first->second.height >> image.level, 1)};
}

void TrackedImages::ChangesAll(Owner texture)
{
    // One more, for images that nothing has written yet.
    m_tracked.Changes(m_tracked.SlotOf(texture, State::Pixels));
    for (const Slot slot : m_tracked.Slots().Of(texture))
        if (m_tracked.Slots().StateOf(slot) == State::Pixels)
            m_tracked.Changes(slot);
}

} // namespace Trim
