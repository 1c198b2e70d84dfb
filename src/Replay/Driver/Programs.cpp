#include "Replay/Driver/Programs.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <map>
#include <span>

#include <GLES3/gl32.h>

#include "Replay/Driver/LiveGL.h"

namespace Replay {

namespace {

/// The name of an element of an array; of others the name itself.
std::string ElementName(const ActiveVariable& variable, GLint element)
{
    if (!variable.name.ends_with("[0]"))
        return variable.name;
    return variable.name.substr(0, variable.name.size() - 2) + std::to_string(element) + "]";
}

using Table = Core::GLESProcTable;

struct MatrixType {
    GLenum type;
    void (*Table::*set)(GLint, GLsizei, GLboolean, const GLfloat*);
};
constexpr MatrixType MatrixTypes[] = {
    {GL_FLOAT_MAT2, &Table::glUniformMatrix2fv},     {GL_FLOAT_MAT3, &Table::glUniformMatrix3fv},
    {GL_FLOAT_MAT4, &Table::glUniformMatrix4fv},     {GL_FLOAT_MAT2x3, &Table::glUniformMatrix2x3fv},
    {GL_FLOAT_MAT3x2, &Table::glUniformMatrix3x2fv}, {GL_FLOAT_MAT2x4, &Table::glUniformMatrix2x4fv},
    {GL_FLOAT_MAT4x2, &Table::glUniformMatrix4x2fv}, {GL_FLOAT_MAT3x4, &Table::glUniformMatrix3x4fv},
    {GL_FLOAT_MAT4x3, &Table::glUniformMatrix4x3fv},
};

/// `set` by the number of components.
template <class T>
void SetVector(GLint location, std::span<const double> values,
               const std::array<void (*)(GLint, GLsizei, const T*), 4>& set)
{
    std::array<T, 4> raw = {};
    const std::size_t count = std::min(values.size(), raw.size());
    for (std::size_t i = 0; i < count; ++i)
        raw[i] = static_cast<T>(values[i]);
    if (count > 0 && set[count - 1])
        set[count - 1](location, 1, raw.data());
}

void SetElement(GLint location, GLenum type, std::span<const double> values)
{
    const Table& gl = GL();
    const auto* const matrix = std::ranges::find(MatrixTypes, type, &MatrixType::type);
    if (matrix != std::end(MatrixTypes)) {
        const std::vector<GLfloat> raw(values.begin(), values.end());
        if (gl.*matrix->set)
            (gl.*matrix->set)(location, 1, GL_FALSE, raw.data());
        return;
    }
    switch (DescribeType(type).base) {
    case VariableType::Base::Float:
        SetVector<GLfloat>(location, values, {gl.glUniform1fv, gl.glUniform2fv, gl.glUniform3fv, gl.glUniform4fv});
        break;
    case VariableType::Base::Unsigned:
        SetVector<GLuint>(location, values, {gl.glUniform1uiv, gl.glUniform2uiv, gl.glUniform3uiv, gl.glUniform4uiv});
        break;
    default:
        SetVector<GLint>(location, values, {gl.glUniform1iv, gl.glUniform2iv, gl.glUniform3iv, gl.glUniform4iv});
        break;
    }
}

std::vector<double> UniformValues(GLuint program, GLint location, const VariableType& type)
{
    constexpr std::size_t Most = 16;
    std::vector<double> values(type.Components());
    const auto get = [&]<class T>(void (*function)(GLuint, GLint, T*)) {
        T raw[Most] = {};
        if (function)
            function(program, location, raw);
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = static_cast<double>(raw[i]);
    };
    if (type.base == VariableType::Base::Float)
        get(GL().glGetUniformfv);
    else if (type.base == VariableType::Base::Unsigned)
        get(GL().glGetUniformuiv);
    else
        get(GL().glGetUniformiv);
    return values;
}

bool IsImage(GLenum type)
{
    // GL_IMAGE_1D and GL_UNSIGNED_INT_IMAGE_2D_MULTISAMPLE_ARRAY of GL_ARB_shader_image_load_store.
    constexpr GLenum First = 0x904C;
    constexpr GLenum Last = 0x906C;
    return type >= First && type <= Last;
}

} // namespace

int ProgramParameter(unsigned int program, unsigned int name)
{
    GLint value = 0;
    GL().glGetProgramiv(program, name, &value);
    return value;
}

VariableType DescribeType(unsigned int type)
{
    using enum VariableType::Base;
    // Those that are not listed are samplers and images of buffers and the like, whose value is a unit.
    static const std::map<GLenum, VariableType> types = {
        {GL_FLOAT, {Float, 1, 1}},
        {GL_FLOAT_VEC2, {Float, 1, 2}},
        {GL_FLOAT_VEC3, {Float, 1, 3}},
        {GL_FLOAT_VEC4, {Float, 1, 4}},
        {GL_FLOAT_MAT2, {Float, 2, 2}},
        {GL_FLOAT_MAT3, {Float, 3, 3}},
        {GL_FLOAT_MAT4, {Float, 4, 4}},
        {GL_FLOAT_MAT2x3, {Float, 2, 3}},
        {GL_FLOAT_MAT3x2, {Float, 3, 2}},
        {GL_FLOAT_MAT2x4, {Float, 2, 4}},
        {GL_FLOAT_MAT4x2, {Float, 4, 2}},
        {GL_FLOAT_MAT3x4, {Float, 3, 4}},
        {GL_FLOAT_MAT4x3, {Float, 4, 3}},
        {GL_INT, {Int, 1, 1}},
        {GL_INT_VEC2, {Int, 1, 2}},
        {GL_INT_VEC3, {Int, 1, 3}},
        {GL_INT_VEC4, {Int, 1, 4}},
        {GL_BOOL, {Int, 1, 1}},
        {GL_BOOL_VEC2, {Int, 1, 2}},
        {GL_BOOL_VEC3, {Int, 1, 3}},
        {GL_BOOL_VEC4, {Int, 1, 4}},
        {GL_UNSIGNED_INT, {Unsigned, 1, 1}},
        {GL_UNSIGNED_INT_VEC2, {Unsigned, 1, 2}},
        {GL_UNSIGNED_INT_VEC3, {Unsigned, 1, 3}},
        {GL_UNSIGNED_INT_VEC4, {Unsigned, 1, 4}},
        {GL_SAMPLER_2D, {Unit, 1, 1, GL_TEXTURE_2D}},
        {GL_SAMPLER_2D_SHADOW, {Unit, 1, 1, GL_TEXTURE_2D}},
        {GL_INT_SAMPLER_2D, {Unit, 1, 1, GL_TEXTURE_2D}},
        {GL_UNSIGNED_INT_SAMPLER_2D, {Unit, 1, 1, GL_TEXTURE_2D}},
        {GL_SAMPLER_CUBE, {Unit, 1, 1, GL_TEXTURE_CUBE_MAP}},
        {GL_SAMPLER_CUBE_SHADOW, {Unit, 1, 1, GL_TEXTURE_CUBE_MAP}},
        {GL_INT_SAMPLER_CUBE, {Unit, 1, 1, GL_TEXTURE_CUBE_MAP}},
        {GL_UNSIGNED_INT_SAMPLER_CUBE, {Unit, 1, 1, GL_TEXTURE_CUBE_MAP}},
        {GL_SAMPLER_3D, {Unit, 1, 1, GL_TEXTURE_3D}},
        {GL_INT_SAMPLER_3D, {Unit, 1, 1, GL_TEXTURE_3D}},
        {GL_UNSIGNED_INT_SAMPLER_3D, {Unit, 1, 1, GL_TEXTURE_3D}},
        {GL_SAMPLER_2D_ARRAY, {Unit, 1, 1, GL_TEXTURE_2D_ARRAY}},
        {GL_SAMPLER_2D_ARRAY_SHADOW, {Unit, 1, 1, GL_TEXTURE_2D_ARRAY}},
        {GL_INT_SAMPLER_2D_ARRAY, {Unit, 1, 1, GL_TEXTURE_2D_ARRAY}},
        {GL_UNSIGNED_INT_SAMPLER_2D_ARRAY, {Unit, 1, 1, GL_TEXTURE_2D_ARRAY}},
        {GL_SAMPLER_CUBE_MAP_ARRAY, {Unit, 1, 1, GL_TEXTURE_CUBE_MAP_ARRAY}},
        {GL_SAMPLER_2D_MULTISAMPLE, {Unit, 1, 1, GL_TEXTURE_2D_MULTISAMPLE}},
        {GL_SAMPLER_2D_MULTISAMPLE_ARRAY, {Unit, 1, 1, GL_TEXTURE_2D_MULTISAMPLE_ARRAY}},
    };
    const auto entry = types.find(type);
    return entry != types.end() ? entry->second : VariableType{};
}

double VariableType::Load(const std::uint8_t* at) const
{
    const auto load = [at]<class T>(T value) {
        std::memcpy(&value, at, sizeof value);
        return static_cast<double>(value);
    };
    return base == Base::Float ? load(GLfloat{}) : base == Base::Int ? load(GLint{}) : load(GLuint{});
}

bool IsLinked(unsigned int program)
{
    return ProgramParameter(program, GL_LINK_STATUS) != 0;
}

std::string ProgramLog(unsigned int program)
{
    std::string log(static_cast<std::size_t>(ProgramParameter(program, GL_INFO_LOG_LENGTH)), '\0');
    if (!log.empty())
        GL().glGetProgramInfoLog(program, static_cast<GLsizei>(log.size()), nullptr, log.data());
    return log.substr(0, log.find('\0'));
}

std::vector<std::pair<ActiveVariable, int>> ActiveAttributes(unsigned int program)
{
    std::vector<std::pair<ActiveVariable, int>> all;
    std::string buffer(static_cast<std::size_t>(ProgramParameter(program, GL_ACTIVE_ATTRIBUTE_MAX_LENGTH)) + 1, '\0');
    for (GLint i = 0; i < ProgramParameter(program, GL_ACTIVE_ATTRIBUTES); ++i) {
        GLsizei length = 0;
        ActiveVariable attribute;
        GL().glGetActiveAttrib(program, static_cast<GLuint>(i), static_cast<GLsizei>(buffer.size()), &length,
                               &attribute.count, &attribute.type, buffer.data());
        attribute.name = buffer.substr(0, static_cast<std::size_t>(length));
        const GLint location = GL().glGetAttribLocation(program, attribute.name.c_str());
        all.emplace_back(std::move(attribute), location);
    }
    return all;
}

std::vector<ActiveVariable> ActiveUniforms(unsigned int program)
{
    std::vector<ActiveVariable> all;
    std::string buffer(static_cast<std::size_t>(ProgramParameter(program, GL_ACTIVE_UNIFORM_MAX_LENGTH)) + 1, '\0');
    for (GLint i = 0; i < ProgramParameter(program, GL_ACTIVE_UNIFORMS); ++i) {
        GLsizei length = 0;
        ActiveVariable uniform;
        GL().glGetActiveUniform(program, static_cast<GLuint>(i), static_cast<GLsizei>(buffer.size()), &length,
                                &uniform.count, &uniform.type, buffer.data());
        uniform.name = buffer.substr(0, static_cast<std::size_t>(length));
        all.push_back(std::move(uniform));
    }
    return all;
}

std::optional<std::vector<double>> ValuesOf(unsigned int program, const ActiveVariable& uniform)
{
    const VariableType type = DescribeType(uniform.type);
    std::vector<double> all;
    for (GLint i = 0; i < uniform.count; ++i) {
        const GLint location = GL().glGetUniformLocation(program, ElementName(uniform, i).c_str());
        if (location < 0)
            break;
        const std::vector<double> values = UniformValues(program, location, type);
        all.insert(all.end(), values.begin(), values.end());
    }
    return all.empty() ? std::nullopt : std::optional(std::move(all));
}

void SetValues(unsigned int program, const ActiveVariable& uniform, const std::vector<double>& values)
{
    const std::size_t size = DescribeType(uniform.type).Components();
    if (IsImage(uniform.type))
        return;
    for (std::size_t i = 0; (i + 1) * size <= values.size(); ++i) {
        const auto element = static_cast<GLint>(i);
        const GLint location = GL().glGetUniformLocation(program, ElementName(uniform, element).c_str());
        if (location >= 0)
            SetElement(location, uniform.type, std::span(values).subspan(i * size, size));
    }
}

unsigned int ResourceCount(unsigned int program, unsigned int interface)
{
    GLint count = 0;
    GL().glGetProgramInterfaceiv(program, interface, GL_ACTIVE_RESOURCES, &count);
    return static_cast<GLuint>(std::max(count, 0));
}

std::string ResourceName(unsigned int program, unsigned int interface, unsigned int index)
{
    GLint longest = 0;
    GLsizei length = 0;
    GL().glGetProgramInterfaceiv(program, interface, GL_MAX_NAME_LENGTH, &longest);
    std::string name(static_cast<std::size_t>(longest) + 1, '\0');
    GL().glGetProgramResourceName(program, interface, index, static_cast<GLsizei>(name.size()), &length, name.data());
    name.resize(static_cast<std::size_t>(length));
    return name;
}

int ResourceProperty(unsigned int program, unsigned int interface, unsigned int index, unsigned int property)
{
    GLint value = 0;
    GL().glGetProgramResourceiv(program, interface, index, 1, &property, 1, nullptr, &value);
    return value;
}

bool MayWriteMemory(unsigned int program)
{
    if (!GL().glGetProgramInterfaceiv)
        return false;
    return ResourceCount(program, GL_SHADER_STORAGE_BLOCK) > 0 ||
           ResourceCount(program, GL_ATOMIC_COUNTER_BUFFER) > 0 ||
           std::ranges::any_of(ActiveUniforms(program),
                               [](const ActiveVariable& uniform) { return IsImage(uniform.type); });
}

} // namespace Replay
