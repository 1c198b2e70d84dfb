#pragma once

#include <array>
#include <cstdint>
#include <optional>

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

    TrackedState& m_tracked;
};

} // namespace Trim
