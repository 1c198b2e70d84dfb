#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "Trim/Track/EGLTracker.h"
#include "Trim/Track/TrackedFramebuffers.h"
#include "Trim/Track/TrackedImages.h"
#include "Trim/Track/TrackedState.h"

namespace Trim {

/// What a program looks into: units of textures with what is bound there, 0 for any target, and the locations of its
/// vertex attributes.
struct ProgramReads {
    std::set<std::pair<std::uint32_t, std::uint32_t>> units;
    std::set<std::uint32_t> attributes;
};

/// All that writes pixels without an upload: draws, clears, blits, copies, compute.
class DrawingTracker {
public:
    DrawingTracker(TrackedState& tracked, EGLTracker& egl, TrackedImages& images, TrackedFramebuffers& framebuffers)
        : m_tracked(tracked), m_egl(egl), m_images(images), m_framebuffers(framebuffers)
    {
    }

    /// From now on draws read no other textures and arrays than these, and of objects what is bound in them now.
    void SetProgramReads(ProgramReads reads) { m_programReads = std::move(reads); }

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
    [[nodiscard]] bool MayBeRead(Slot binding) const;
    void ReadsBound(Owner container);
    void ReadsArrays();

    TrackedState& m_tracked;
    EGLTracker& m_egl;
    TrackedImages& m_images;
    TrackedFramebuffers& m_framebuffers;
    /// Nothing: any.
    std::optional<ProgramReads> m_programReads;
};

} // namespace Trim
