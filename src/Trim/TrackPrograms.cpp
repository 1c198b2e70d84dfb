// Calls that build programs and set what belongs to them.
#include <algorithm>
#include <array>

#include <GLES3/gl32.h>

#include "Data/CallTable.h"
#include "Trim/StateTracker.h"

namespace Trim {

namespace {

using Data::CallId;

enum class UniformCall : std::uint8_t { None, OfProgramInUse, OfNamedProgram };

/// glUniform1f, glUniformMatrix4fv, glProgramUniform2uiv and so on.
UniformCall UniformCallOf(CallId call)
{
    static const std::array<UniformCall, Data::callCount> byCall = [] {
        std::array<UniformCall, Data::callCount> table{};
        for (std::size_t i = 0; i < Data::callCount; ++i) {
            const std::string_view name = Data::callTable[i].name;
            if (name.starts_with("glProgramUniform"))
                table[i] = UniformCall::OfNamedProgram;
            else if (name.starts_with("glUniform") && name != "glUniformBlockBinding")
                table[i] = UniformCall::OfProgramInUse;
        }
        return table;
    }();
    return byCall[static_cast<std::size_t>(call)];
}

/// Values that glUniform calls set: 1, or the count of an array call, whose next argument is the memory.
std::uint32_t UniformCount(const CallArguments& call, std::size_t location)
{
    const bool isArray = Data::ParametersOf(call.Call())[call.Count() - 1].form == Data::ParameterForm::Array;
    return isArray ? call.Unsigned(location + 1) : 1;
}

} // namespace

bool StateTracker::TrackUniform(const CallArguments& call)
{
    const UniformCall kind = UniformCallOf(call.Call());
    if (kind == UniformCall::None)
        return false;
    const std::size_t location = kind == UniformCall::OfNamedProgram ? 1 : 0;
    // As the standard has it, location -1 is ignored.
    if (call.Signed(location) == -1)
        return true;
    const Owner program = location == 0 ? Value(Piece::Program) : Find(ObjectKind::Program, call.Unsigned(0));
    if (program == 0)
        return false; // the active program of a pipeline
    // Only what sets the same values in the same way makes an earlier call superfluous.
    const std::uint32_t count = UniformCount(call, location);
    const Slot slot = m_slots.At(program, Piece::Uniform, call.Unsigned(location),
                                 static_cast<std::uint32_t>(call.Call()) << 16 | (count & 0xFFFF));
    if (count <= 0xFFFF)
        Replaces(slot);
    else
        Changes(slot);
    if (location == 0)
        Reads(ContextSlot(Piece::Program));
    Exists(program);
    Reads(m_slots.At(program, Piece::Build));
    return true;
}

bool StateTracker::TrackProgram(const CallArguments& call)
{
    // Each step of building an object depends on those before.
    const auto build = [this](ObjectKind kind, std::uint32_t name) {
        const Owner owner = Find(kind, name);
        if (owner != 0) {
            Changes(m_slots.At(owner, Piece::Build));
            Reads(m_slots.At(owner, Piece::Build));
            Exists(owner);
        }
        return owner;
    };
    switch (call.Call()) {
    case CallId::glCreateShader:
        Create(ObjectKind::Shader, call.Returned());
        return true;
    case CallId::glCreateProgram:
        Create(ObjectKind::Program, call.Returned());
        return true;
    case CallId::glCreateShaderProgramv:
        Create(ObjectKind::Program, call.Returned());
        build(ObjectKind::Program, call.Returned());
        return true;
    case CallId::glDeleteShader:
        Delete(ObjectKind::Shader, call.Unsigned(0));
        return true;
    case CallId::glDeleteProgram:
        Delete(ObjectKind::Program, call.Unsigned(0));
        return true;

    case CallId::glShaderSource:
    case CallId::glCompileShader:
        build(ObjectKind::Shader, call.Unsigned(0));
        return true;
    case CallId::glBindAttribLocation:
    case CallId::glBindFragDataLocationEXT:
    case CallId::glBindFragDataLocationIndexedEXT:
    case CallId::glProgramParameteri:
    case CallId::glTransformFeedbackVaryings:
        build(ObjectKind::Program, call.Unsigned(0));
        return true;
    case CallId::glAttachShader:
    case CallId::glDetachShader: {
        const Owner program = build(ObjectKind::Program, call.Unsigned(0));
        const Owner shader = Find(ObjectKind::Shader, call.Unsigned(1));
        if (program == 0 || shader == 0)
            return true;
        if (call.Call() == CallId::glAttachShader) {
            m_objects[program].attached.insert(shader);
            m_objects[shader].attached.insert(program);
        } else {
            m_objects[program].attached.erase(shader);
            LetGoOfShader(shader, program);
        }
        Exists(shader);
        return true;
    }
    case CallId::glLinkProgram:
    case CallId::glProgramBinary:
    case CallId::glProgramBinaryOES:
        if (const Owner program = build(ObjectKind::Program, call.Unsigned(0))) {
            m_objects[program].locations.clear();
            for (const Owner shader : m_objects[program].attached)
                ReadsAll(shader);
        }
        return true;

    case CallId::glGetAttribLocation:
    case CallId::glGetFragDataIndexEXT:
    case CallId::glGetFragDataLocation:
    case CallId::glGetProgramResourceIndex:
    case CallId::glGetProgramResourceLocation:
    case CallId::glGetProgramResourceLocationIndexEXT:
    case CallId::glGetUniformBlockIndex:
    case CallId::glGetUniformLocation: {
        // Replay learns from the answers what the capture's locations stand for; once is enough.
        std::string question(NameOf(call.Call()));
        question += '/';
        question += call.Text(call.Count() - 1);
        const Owner program = Find(ObjectKind::Program, call.Unsigned(0));
        if (program != 0 && m_objects[program].locations.insert(question).second)
            build(ObjectKind::Program, call.Unsigned(0));
        return true;
    }

    case CallId::glUniformBlockBinding:
        if (const Owner program = Find(ObjectKind::Program, call.Unsigned(0))) {
            Replaces(m_slots.At(program, Piece::Setting, static_cast<std::uint32_t>(call.Call()), call.Unsigned(1)));
            Reads(m_slots.At(program, Piece::Build));
            Exists(program);
        }
        return true;

    case CallId::glUseProgramStages:
    case CallId::glActiveShaderProgram: {
        const bool isActive = call.Call() == CallId::glActiveShaderProgram;
        const Owner pipeline = build(ObjectKind::Pipeline, call.Unsigned(0));
        const Owner program = Find(ObjectKind::Program, call.Unsigned(isActive ? 1 : 2));
        if (pipeline != 0 && program != 0) {
            Refer(pipeline, program);
            Exists(program);
            Reads(m_slots.At(program, Piece::Build));
        }
        return true;
    }
    default:
        return false;
    }
}

void StateTracker::LetGoOfShader(Owner shader, Owner program)
{
    m_objects[shader].attached.erase(program);
    if (m_objects[shader].isDeleted && m_objects[shader].attached.empty())
        m_log.Add(Effect::Ends, shader);
}

void StateTracker::EndUnusedProgram(Owner program)
{
    for (const auto& [name, context] : m_contexts) {
        if (m_slots.Value(m_slots.At(context->owner, Piece::Program)) == program)
            return;
    }
    const auto isThere = [this](Owner pipeline) { return !m_objects[pipeline].isDeleted; };
    if (std::ranges::any_of(m_objects[program].referencedBy, isThere))
        return;
    m_log.Add(Effect::Ends, program);
    for (const Owner shader : std::exchange(m_objects[program].attached, {}))
        LetGoOfShader(shader, program);
}

} // namespace Trim
