#include "Probe/Programs/BlockValues.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <utility>

#include "Probe/Contents/ObjectContents.h"
#include "Probe/LiveGL.h"
#include "Replay/Driver/Programs.h"

namespace Probe {

namespace {

struct Block {
    std::string name;
    GLuint buffer = 0;
    GLint64 start = 0;
};

Block BlockAt(GLuint program, GLint index)
{
    const auto block = static_cast<GLuint>(index);
    char name[256] = {};
    GLint binding = 0;
    GLint buffer = 0;
    GL().glGetActiveUniformBlockName(program, block, sizeof name, nullptr, name);
    GL().glGetActiveUniformBlockiv(program, block, GL_UNIFORM_BLOCK_BINDING, &binding);
    GL().glGetIntegeri_v(GL_UNIFORM_BUFFER_BINDING, static_cast<GLuint>(binding), &buffer);
    Block found = {name, static_cast<GLuint>(buffer)};
    if (GL().glGetInteger64i_v)
        GL().glGetInteger64i_v(GL_UNIFORM_BUFFER_START, static_cast<GLuint>(binding), &found.start);
    return found;
}

/// Where the values of a uniform lie, in bytes.
struct Layout {
    GLint count = 1;
    GLenum type = GL_FLOAT;
    GLint arrayStride = 0;
    GLint matrixStride = 0;
    bool isRowMajor = false;
};

void ReadValues(const std::vector<std::uint8_t>& bytes, const Layout& layout, BlockUniform& uniform)
{
    constexpr GLint Most = 256;
    const Replay::VariableType type = Replay::DescribeType(layout.type);
    for (GLint element = 0; element < std::min(layout.count, Most); ++element) {
        for (std::size_t i = 0; i < type.Components(); ++i) {
            const auto column = static_cast<GLint>(i / type.rows);
            const auto row = static_cast<GLint>(i % type.rows);
            constexpr GLint Word = 4;
            const std::int64_t at = uniform.offset + std::int64_t{element} * layout.arrayStride +
                                    (layout.isRowMajor ? row * layout.matrixStride + column * Word
                                                       : column * layout.matrixStride + row * Word);
            if (at < 0 || at + Word > static_cast<std::int64_t>(bytes.size()))
                return;
            uniform.values.push_back(type.Load(bytes.data() + at));
        }
    }
}

} // namespace

std::vector<BlockUniform> BlockUniforms(unsigned int program)
{
    std::vector<BlockUniform> all;
    if (!GL().glGetActiveUniformsiv || !GL().glGetActiveUniformBlockName)
        return all;
    std::map<GLuint, std::vector<std::uint8_t>> buffers;
    const std::vector<Replay::ActiveVariable> uniforms = Replay::ActiveUniforms(program);
    for (std::size_t i = 0; i < uniforms.size(); ++i) {
        const auto ask = [&, index = static_cast<GLuint>(i)](GLenum what) {
            GLint value = 0;
            GL().glGetActiveUniformsiv(program, 1, &index, what, &value);
            return value;
        };
        const GLint index = ask(GL_UNIFORM_BLOCK_INDEX);
        if (index < 0)
            continue;
        const Block block = BlockAt(program, index);
        BlockUniform uniform = {uniforms[i].name, block.name, block.start + ask(GL_UNIFORM_OFFSET)};
        const auto [contents, isNew] = buffers.try_emplace(block.buffer);
        if (isNew && block.buffer != 0)
            contents->second = ReadBuffer(block.buffer).data;
        ReadValues(contents->second,
                   {uniforms[i].count, uniforms[i].type, ask(GL_UNIFORM_ARRAY_STRIDE), ask(GL_UNIFORM_MATRIX_STRIDE),
                    ask(GL_UNIFORM_IS_ROW_MAJOR) != 0},
                   uniform);
        all.push_back(std::move(uniform));
    }
    return all;
}

} // namespace Probe
