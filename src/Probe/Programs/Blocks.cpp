#include "Probe/Programs/Blocks.h"

#include <array>
#include <span>

#include "Probe/LiveGL.h"

namespace Probe {

namespace {

/// Resources of a program of one kind.
class Resources {
public:
    Resources(GLuint program, GLenum interface) : m_program(program), m_interface(interface) {}

    [[nodiscard]] GLint Get(GLenum parameter) const
    {
        GLint value = 0;
        GL().glGetProgramInterfaceiv(m_program, m_interface, parameter, &value);
        return value;
    }
    [[nodiscard]] std::string NameOf(GLuint index) const
    {
        std::string name(static_cast<std::size_t>(Get(GL_MAX_NAME_LENGTH)) + 1, '\0');
        GLsizei length = 0;
        GL().glGetProgramResourceName(m_program, m_interface, index, static_cast<GLsizei>(name.size()), &length,
                                      name.data());
        name.resize(static_cast<std::size_t>(length));
        return name;
    }
    void Ask(GLuint index, std::span<const GLenum> properties, std::span<GLint> values) const
    {
        GL().glGetProgramResourceiv(m_program, m_interface, index, static_cast<GLsizei>(properties.size()),
                                    properties.data(), static_cast<GLsizei>(values.size()), nullptr, values.data());
    }

private:
    GLuint m_program;
    GLenum m_interface;
};

BlockVariable ReadVariable(const Resources& variables, GLuint index)
{
    constexpr std::array Properties = {GLenum{GL_TYPE},         GLenum{GL_ARRAY_SIZE},    GLenum{GL_OFFSET},
                                       GLenum{GL_ARRAY_STRIDE}, GLenum{GL_MATRIX_STRIDE}, GLenum{GL_IS_ROW_MAJOR}};
    std::array<GLint, Properties.size()> values = {};
    variables.Ask(index, Properties, values);
    return {variables.NameOf(index), values[0], values[1], values[2], values[3], values[4], values[5]};
}

void ReadBlocks(GLuint program, bool isStorage, std::vector<ProgramBlock>& all)
{
    constexpr std::array Properties = {GLenum{GL_BUFFER_BINDING}, GLenum{GL_BUFFER_DATA_SIZE},
                                       GLenum{GL_NUM_ACTIVE_VARIABLES}};
    constexpr std::array Active = {GLenum{GL_ACTIVE_VARIABLES}};
    const Resources blocks(program, isStorage ? GL_SHADER_STORAGE_BLOCK : GL_UNIFORM_BLOCK);
    const Resources variables(program, isStorage ? GL_BUFFER_VARIABLE : GL_UNIFORM);
    for (GLuint i = 0; i < static_cast<GLuint>(blocks.Get(GL_ACTIVE_RESOURCES)); ++i) {
        std::array<GLint, Properties.size()> values = {};
        blocks.Ask(i, Properties, values);
        ProgramBlock block = {blocks.NameOf(i), isStorage, values[0], values[1], {}};
        std::vector<GLint> indices(static_cast<std::size_t>(values[2]));
        blocks.Ask(i, Active, indices);
        for (const GLint index : indices)
            block.variables.push_back(ReadVariable(variables, static_cast<GLuint>(index)));
        all.push_back(std::move(block));
    }
}

} // namespace

std::vector<ProgramBlock> BlocksOf(unsigned int program)
{
    std::vector<ProgramBlock> all;
    if (Core::GetVersion(GL()) < 31 || !GL().glGetProgramInterfaceiv || !GL().glGetProgramResourceiv ||
        !GL().glGetProgramResourceName)
        return all;
    ReadBlocks(program, false, all);
    ReadBlocks(program, true, all);
    Core::TakeErrors(GL());
    return all;
}

} // namespace Probe
