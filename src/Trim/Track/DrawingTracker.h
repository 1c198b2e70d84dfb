#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Trim/Track/EGLTracker.h"
#include "Trim/Track/TrackedFramebuffers.h"
#include "Trim/Track/TrackedImages.h"
#include "Trim/Track/TrackedState.h"

namespace Trim {

/// All that writes pixels without an upload: draws, clears, blits, copies, compute.
class DrawingTracker {
public:
    DrawingTracker(TrackedState& tracked, EGLTracker& egl, TrackedImages& images, TrackedFramebuffers& framebuffers)
        : m_tracked(tracked), m_egl(egl), m_images(images), m_framebuffers(framebuffers)
    {
    }

    /// False for other calls.
    bool Track(const CallArguments& call);

private:
    bool TrackClear(const CallArguments& call);
    void Draw();
    void Clear(std::uint32_t aspects, std::optional<std::uint32_t> drawBuffer);
    [[nodiscard]] bool ClearsAll(const std::vector<FramebufferImage>& targets, std::uint32_t aspects);
    void CopyImage(const CallArguments& call);
    /// Buffers and images that shaders can write to.
    void ChangesShaderOutput();
    void WritesBuffer(Owner buffer);
    void ReadsContext();

    TrackedState& m_tracked;
    EGLTracker& m_egl;
    TrackedImages& m_images;
    TrackedFramebuffers& m_framebuffers;
};

} // namespace Trim
