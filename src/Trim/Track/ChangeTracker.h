#pragma once

#include "Trim/Track/ObjectTracker.h"
#include "Trim/Track/TrackedState.h"

namespace Trim {

/// The values that calls set, as far as their description says it.
class ChangeTracker {
public:
    ChangeTracker(TrackedState& tracked, ObjectTracker& objects) : m_tracked(tracked), m_objects(objects) {}

    /// False where the description says nothing of the call.
    bool Track(const CallArguments& call);

private:
    bool TrackChange(const Data::StateChange& change, const CallArguments& call);
    void TrackBinding(const Data::StatePlace& place, Slot slot);
    bool TrackUniform(const Data::StatePlace& place, const CallArguments& call);
    /// The call means what it does because of how a program was built.
    void ReadsBuilder(const CallArguments& call);

    TrackedState& m_tracked;
    ObjectTracker& m_objects;
};

} // namespace Trim
