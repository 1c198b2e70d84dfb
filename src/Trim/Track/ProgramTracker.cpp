#include "Trim/Track/ProgramTracker.h"

#include <string>

namespace Trim {

using Data::CallId;

bool ProgramTracker::Track(const CallArguments& call)
{
    switch (call.Call()) {
    case CallId::glCreateShaderProgramv:
        m_tracked.Changes(m_tracked.SlotOf(m_tracked.Find(ObjectKind::Program, call.Returned()), State::Build));
        return true;
    case CallId::glAttachShader:
    case CallId::glDetachShader: {
        const Owner program = m_tracked.Find(ObjectKind::Program, call.Unsigned(0));
        const Owner shader = m_tracked.Find(ObjectKind::Shader, call.Unsigned(1));
        if (program == 0 || shader == 0)
            return true;
        if (call.Call() == CallId::glAttachShader) {
            m_tracked.Object(program).attached.insert(shader);
            m_tracked.Object(shader).attached.insert(program);
        } else {
            m_tracked.Object(program).attached.erase(shader);
            m_objects.LetGoOfShader(shader, program);
        }
        m_tracked.Exists(shader);
        return true;
    }
    case CallId::glLinkProgram:
    case CallId::glProgramBinary:
    case CallId::glProgramBinaryOES:
        if (const Owner program = m_tracked.Find(ObjectKind::Program, call.Unsigned(0))) {
            m_tracked.Object(program).locations.clear();
            for (const Owner shader : m_tracked.Object(program).attached)
                m_tracked.ReadsAll(shader);
        }
        return true;
    case CallId::glUseProgramStages:
    case CallId::glActiveShaderProgram: {
        const bool isActive = call.Call() == CallId::glActiveShaderProgram;
        const Owner pipeline = m_tracked.Find(ObjectKind::Pipeline, call.Unsigned(0));
        const Owner program = m_tracked.Find(ObjectKind::Program, call.Unsigned(isActive ? 1 : 2));
        if (pipeline != 0 && program != 0) {
            m_tracked.Refer(pipeline, program);
            m_tracked.Exists(program);
            m_tracked.Reads(m_tracked.SlotOf(program, State::Build));
        }
        return true;
    }
    default:
        return TrackLocation(call);
    }
}

bool ProgramTracker::TrackLocation(const CallArguments& call)
{
    if (!Data::EffectsOf(call.Call()).asksForLocation)
        return false;
    // Replay learns from the answers what the capture's locations stand for; once is enough.
    std::string question(NameOf(call.Call()));
    question += '/';
    question += call.Text(call.Count() - 1);
    const Owner program = m_tracked.Find(ObjectKind::Program, call.Unsigned(0));
    if (program != 0 && m_tracked.Object(program).locations.insert(question).second) {
        m_tracked.Changes(m_tracked.SlotOf(program, State::Build));
        m_tracked.Reads(m_tracked.SlotOf(program, State::Build));
        m_tracked.Exists(program);
    }
    return true;
}

} // namespace Trim
