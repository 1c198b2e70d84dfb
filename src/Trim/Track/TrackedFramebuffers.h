#pragma once

#include <cstdint>
#include <vector>

#include "Trim/Track/EGLTracker.h"
#include "Trim/Track/TrackedImages.h"
#include "Trim/Track/TrackedState.h"

namespace Trim {

/// An image that a framebuffer has, and which parts of it.
struct FramebufferImage {
    std::uint32_t attachment;
    Image image;
    std::uint32_t aspects;
};

/// What framebuffers consist of; a surface where none is bound.
class TrackedFramebuffers {
public:
    TrackedFramebuffers(TrackedState& tracked, EGLTracker& egl) : m_tracked(tracked), m_egl(egl) {}

    /// What a draw may write to.
    [[nodiscard]] std::vector<FramebufferImage> DrawTargets();
    /// The one that is read from, with its contents.
    void ReadsReadFramebuffer();
    /// All but the pixels.
    void ReadsSetup(Owner framebuffer);

private:
    [[nodiscard]] std::vector<FramebufferImage> Attachments(Owner framebuffer);

    TrackedState& m_tracked;
    EGLTracker& m_egl;
};

} // namespace Trim
