#pragma once

#include <cstdint>

#include "Trim/Track/TrackedFramebuffers.h"
#include "Trim/Track/TrackedImages.h"
#include "Trim/Track/TrackedState.h"

namespace Trim {

/// The storage of textures and renderbuffers, and what is uploaded or copied to them.
class TextureTracker {
public:
    TextureTracker(TrackedState& tracked, TrackedImages& images, TrackedFramebuffers& framebuffers)
        : m_tracked(tracked), m_images(images), m_framebuffers(framebuffers)
    {
    }

    /// False for calls on other things.
    bool Track(const CallArguments& call);

private:
    bool TrackStorage(const CallArguments& call);
    void MakeMipmaps(Owner texture);
    void ClearTexture(const CallArguments& call);
    void CopiesTo(const Image& image);
    void ReadsUpload(std::uint32_t target);

    TrackedState& m_tracked;
    TrackedImages& m_images;
    TrackedFramebuffers& m_framebuffers;
};

} // namespace Trim
