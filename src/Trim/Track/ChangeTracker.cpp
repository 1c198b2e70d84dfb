#include "Trim/Track/ChangeTracker.h"

namespace Trim {

using Data::CallId;
using Data::ChangeKind;
using Data::StateChange;
using Data::StatePlace;

bool ChangeTracker::Track(const CallArguments& call)
{
    const Owner program = m_tracked.Model().Bound(State::Program);
    bool isKnown = Data::EffectsOf(call.Call()).setsNothing;
    for (const StateChange& change : Data::ChangesOf(call.Call()))
        isKnown |= !Data::StateModel::IsMet(change, call) || TrackChange(change, call);
    if (isKnown)
        ReadsBuilder(call);
    for (const Slot selector : m_tracked.Model().Selectors())
        m_tracked.Reads(selector);
    if (call.Call() == CallId::glBindTexture)
        m_tracked.Object(m_tracked.Find(ObjectKind::Texture, call.Unsigned(1))).target = call.Unsigned(0);
    if (call.Call() == CallId::glUseProgram && m_tracked.Object(program).isDeleted)
        m_objects.EndUnusedProgram(program);
    return isKnown;
}

bool ChangeTracker::TrackChange(const StateChange& change, const CallArguments& call)
{
    const StatePlace place = m_tracked.Model().PlaceOf(change, call);
    if (change.state == State::Uniform && change.kind == ChangeKind::Set)
        return TrackUniform(place, call);
    // A program that is linked has other uniforms: setting them depends on how it was built.
    if (change.kind == ChangeKind::Reset || place.owner == 0)
        return true;
    if (place.owner != m_tracked.Context().owner)
        m_tracked.Exists(place.owner);
    if (change.kind == ChangeKind::Change) {
        m_tracked.Changes(m_tracked.SlotOf(place.owner, change.state));
        m_tracked.Reads(m_tracked.SlotOf(place.owner, change.state));
        return true;
    }
    m_tracked.Model().Apply(change, call);
    for (std::uint32_t i = 0; i < place.count; ++i) {
        const Slot slot = m_tracked.SlotOf(place.owner, change.state, place.first, place.second + i);
        m_tracked.Replaces(slot);
        TrackBinding(place, slot);
    }
    return true;
}

void ChangeTracker::TrackBinding(const StatePlace& place, Slot slot)
{
    const Owner bound = m_tracked.Slots().ValueOf(slot).bound;
    if (bound == 0)
        return;
    m_tracked.Exists(bound);
    if (place.owner != m_tracked.Context().owner)
        m_tracked.Refer(place.owner, bound);
    const State state = m_tracked.Slots().StateOf(slot);
    const bool isPart = state == State::Attachment || state == State::StageProgram || state == State::ActiveProgram;
    if (!isPart && !m_tracked.Object(bound).wasBound) {
        m_tracked.Object(bound).wasBound = true;
        // Kept with the object, even when something else is bound before it is used.
        m_tracked.Changes(m_tracked.SlotOf(bound, State::Object));
    }
}

bool ChangeTracker::TrackUniform(const StatePlace& place, const CallArguments& call)
{
    // As the standard has it, location -1 is ignored.
    if (place.second == ~0u)
        return true;
    if (place.owner == 0)
        return false; // the active program of a pipeline
    // Only what sets the same values in the same way makes an earlier call superfluous.
    constexpr std::uint32_t Most = 0xFFFF;
    const Slot slot = m_tracked.SlotOf(place.owner, State::Uniform, place.second,
                                       static_cast<std::uint32_t>(call.Call()) << 16 | (place.count & Most));
    if (place.count <= Most)
        m_tracked.Replaces(slot);
    else
        m_tracked.Changes(slot);
    return true;
}

void ChangeTracker::ReadsBuilder(const CallArguments& call)
{
    const Data::Operand& builder = Data::EffectsOf(call.Call()).builder;
    const Owner program = m_tracked.Model().OwnerOf(builder, call);
    if (program != 0) {
        m_tracked.Exists(program);
        m_tracked.Reads(m_tracked.SlotOf(program, State::Build));
    }
}

} // namespace Trim
