#include "Probe/Inputs.h"

#include <map>
#include <optional>

#include <GLES3/gl32.h>
#include <xxhash.h>

#include "Data/Records/Actions.h"
#include "Interfaces/Core.h"
#include "Interfaces/GLFramebuffers.h"
#include "Probe/ObjectContents.h"

namespace Probe {

namespace {

using Data::ObjectKind;

const Core::GLESProcTable& GL()
{
    return Core::KHRLayer::GLESProc();
}

/// What the type of a uniform means.
struct UniformType {
    enum Base : std::uint8_t { Float, Int, Unsigned, Sampler };
    Base base = Float;
    std::size_t components = 1;
    /// Of a sampler.
    GLenum target = 0;
};

UniformType DescribeType(GLenum type)
{
    using enum UniformType::Base;
    // Those that are not listed are samplers and images of buffers and the like, whose value is a unit.
    static const std::map<GLenum, UniformType> types = {
        {GL_FLOAT, {Float, 1}},
        {GL_FLOAT_VEC2, {Float, 2}},
        {GL_FLOAT_VEC3, {Float, 3}},
        {GL_FLOAT_VEC4, {Float, 4}},
        {GL_FLOAT_MAT2, {Float, 4}},
        {GL_FLOAT_MAT3, {Float, 9}},
        {GL_FLOAT_MAT4, {Float, 16}},
        {GL_FLOAT_MAT2x3, {Float, 6}},
        {GL_FLOAT_MAT3x2, {Float, 6}},
        {GL_FLOAT_MAT2x4, {Float, 8}},
        {GL_FLOAT_MAT4x2, {Float, 8}},
        {GL_FLOAT_MAT3x4, {Float, 12}},
        {GL_FLOAT_MAT4x3, {Float, 12}},
        {GL_INT, {Int, 1}},
        {GL_INT_VEC2, {Int, 2}},
        {GL_INT_VEC3, {Int, 3}},
        {GL_INT_VEC4, {Int, 4}},
        {GL_BOOL, {Int, 1}},
        {GL_BOOL_VEC2, {Int, 2}},
        {GL_BOOL_VEC3, {Int, 3}},
        {GL_BOOL_VEC4, {Int, 4}},
        {GL_UNSIGNED_INT, {Unsigned, 1}},
        {GL_UNSIGNED_INT_VEC2, {Unsigned, 2}},
        {GL_UNSIGNED_INT_VEC3, {Unsigned, 3}},
        {GL_UNSIGNED_INT_VEC4, {Unsigned, 4}},
        {GL_SAMPLER_2D, {Sampler, 1, GL_TEXTURE_2D}},
        {GL_SAMPLER_2D_SHADOW, {Sampler, 1, GL_TEXTURE_2D}},
        {GL_INT_SAMPLER_2D, {Sampler, 1, GL_TEXTURE_2D}},
        {GL_UNSIGNED_INT_SAMPLER_2D, {Sampler, 1, GL_TEXTURE_2D}},
        {GL_SAMPLER_CUBE, {Sampler, 1, GL_TEXTURE_CUBE_MAP}},
        {GL_SAMPLER_CUBE_SHADOW, {Sampler, 1, GL_TEXTURE_CUBE_MAP}},
        {GL_INT_SAMPLER_CUBE, {Sampler, 1, GL_TEXTURE_CUBE_MAP}},
        {GL_UNSIGNED_INT_SAMPLER_CUBE, {Sampler, 1, GL_TEXTURE_CUBE_MAP}},
        {GL_SAMPLER_3D, {Sampler, 1, GL_TEXTURE_3D}},
        {GL_INT_SAMPLER_3D, {Sampler, 1, GL_TEXTURE_3D}},
        {GL_UNSIGNED_INT_SAMPLER_3D, {Sampler, 1, GL_TEXTURE_3D}},
        {GL_SAMPLER_2D_ARRAY, {Sampler, 1, GL_TEXTURE_2D_ARRAY}},
        {GL_SAMPLER_2D_ARRAY_SHADOW, {Sampler, 1, GL_TEXTURE_2D_ARRAY}},
        {GL_INT_SAMPLER_2D_ARRAY, {Sampler, 1, GL_TEXTURE_2D_ARRAY}},
        {GL_UNSIGNED_INT_SAMPLER_2D_ARRAY, {Sampler, 1, GL_TEXTURE_2D_ARRAY}},
        {GL_SAMPLER_CUBE_MAP_ARRAY, {Sampler, 1, GL_TEXTURE_CUBE_MAP_ARRAY}},
        {GL_SAMPLER_2D_MULTISAMPLE, {Sampler, 1, GL_TEXTURE_2D_MULTISAMPLE}},
        {GL_SAMPLER_2D_MULTISAMPLE_ARRAY, {Sampler, 1, GL_TEXTURE_2D_MULTISAMPLE_ARRAY}},
    };
    const auto entry = types.find(type);
    return entry != types.end() ? entry->second : UniformType{Sampler, 1, 0};
}

GLint ProgramParameter(GLuint program, GLenum name)
{
    GLint value = 0;
    GL().glGetProgramiv(program, name, &value);
    return value;
}

std::vector<double> UniformValues(GLuint program, GLint location, const UniformType& type)
{
    constexpr std::size_t Most = 16;
    std::vector<double> values(type.components);
    const auto get = [&]<class T>(void (*function)(GLuint, GLint, T*)) {
        T raw[Most] = {};
        if (function)
            function(program, location, raw);
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = static_cast<double>(raw[i]);
    };
    if (type.base == UniformType::Float)
        get(GL().glGetUniformfv);
    else if (type.base == UniformType::Unsigned)
        get(GL().glGetUniformuiv);
    else
        get(GL().glGetUniformiv);
    return values;
}

struct ActiveUniform {
    std::string name;
    GLint count = 0;
    GLenum type = 0;
};

std::vector<ActiveUniform> ActiveUniforms(GLuint program)
{
    std::vector<ActiveUniform> all;
    std::string buffer(static_cast<std::size_t>(ProgramParameter(program, GL_ACTIVE_UNIFORM_MAX_LENGTH)) + 1, '\0');
    for (GLint i = 0; i < ProgramParameter(program, GL_ACTIVE_UNIFORMS); ++i) {
        GLsizei length = 0;
        ActiveUniform uniform;
        GL().glGetActiveUniform(program, static_cast<GLuint>(i), static_cast<GLsizei>(buffer.size()), &length,
                                &uniform.count, &uniform.type, buffer.data());
        uniform.name = buffer.substr(0, static_cast<std::size_t>(length));
        all.push_back(std::move(uniform));
    }
    return all;
}

/// The values of all elements of a uniform of the default block; nothing for another one.
std::optional<std::vector<double>> ValuesOf(GLuint program, const ActiveUniform& uniform)
{
    const UniformType type = DescribeType(uniform.type);
    std::string name = uniform.name;
    const bool isArray = name.ends_with("[0]");
    std::vector<double> all;
    for (GLint i = 0; i < uniform.count; ++i) {
        if (isArray)
            name = uniform.name.substr(0, uniform.name.size() - 2) + std::to_string(i) + "]";
        const GLint location = GL().glGetUniformLocation(program, name.c_str());
        if (location < 0)
            break;
        const std::vector<double> values = UniformValues(program, location, type);
        all.insert(all.end(), values.begin(), values.end());
    }
    return all.empty() ? std::nullopt : std::optional(std::move(all));
}

std::uint64_t HashTexture(GLuint texture, GLenum target)
{
    std::uint64_t hash = 0;
    for (const TextureImage& image : ImagesOf(texture, target)) {
        const std::uint64_t pair[] = {hash, ReadImage(texture, image).Hash()};
        hash = XXH3_64bits(pair, sizeof pair);
    }
    return hash;
}

class InputReader {
public:
    InputReader(const Data::CallArguments& action, Data::StateModel& model, const Playback::GLResourceTable& names)
        : m_action(action), m_model(model), m_names(names)
    {
        for (const auto& [key, owner] : model.Context().group->objects.owners)
            if (key.first == ObjectKind::Buffer)
                m_buffers[names.GetValueGLBuffer(key.second)] = key.second;
    }

