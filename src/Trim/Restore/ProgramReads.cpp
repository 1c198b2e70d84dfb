#include "Trim/Restore/ProgramReads.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "Replay/Driver/SamplerTarget.h"
#include "Trim/Restore/LiveGL.h"

namespace Trim {

namespace {

/// Numbers, whose value is no unit; whatever else a uniform may be is a sampler or an image.
bool IsNumeric(GLenum type)
{
    constexpr GLenum Types[] = {
        GL_FLOAT,        GL_FLOAT_VEC2,        GL_FLOAT_VEC3,        GL_FLOAT_VEC4,   GL_INT,
        GL_INT_VEC2,     GL_INT_VEC3,          GL_INT_VEC4,          GL_UNSIGNED_INT, GL_UNSIGNED_INT_VEC2,
        GL_BOOL,         GL_UNSIGNED_INT_VEC3, GL_UNSIGNED_INT_VEC4, GL_BOOL_VEC2,    GL_BOOL_VEC3,
        GL_BOOL_VEC4,    GL_FLOAT_MAT2,        GL_FLOAT_MAT3,        GL_FLOAT_MAT4,   GL_FLOAT_MAT2x3,
        GL_FLOAT_MAT2x4, GL_FLOAT_MAT3x2,      GL_FLOAT_MAT3x4,      GL_FLOAT_MAT4x2, GL_FLOAT_MAT4x3,
    };
    return std::ranges::find(Types, type) != std::end(Types);
}

GLint ProgramParameter(GLuint program, GLenum name)
{
    GLint value = 0;
    GL().glGetProgramiv(program, name, &value);
    return value;
}

std::string NameBuffer(GLuint program, GLenum longest)
{
    return std::string(static_cast<std::size_t>(ProgramParameter(program, longest)) + 1, '\0');
}

void FindUnits(GLuint program, ProgramReads& reads)
{
    std::string buffer = NameBuffer(program, GL_ACTIVE_UNIFORM_MAX_LENGTH);
    for (GLint i = 0; i < ProgramParameter(program, GL_ACTIVE_UNIFORMS); ++i) {
        GLint count = 0;
        GLsizei length = 0;
        GLenum type = 0;
        GL().glGetActiveUniform(program, static_cast<GLuint>(i), static_cast<GLsizei>(buffer.size()), &length, &count,
                                &type, buffer.data());
        std::string name = buffer.substr(0, static_cast<std::size_t>(length));
        const bool isArray = name.ends_with("[0]");
        for (GLint element = 0; !IsNumeric(type) && element < count; ++element) {
            if (isArray)
                name = buffer.substr(0, static_cast<std::size_t>(length) - 2) + std::to_string(element) + "]";
            GLint unit = 0;
            if (const GLint location = GL().glGetUniformLocation(program, name.c_str()); location >= 0)
                GL().glGetUniformiv(program, location, &unit);
            reads.units.insert({static_cast<std::uint32_t>(unit), Replay::SamplerTarget(type)});
        }
    }
}

void FindAttributes(GLuint program, std::set<std::uint32_t>& attributes)
{
    // Columns of a matrix, and elements of an array, have locations of their own.
    constexpr GLint MostColumns = 4;
    std::string buffer = NameBuffer(program, GL_ACTIVE_ATTRIBUTE_MAX_LENGTH);
    for (GLint i = 0; i < ProgramParameter(program, GL_ACTIVE_ATTRIBUTES); ++i) {
        GLint count = 0;
        GLsizei length = 0;
        GLenum type = 0;
        GL().glGetActiveAttrib(program, static_cast<GLuint>(i), static_cast<GLsizei>(buffer.size()), &length, &count,
                               &type, buffer.data());
        const GLint location = GL().glGetAttribLocation(program, buffer.c_str());
        for (GLint k = 0; location >= 0 && k < count * MostColumns; ++k)
            attributes.insert(static_cast<std::uint32_t>(location + k));
    }
}

} // namespace

std::optional<ProgramReads> FindProgramReads()
{
    const auto program = static_cast<GLuint>(GL().glUseProgram ? GetInteger(GL_CURRENT_PROGRAM) : 0);
    if (program == 0)
        return std::nullopt;
    ProgramReads reads;
    FindUnits(program, reads);
    FindAttributes(program, reads.attributes);
    Core::TakeErrors(GL());
    return reads;
}

} // namespace Trim
