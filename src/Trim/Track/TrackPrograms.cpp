// Calls that build programs and set what belongs to them.
#include <algorithm>
#include <string>
#include <utility>

#include "Trim/Track/StateTracker.h"

namespace Trim {

namespace {

using Data::CallId;

} // namespace

bool StateTracker::TrackProgram(const CallArguments& call)
{
    switch (call.Call()) {
    case CallId::glCreateShaderProgramv:
        Changes(SlotOf(Find(ObjectKind::Program, call.Returned()), State::Build));
        return true;
    case CallId::glAttachShader:
    case CallId::glDetachShader: {
        const Owner program = Find(ObjectKind::Program, call.Unsigned(0));
        const Owner shader = Find(ObjectKind::Shader, call.Unsigned(1));
        if (program == 0 || shader == 0)
            return true;
        if (call.Call() == CallId::glAttachShader) {
            Object(program).attached.insert(shader);
            Object(shader).attached.insert(program);
        } else {
            Object(program).attached.erase(shader);
            LetGoOfShader(shader, program);
        }
        Exists(shader);
        return true;
    }
    case CallId::glLinkProgram:
    case CallId::glProgramBinary:
    case CallId::glProgramBinaryOES:
        if (const Owner program = Find(ObjectKind::Program, call.Unsigned(0))) {
            Object(program).locations.clear();
            for (const Owner shader : Object(program).attached)
                ReadsAll(shader);
        }
        return true;
    case CallId::glUseProgramStages:
    case CallId::glActiveShaderProgram: {
        const bool isActive = call.Call() == CallId::glActiveShaderProgram;
        const Owner pipeline = Find(ObjectKind::Pipeline, call.Unsigned(0));
        const Owner program = Find(ObjectKind::Program, call.Unsigned(isActive ? 1 : 2));
        if (pipeline != 0 && program != 0) {
            Refer(pipeline, program);
            Exists(program);
            Reads(SlotOf(program, State::Build));
        }
        return true;
    }
    default:
        return TrackLocation(call);
    }
}

bool StateTracker::TrackLocation(const CallArguments& call)
{
    if (!Data::EffectsOf(call.Call()).asksForLocation)
        return false;
    // Replay learns from the answers what the capture's locations stand for; once is enough.
    std::string question(NameOf(call.Call()));
    question += '/';
    question += call.Text(call.Count() - 1);
    const Owner program = Find(ObjectKind::Program, call.Unsigned(0));
    if (program != 0 && Object(program).locations.insert(question).second) {
        Changes(SlotOf(program, State::Build));
        Reads(SlotOf(program, State::Build));
        Exists(program);
    }
    return true;
}

void StateTracker::LetGoOfShader(Owner shader, Owner program)
{
    Object(shader).attached.erase(program);
    if (Object(shader).isDeleted && Object(shader).attached.empty())
        m_log.Add(Effect::Ends, shader);
}

void StateTracker::EndUnusedProgram(Owner program)
{
    for (const auto& [name, context] : m_state.AllContexts().All()) {
        if (m_state.BoundIn(*context, State::Program) == program)
            return;
    }
    const auto isThere = [this](Owner pipeline) { return !Object(pipeline).isDeleted; };
    if (std::ranges::any_of(Object(program).referencedBy, isThere))
        return;
    m_log.Add(Effect::Ends, program);
    for (const Owner shader : std::exchange(Object(program).attached, {}))
        LetGoOfShader(shader, program);
}

} // namespace Trim
