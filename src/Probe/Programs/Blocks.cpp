#include "Probe/Programs/Blocks.h"

#include <algorithm>

#include "Probe/Contents/ObjectContents.h"
#include "Probe/LiveGL.h"
#include "Replay/Driver/Programs.h"

namespace Probe {

namespace {

BlockVariable StorageVariable(GLuint program, GLuint index)
{
    const auto ask = [&](GLenum property) {
        return Replay::ResourceProperty(program, GL_BUFFER_VARIABLE, index, property);
    };
    return {Replay::ResourceName(program, GL_BUFFER_VARIABLE, index),
            static_cast<GLenum>(ask(GL_TYPE)),
            ask(GL_ARRAY_SIZE),
            ask(GL_OFFSET),
            ask(GL_ARRAY_STRIDE),
            ask(GL_MATRIX_STRIDE),
            ask(GL_IS_ROW_MAJOR) != 0};
}

void AddStorageBlocks(GLuint program, std::vector<ProgramBlock>& all)
{
    constexpr GLenum Interface = GL_SHADER_STORAGE_BLOCK;
    for (GLuint i = 0; i < Replay::ResourceCount(program, Interface); ++i) {
        const auto ask = [&](GLenum property) { return Replay::ResourceProperty(program, Interface, i, property); };
        ProgramBlock block = {
            Replay::ResourceName(program, Interface, i), true, ask(GL_BUFFER_BINDING), ask(GL_BUFFER_DATA_SIZE), {}};
        std::vector<GLint> indices(static_cast<std::size_t>(ask(GL_NUM_ACTIVE_VARIABLES)));
        constexpr GLenum Active = GL_ACTIVE_VARIABLES;
        GL().glGetProgramResourceiv(program, Interface, i, 1, &Active, static_cast<GLsizei>(indices.size()), nullptr,
                                    indices.data());
        for (const GLint index : indices)
            block.variables.push_back(StorageVariable(program, static_cast<GLuint>(index)));
        all.push_back(std::move(block));
    }
}

GLint BlockParameter(GLuint program, GLuint block, GLenum name)
{
    GLint value = 0;
    GL().glGetActiveUniformBlockiv(program, block, name, &value);
    return value;
}

void AddUniformBlocks(GLuint program, std::vector<ProgramBlock>& all)
{
    const std::vector<Replay::ActiveVariable> uniforms = Replay::ActiveUniforms(program);
    for (UniformBlock& named : UniformBlocksOf(program)) {
        const auto i = static_cast<GLuint>(all.size());
        ProgramBlock block = {
            std::move(named.name), false, named.binding, BlockParameter(program, i, GL_UNIFORM_BLOCK_DATA_SIZE), {}};
        const GLint count = BlockParameter(program, i, GL_UNIFORM_BLOCK_ACTIVE_UNIFORMS);
        std::vector<GLint> indices(static_cast<std::size_t>(count));
        GL().glGetActiveUniformBlockiv(program, i, GL_UNIFORM_BLOCK_ACTIVE_UNIFORM_INDICES, indices.data());
        for (const GLint index : indices) {
            const auto ask = [program, uniform = static_cast<GLuint>(index)](GLenum name) {
                GLint value = 0;
                GL().glGetActiveUniformsiv(program, 1, &uniform, name, &value);
                return value;
            };
            const auto& [name, elements, type] = uniforms.at(static_cast<std::size_t>(index));
            block.variables.push_back({name, type, elements, ask(GL_UNIFORM_OFFSET), ask(GL_UNIFORM_ARRAY_STRIDE),
                                       ask(GL_UNIFORM_MATRIX_STRIDE), ask(GL_UNIFORM_IS_ROW_MAJOR) != 0});
        }
        all.push_back(std::move(block));
    }
}

} // namespace

std::vector<UniformBlock> UniformBlocksOf(unsigned int program)
{
    std::vector<UniformBlock> all;
    if (!GL().glGetActiveUniformBlockName)
        return all;
    std::string name(
        static_cast<std::size_t>(Replay::ProgramParameter(program, GL_ACTIVE_UNIFORM_BLOCK_MAX_NAME_LENGTH)) + 1, '\0');
    for (GLint i = 0; i < Replay::ProgramParameter(program, GL_ACTIVE_UNIFORM_BLOCKS); ++i) {
        const auto block = static_cast<GLuint>(i);
        const GLint binding = BlockParameter(program, block, GL_UNIFORM_BLOCK_BINDING);
        GLint buffer = 0;
        GLsizei length = 0;
        GL().glGetActiveUniformBlockName(program, block, static_cast<GLsizei>(name.size()), &length, name.data());
        GL().glGetIntegeri_v(GL_UNIFORM_BUFFER_BINDING, static_cast<GLuint>(binding), &buffer);
        all.push_back({name.substr(0, static_cast<std::size_t>(length)), binding, static_cast<GLuint>(buffer)});
    }
    return all;
}

std::vector<ProgramBlock> BlocksOf(unsigned int program)
{
    std::vector<ProgramBlock> all;
    AddUniformBlocks(program, all);
    if (Core::GetVersion(GL()) >= 31 && GL().glGetProgramInterfaceiv && GL().glGetProgramResourceiv &&
        GL().glGetProgramResourceName)
        AddStorageBlocks(program, all);
    Core::TakeErrors(GL());
    return all;
}

BlockContents::BlockContents(const ProgramBlock& block)
{
    const auto binding = static_cast<GLuint>(block.binding);
    GLint buffer = 0;
    GLint64 start = 0;
    GL().glGetIntegeri_v(GL_UNIFORM_BUFFER_BINDING, binding, &buffer);
    GL().glGetInteger64i_v(GL_UNIFORM_BUFFER_START, binding, &start);
    m_start = start;
    if (buffer != 0)
        m_bytes = ReadBuffer(static_cast<GLuint>(buffer)).data;
}

std::vector<double> BlockContents::ValuesOf(const BlockVariable& variable) const
{
    constexpr int Most = 256;
    constexpr std::int64_t Word = 4;
    const Replay::VariableType type = Replay::DescribeType(variable.type);
    std::vector<double> values;
    for (int element = 0; element < std::min(variable.count, Most); ++element) {
        for (std::size_t i = 0; i < type.Components(); ++i) {
            const auto column = static_cast<int>(i / type.rows);
            const auto row = static_cast<int>(i % type.rows);
            const std::int64_t at = PlaceOf(variable) + std::int64_t{element} * variable.arrayStride +
                                    (variable.isRowMajor ? row * variable.matrixStride + column * Word
                                                         : column * variable.matrixStride + row * Word);
            if (at < 0 || at + Word > static_cast<std::int64_t>(m_bytes.size()))
                return values;
            values.push_back(type.Load(m_bytes.data() + at));
        }
    }
    return values;
}

} // namespace Probe
