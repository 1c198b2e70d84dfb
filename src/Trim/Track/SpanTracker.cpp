#include "Trim/Track/SpanTracker.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace Trim {

using Data::CallId;

bool SpanTracker::TrackQuery(const CallArguments& call)
{
    const auto begins = [this](Owner query) {
        if (query != 0) {
            m_tracked.Replaces(m_tracked.SlotOf(query, State::QueryResult));
            m_tracked.Replaces(m_tracked.SampleSlot(query));
            m_tracked.Exists(query);
        }
    };
    // A query comes into being when it is first begun and ended.
    const auto makes = [this](Owner query) {
        if (query != 0 && !m_tracked.Object(query).wasQueried)
            m_tracked.Changes(m_tracked.SlotOf(query, State::Object));
    };
    switch (call.Call()) {
    case CallId::glBeginQuery:
    case CallId::glBeginQueryEXT:
        m_tracked.Info().queries[call.Unsigned(0)] = m_tracked.Find(ObjectKind::Query, call.Unsigned(1));
        begins(m_tracked.Info().queries[call.Unsigned(0)]);
        makes(m_tracked.Info().queries[call.Unsigned(0)]);
        return true;
    case CallId::glEndQuery:
    case CallId::glEndQueryEXT:
        if (const Owner query = std::exchange(m_tracked.Info().queries[call.Unsigned(0)], 0)) {
            makes(query);
            m_tracked.Object(query).wasQueried = true;
            m_tracked.Changes(m_tracked.SlotOf(query, State::QueryResult));
            m_tracked.Reads(m_tracked.SlotOf(query, State::QueryResult));
        }
        return true;
    case CallId::glQueryCounterEXT:
        begins(m_tracked.Find(ObjectKind::Query, call.Unsigned(0)));
        return true;
    case CallId::glBeginConditionalRenderNV:
    case CallId::glEndConditionalRenderNV:
        // Kept, so that a draw that is kept is between the same calls.
        m_tracked.Log().SetVerdict(Verdict::Keep);
        return true;
    default:
        return false;
    }
}

bool SpanTracker::TrackDebug(const CallArguments& call)
{
    std::vector<std::size_t>& groups = m_tracked.Info().debugGroups;
    switch (call.Call()) {
    case CallId::glPushDebugGroup:
    case CallId::glPushDebugGroupKHR:
    case CallId::glPushGroupMarkerEXT:
        groups.push_back(m_tracked.Log().Count() - 1);
        m_tracked.Log().SetVerdict(Verdict::Keep);
        return true;
    case CallId::glPopDebugGroup:
    case CallId::glPopDebugGroupKHR:
    case CallId::glPopGroupMarkerEXT:
        // A group that was closed again is of no use to anybody.
        if (!groups.empty()) {
            m_tracked.Log().SetVerdict(groups.back(), Verdict::Drop);
            groups.pop_back();
        }
        return true;
    case CallId::glDebugMessageControl:
    case CallId::glDebugMessageControlKHR:
    case CallId::glDebugMessageCallback:
    case CallId::glDebugMessageCallbackKHR:
        m_tracked.Log().SetVerdict(Verdict::Keep);
        return true;
    default:
        return false;
    }
}

} // namespace Trim
