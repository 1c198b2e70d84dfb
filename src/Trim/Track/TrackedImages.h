#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "Trim/Track/TrackedState.h"

namespace Trim {

/// Parts of what an image holds, to be combined.
enum Aspects : std::uint32_t { Color = 1, Depth = 2, Stencil = 4, AllAspects = 7 };

/// What calls do to the images of textures, renderbuffers and surfaces.
class TrackedImages {
public:
    explicit TrackedImages(TrackedState& tracked) : m_tracked(tracked) {}

    [[nodiscard]] Slot SlotOf(const Image& image, Aspects aspect)
    {
        return m_tracked.SlotOf(image.object, State::Pixels, image.face, image.level * 8 + aspect);
    }
    /// The image that a slot is of.
    [[nodiscard]] static ImagePlace PlaceOf(const Data::StateSlots& slots, Slot slot)
    {
        return {slots.FirstOf(slot), slots.SecondOf(slot) / 8};
    }
    /// Of colour, depth and stencil.
    [[nodiscard]] std::array<Slot, 3> SlotsOf(const Image& image)
    {
        return {SlotOf(image, Color), SlotOf(image, Depth), SlotOf(image, Stencil)};
    }
    /// Nothing where it is not known.
    [[nodiscard]] std::optional<ImageSize> SizeOf(const Image& image);

    /// The image and its storage.
    void Replaces(const Image& image, ImageSize size);
    /// The storage is that of an EGLImage from here on, by its number in the capture.
    void ReplacesByEGLImage(const Image& image, std::uint32_t eglImage);
    /// The object has another storage than that of an EGLImage.
    void HasOwnStorage(Owner object) { m_eglImageUsers.erase(object); }
    /// A record with what an EGLImage holds: all of it.
    void HoldsContents(std::uint32_t eglImage);
    /// A call that is not understood uses the EGLImage: all of its contents are kept from here on.
    void UsesUnseen(std::uint32_t eglImage) { m_unseenUses.insert(eglImage); }
    /// Replaces what the image holds when the area covers it, else changes it.
    void WritesArea(const Image& image, std::int32_t x, std::int32_t y, ImageSize size);
    /// The GPU writes to it.
    void Draws(const Image& image, std::uint32_t aspects)
    {
        ChangesPixels(image, aspects);
        m_tracked.Object(image.object).drawn.insert(image.Place());
    }
    void ChangesAll(Owner texture);

private:
    void ChangesPixels(const Image& image, std::uint32_t aspects);

    /// What an EGLImage holds for those who begin to use it.
    [[nodiscard]] Slot EGLImageSlot(std::uint32_t eglImage);

    TrackedState& m_tracked;
    /// By number in the capture; of those that contents are recorded of.
    std::map<std::uint32_t, Owner> m_eglImages;
    /// The image that is the object's storage, and where.
    std::map<Owner, std::pair<std::uint32_t, Image>> m_eglImageUsers;
    std::set<std::uint32_t> m_unseenUses;
};

} // namespace Trim
