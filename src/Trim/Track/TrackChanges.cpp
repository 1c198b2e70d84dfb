// What follows from the description of a call: objects that it makes and deletes, values that it sets.
#include <utility>

#include <GLES2/gl2.h>
#include <GLES3/gl32.h>

#include "Trim/Track/StateTracker.h"

namespace Trim {

using Data::CallId;
using Data::ChangeKind;
using Data::StateChange;
using Data::StatePlace;

bool StateTracker::TrackObjects(const CallArguments& call)
{
    const Data::ObjectEffect& effect = Data::EffectsOf(call.Call()).object;
    if (effect.action == Data::ObjectAction::None)
        return false;
    call.ForEachName(effect.parameter, [&](std::uint32_t name) {
        if (effect.action == Data::ObjectAction::Make)
            Create(effect.kind, name);
        else
            Delete(effect.kind, name);
    });
    return true;
}

bool StateTracker::TrackChanges(const CallArguments& call)
{
    const Owner program = m_state.Bound(State::Program);
    bool isKnown = Data::EffectsOf(call.Call()).setsNothing;
    for (const StateChange& change : Data::ChangesOf(call.Call()))
        isKnown |= !Data::StateModel::IsMet(change, call) || TrackChange(change, call);
    if (isKnown)
        ReadsBuilder(call);
    for (const Slot selector : m_state.Selectors())
        Reads(selector);
    if (call.Call() == CallId::glBindTexture)
        Object(Find(ObjectKind::Texture, call.Unsigned(1))).target = call.Unsigned(0);
    if (call.Call() == CallId::glUseProgram && Object(program).isDeleted)
        EndUnusedProgram(program);
    return isKnown;
}

bool StateTracker::TrackChange(const StateChange& change, const CallArguments& call)
{
    const StatePlace place = m_state.PlaceOf(change, call);
    if (change.state == State::Uniform && change.kind == ChangeKind::Set)
        return TrackUniform(place, call);
    // A program that is linked has other uniforms: setting them depends on how it was built.
    if (change.kind == ChangeKind::Reset || place.owner == 0)
        return true;
    if (place.owner != Context().owner)
        Exists(place.owner);
    if (change.kind == ChangeKind::Change) {
        Changes(SlotOf(place.owner, change.state));
        Reads(SlotOf(place.owner, change.state));
        return true;
    }
    m_state.Apply(change, call);
    for (std::uint32_t i = 0; i < place.count; ++i) {
        const Slot slot = SlotOf(place.owner, change.state, place.first, place.second + i);
        Replaces(slot);
        TrackBinding(place, slot);
    }
    return true;
}

void StateTracker::TrackBinding(const StatePlace& place, Slot slot)
{
    const Owner bound = m_state.Slots().ValueOf(slot).bound;
    if (bound == 0)
        return;
    Exists(bound);
    if (place.owner != Context().owner)
        Refer(place.owner, bound);
    const State state = m_state.Slots().StateOf(slot);
    const bool isPart = state == State::Attachment || state == State::StageProgram || state == State::ActiveProgram;
    if (!isPart && !Object(bound).wasBound) {
        Object(bound).wasBound = true;
        // Kept with the object, even when something else is bound before it is used.
        Changes(SlotOf(bound, State::Object));
    }
}

bool StateTracker::TrackUniform(const StatePlace& place, const CallArguments& call)
{
    // As the standard has it, location -1 is ignored.
    if (place.second == ~0u)
        return true;
    if (place.owner == 0)
        return false; // the active program of a pipeline
    // Only what sets the same values in the same way makes an earlier call superfluous.
    constexpr std::uint32_t most = 0xFFFF;
    const Slot slot = SlotOf(place.owner, State::Uniform, place.second,
                             static_cast<std::uint32_t>(call.Call()) << 16 | (place.count & most));
    if (place.count <= most)
        Replaces(slot);
    else
        Changes(slot);
    return true;
}

void StateTracker::ReadsBuilder(const CallArguments& call)
{
    const Data::Operand& builder = Data::EffectsOf(call.Call()).builder;
    const Owner program = m_state.OwnerOf(builder, call);
    if (program != 0) {
        Exists(program);
        Reads(SlotOf(program, State::Build));
    }
}

bool StateTracker::TrackQuery(const CallArguments& call)
{
    const auto begins = [this](Owner query) {
        if (query != 0) {
            Replaces(SlotOf(query, State::QueryResult));
            Replaces(SampleSlot(query));
            Exists(query);
        }
    };
    // A query comes into being when it is first begun and ended.
    const auto makes = [this](Owner query) {
        if (query != 0 && !Object(query).wasQueried)
            Changes(SlotOf(query, State::Object));
    };
    switch (call.Call()) {
    case CallId::glBeginQuery:
    case CallId::glBeginQueryEXT:
        Info().queries[call.Unsigned(0)] = Find(ObjectKind::Query, call.Unsigned(1));
        begins(Info().queries[call.Unsigned(0)]);
        makes(Info().queries[call.Unsigned(0)]);
        return true;
    case CallId::glEndQuery:
    case CallId::glEndQueryEXT:
        if (const Owner query = std::exchange(Info().queries[call.Unsigned(0)], 0)) {
            makes(query);
            Object(query).wasQueried = true;
            Changes(SlotOf(query, State::QueryResult));
            Reads(SlotOf(query, State::QueryResult));
        }
        return true;
    case CallId::glQueryCounterEXT:
        begins(Find(ObjectKind::Query, call.Unsigned(0)));
        return true;
    case CallId::glBeginConditionalRenderNV:
    case CallId::glEndConditionalRenderNV:
        // Kept, so that a draw that is kept is between the same calls.
        m_log.SetVerdict(Verdict::Keep);
        return true;
    default:
        return false;
    }
}

bool StateTracker::TrackDebug(const CallArguments& call)
{
    std::vector<std::size_t>& groups = Info().debugGroups;
    switch (call.Call()) {
    case CallId::glPushDebugGroup:
    case CallId::glPushDebugGroupKHR:
    case CallId::glPushGroupMarkerEXT:
        groups.push_back(m_log.Count() - 1);
        m_log.SetVerdict(Verdict::Keep);
        return true;
    case CallId::glPopDebugGroup:
    case CallId::glPopDebugGroupKHR:
    case CallId::glPopGroupMarkerEXT:
        // A group that was closed again is of no use to anybody.
        if (!groups.empty()) {
            m_log.SetVerdict(groups.back(), Verdict::Drop);
            groups.pop_back();
        }
        return true;
    case CallId::glDebugMessageControl:
    case CallId::glDebugMessageControlKHR:
    case CallId::glDebugMessageCallback:
    case CallId::glDebugMessageCallbackKHR:
        m_log.SetVerdict(Verdict::Keep);
        return true;
    default:
        return false;
    }
}

Slot StateTracker::BufferSlot(std::uint32_t target)
{
    return target == GL_ELEMENT_ARRAY_BUFFER ? SlotOf(m_state.BoundVertexArray(), State::ElementBuffer)
                                             : ContextSlot(State::Buffer, target);
}

} // namespace Trim
