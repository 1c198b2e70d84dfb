#pragma once

#include "Trim/Track/ObjectTracker.h"
#include "Trim/Track/TrackedState.h"

namespace Trim {

/// How programs and pipelines are built, and which locations of them were asked for.
class ProgramTracker {
public:
    ProgramTracker(TrackedState& tracked, ObjectTracker& objects) : m_tracked(tracked), m_objects(objects) {}

    /// False for calls on other things.
    bool Track(const CallArguments& call);

private:
    bool TrackLocation(const CallArguments& call);

    TrackedState& m_tracked;
    ObjectTracker& m_objects;
};

} // namespace Trim
