#include "Replay/Driver/ProgramsInUse.h"

#include <algorithm>
#include <iterator>

#include <GLES3/gl32.h>

#include "Interfaces/GLState.h"
#include "Replay/Driver/LiveGL.h"

namespace Replay {

namespace {

constexpr PipelineStage Stages[] = {
    {GL_VERTEX_SHADER, GL_VERTEX_SHADER_BIT},
    {GL_FRAGMENT_SHADER, GL_FRAGMENT_SHADER_BIT},
    {GL_COMPUTE_SHADER, GL_COMPUTE_SHADER_BIT},
    {GL_GEOMETRY_SHADER, GL_GEOMETRY_SHADER_BIT},
    {GL_TESS_CONTROL_SHADER, GL_TESS_CONTROL_SHADER_BIT},
    {GL_TESS_EVALUATION_SHADER, GL_TESS_EVALUATION_SHADER_BIT},
};

} // namespace

std::span<const PipelineStage> PipelineStages()
{
    constexpr std::size_t First = 3; // of OpenGL ES 3.1
    return std::span(Stages).first(Core::GetVersion(GL()) >= 32 ? std::size(Stages) : First);
}

unsigned int PipelineInUse()
{
    const bool mayBe = Core::GetInteger(GL(), GL_CURRENT_PROGRAM) == 0 && Core::GetVersion(GL()) >= 31;
    return mayBe ? static_cast<GLuint>(Core::GetInteger(GL(), GL_PROGRAM_PIPELINE_BINDING)) : 0;
}

unsigned int ProgramOfStage(unsigned int pipeline, unsigned int type)
{
    GLint program = 0;
    GL().glGetProgramPipelineiv(pipeline, type, &program);
    return static_cast<GLuint>(program);
}

std::vector<unsigned int> ProgramsInUse()
{
    std::vector<unsigned int> programs;
    const auto add = [&](unsigned int program) {
        if (program != 0 && std::ranges::find(programs, program) == programs.end())
            programs.push_back(program);
    };
    if (const GLuint pipeline = PipelineInUse(); pipeline != 0)
        for (const PipelineStage& stage : PipelineStages())
            add(ProgramOfStage(pipeline, stage.type));
    else
        add(static_cast<GLuint>(Core::GetInteger(GL(), GL_CURRENT_PROGRAM)));
    return programs;
}

} // namespace Replay