    std::vector<Input> Read()
    {
        Core::TakeErrors(GL());
        switch (Data::ActionOf(m_action.Call())) {
        case Data::ActionKind::Draw:
        case Data::ActionKind::Dispatch:
            ReadProgram();
            break;
        case Data::ActionKind::Blit:
        case Data::ActionKind::Copy:
            ReadSource();
            break;
        case Data::ActionKind::Mipmap:
            AddTexture(m_model.BoundTexture(m_action.Unsigned(0)), "level 0");
            break;
        case Data::ActionKind::Clear:
        case Data::ActionKind::None:
            break;
        }
        Core::TakeErrors(GL());
        return std::move(m_inputs);
    }

private:
    void ReadProgram()
    {
        m_captured = m_names.GetCurrentProgram();
        m_program = m_captured != 0 ? m_names.GetValueGLProgram(m_captured) : 0;
        if (m_program != 0) {
            ReadUniforms();
            if (GL().glGetActiveUniformBlockiv)
                ReadBlocks();
        }
        if (Core::GetVersion(GL()) >= 30)
            ReadVertices();
    }

    void ReadSource()
    {
        using Data::CallId;
        switch (m_action.Call()) {
        case CallId::glCopyBufferSubData: {
            const Data::Owner buffer = m_model.Bound(Data::State::Buffer, m_action.Unsigned(0));
            AddBuffer(static_cast<GLint>(m_names.GetValueGLBuffer(m_model.Object(buffer).name)), "source");
            break;
        }
        case CallId::glCopyImageSubData:
        case CallId::glCopyImageSubDataEXT:
            AddTexture(m_model.Known(ObjectKind::Texture, m_action.Unsigned(0)), "source");
            break;
        default: {
            const Data::Owner framebuffer = m_model.Bound(Data::State::Framebuffer, 0, 0);
            const Data::Owner attached = m_model.BoundAt(framebuffer, Data::State::Attachment, GL_COLOR_ATTACHMENT0);
            if (m_model.Object(attached).kind == ObjectKind::Texture)
                AddTexture(attached, "source");
        }
        }
    }

