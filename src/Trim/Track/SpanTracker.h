#pragma once

#include "Trim/Track/TrackedState.h"

namespace Trim {

/// Calls that begin and end something: queries, conditional rendering, debug groups; and those on debug messages.
class SpanTracker {
public:
    explicit SpanTracker(TrackedState& tracked) : m_tracked(tracked) {}

    /// False for other calls.
    bool Track(const CallArguments& call) { return TrackQuery(call) || TrackDebug(call); }

private:
    bool TrackQuery(const CallArguments& call);
    bool TrackDebug(const CallArguments& call);

    TrackedState& m_tracked;
};

} // namespace Trim
