#pragma once

#include "Trim/Track/TrackedState.h"

namespace Trim {

/// What the fixed functions of OpenGL ES 1.1 do beyond setting values: matrices go on from what they were, and colours
/// and places depend on what else is set.
class FixedFunctionTracker {
public:
    explicit FixedFunctionTracker(TrackedState& tracked) : m_tracked(tracked) {}

    /// True where the call is about matrices.
    bool Track(const CallArguments& call);

private:
    void TrackMatrix(const CallArguments& call);
    /// All of the stack of a mode, in the texture unit or the palette's place that is in use. It counts as one: only a
    /// matrix that is loaded at the bottom of the stack needs nothing of what was there.
    [[nodiscard]] Slot Stack(std::uint32_t mode);
    void ReadsModelView();
    /// Uploads make the smaller levels too, where the texture says so.
    void ReadsGeneration(std::uint32_t target);
    /// The colour goes to the material while both are coupled.
    void TrackColor();

    TrackedState& m_tracked;
};

} // namespace Trim