    void ReadUniforms()
    {
        for (const ActiveUniform& uniform : ActiveUniforms(m_program)) {
            const std::optional<std::vector<double>> values = ValuesOf(m_program, uniform);
            if (!values)
                continue;
            m_inputs.push_back({Input::Kind::Uniform, m_captured, uniform.name, *values});
            if (const GLenum target = DescribeType(uniform.type).target; target != 0)
                for (const double unit : *values)
                    AddTexture(m_model.Bound(Data::State::Texture, static_cast<std::uint32_t>(unit), target),
                               "sampler " + uniform.name);
        }
    }

    void AddTexture(Data::Owner owner, std::string use)
    {
        const std::uint32_t name = m_model.Object(owner).name;
        if (owner == 0 || name == 0)
            return;
        m_inputs.push_back({Input::Kind::Texture, name, std::move(use)});
        ReadInput(m_inputs.back(), m_names);
    }

    void ReadBlocks()
    {
        for (GLint i = 0; i < ProgramParameter(m_program, GL_ACTIVE_UNIFORM_BLOCKS); ++i) {
            GLint binding = 0;
            GLint buffer = 0;
            char name[256] = {};
            GL().glGetActiveUniformBlockName(m_program, static_cast<GLuint>(i), sizeof name, nullptr, name);
            GL().glGetActiveUniformBlockiv(m_program, static_cast<GLuint>(i), GL_UNIFORM_BLOCK_BINDING, &binding);
            GL().glGetIntegeri_v(GL_UNIFORM_BUFFER_BINDING, static_cast<GLuint>(binding), &buffer);
            AddBuffer(buffer, std::string("block ") + name);
        }
    }

    void ReadVertices()
    {
        for (GLint i = 0; i < Core::GetInteger(GL(), GL_MAX_VERTEX_ATTRIBS); ++i) {
            GLint isEnabled = 0;
            GLint buffer = 0;
            GL().glGetVertexAttribiv(static_cast<GLuint>(i), GL_VERTEX_ATTRIB_ARRAY_ENABLED, &isEnabled);
            GL().glGetVertexAttribiv(static_cast<GLuint>(i), GL_VERTEX_ATTRIB_ARRAY_BUFFER_BINDING, &buffer);
            if (isEnabled != 0)
                AddBuffer(buffer, "vertex attribute " + std::to_string(i));
        }
        AddBuffer(Core::GetInteger(GL(), GL_ELEMENT_ARRAY_BUFFER_BINDING), "indices");
    }

    void AddBuffer(GLint live, std::string use)
    {
        const auto captured = m_buffers.find(static_cast<GLuint>(live));
        if (live == 0 || captured == m_buffers.end())
            return;
        m_inputs.push_back(
            {Input::Kind::Buffer, captured->second, std::move(use), {}, ReadBuffer(static_cast<GLuint>(live)).Hash()});
    }

    const Data::CallArguments& m_action;
    Data::StateModel& m_model;
    const Playback::GLResourceTable& m_names;
    /// Captured names by live ones.
    std::map<GLuint, std::uint32_t> m_buffers;
    std::uint32_t m_captured = 0;
    GLuint m_program = 0;
    std::vector<Input> m_inputs;
};

} // namespace

std::vector<Input> ReadInputs(const Data::CallArguments& action, Data::StateModel& model,
                              const Playback::GLResourceTable& names)
{
    return InputReader(action, model, names).Read();
}

bool ReadInput(Input& input, const Playback::GLResourceTable& names)
{
    Core::TakeErrors(GL());
    if (input.kind == Input::Kind::Texture) {
        const GLuint texture = names.GetValueGLTexture(input.object);
        const GLenum target = FindTarget(texture);
        input.hash = target != 0 ? HashTexture(texture, target) : 0;
        return target != 0;
    }
    if (input.kind == Input::Kind::Buffer) {
        const GLuint buffer = names.GetValueGLBuffer(input.object);
        input.hash = buffer != 0 ? ReadBuffer(buffer).Hash() : 0;
        return buffer != 0;
    }
    const GLuint program = names.GetValueGLProgram(input.object);
    input.values.clear();
    if (program != 0 && ProgramParameter(program, GL_LINK_STATUS) != 0)
        for (const ActiveUniform& uniform : ActiveUniforms(program))
            if (uniform.name == input.name)
                input.values = ValuesOf(program, uniform).value_or(std::vector<double>{});
    Core::TakeErrors(GL());
    return !input.values.empty();
}

} // namespace Probe
