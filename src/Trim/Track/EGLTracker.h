#pragma once

#include <cstdint>
#include <map>
#include <utility>

#include "Trim/Track/ObjectTracker.h"
#include "Trim/Track/TrackedState.h"

namespace Trim {

/// The calls of EGL: contexts and surfaces, and which of them each thread has current.
class EGLTracker {
public:
    EGLTracker(TrackedState& tracked, ObjectTracker& objects) : m_tracked(tracked), m_objects(objects) {}

    /// False for a call that has to be kept.
    bool Track(const CallArguments& call);

    /// By captured thread.
    [[nodiscard]] const std::map<std::uint32_t, Current>& Threads() const { return m_threads; }
    /// How each surface that is still there was last made current: thread and what.
    [[nodiscard]] const std::map<std::uint32_t, std::pair<std::uint32_t, Current>>& Surfaces() const
    {
        return m_surfaces;
    }
    /// The owner that a surface is; 0 for none.
    Owner SurfaceOwner(std::uint32_t surface);
    // Those of the current thread.
    Owner DrawSurface() { return SurfaceOwner(m_threads[m_tracked.Thread()].draw); }
    Owner ReadSurface() { return SurfaceOwner(m_threads[m_tracked.Thread()].read); }

private:
    void DestroyContext(std::uint32_t name);
    bool MakeCurrent(const CallArguments& call);
    void CreateEGLImage(const CallArguments& call);

    TrackedState& m_tracked;
    ObjectTracker& m_objects;
    std::map<std::uint32_t, Current> m_threads;
    std::map<std::uint32_t, std::pair<std::uint32_t, Current>> m_surfaces;
    std::map<std::uint32_t, Owner> m_surfaceOwners;
};

} // namespace Trim
