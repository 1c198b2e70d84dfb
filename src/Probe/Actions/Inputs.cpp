#include "Probe/Actions/Inputs.h"

#include <map>
#include <optional>

#include <xxhash.h>

#include "Data/Records/Actions.h"
#include "Probe/Contents/ObjectContents.h"
#include "Probe/LiveGL.h"
#include "Probe/Programs/Blocks.h"
#include "Replay/Driver/Programs.h"
#include "Replay/Driver/ProgramsInUse.h"

namespace Probe {

namespace {

using Data::ObjectKind;

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
    InputReader(const Data::CallArguments& action, Data::StateModel& model, const Playback::GLResourceTable& names,
                WantsContents wantsContents)
        : m_action(action), m_model(model), m_names(names), m_wantsContents(wantsContents)
    {
        for (const auto& [key, owner] : model.Context().group->objects.owners)
            if (key.first == ObjectKind::Buffer)
                m_buffers[names.GetValueGLBuffer(key.second)] = key.second;
            else if (key.first == ObjectKind::Program)
                m_programs[names.GetValueGLProgram(key.second)] = key.second;
    }

    std::vector<Input> Read()
    {
        Core::TakeErrors(GL());
        switch (Data::ActionOf(m_action.Call())) {
        case Data::ActionKind::Draw:
        case Data::ActionKind::Dispatch:
            ReadPrograms();
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
    void ReadPrograms()
    {
        for (const unsigned int program : Replay::ProgramsInUse()) {
            m_program = program;
            m_captured = m_programs[program];
            if (m_captured == 0)
                continue;
            ReadUniforms();
            for (const UniformBlock& block : UniformBlocksOf(program))
                AddBuffer(block.buffer, "block " + block.name);
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
            AddBuffer(m_names.GetValueGLBuffer(m_model.Object(buffer).name), "source");
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
        for (const Replay::ActiveVariable& uniform : Replay::ActiveUniforms(m_program)) {
            const std::optional<std::vector<double>> values = Replay::ValuesOf(m_program, uniform);
            if (!values)
                continue;
            m_inputs.push_back({Input::Kind::Uniform, m_captured, uniform.name, *values});
            if (const GLenum target = Replay::DescribeType(uniform.type).target; target != 0)
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
        if (m_wantsContents == WantsContents::Yes)
            ReadInput(m_inputs.back(), m_names);
    }

    void ReadVertices()
    {
        const auto attributes = static_cast<GLuint>(Core::GetInteger(GL(), GL_MAX_VERTEX_ATTRIBS));
        for (GLuint i = 0; i < attributes; ++i)
            if (Replay::VertexAttribute(i, GL_VERTEX_ATTRIB_ARRAY_ENABLED) != 0)
                AddBuffer(static_cast<GLuint>(Replay::VertexAttribute(i, GL_VERTEX_ATTRIB_ARRAY_BUFFER_BINDING)),
                          "vertex attribute " + std::to_string(i));
        AddBuffer(static_cast<GLuint>(Core::GetInteger(GL(), GL_ELEMENT_ARRAY_BUFFER_BINDING)), "indices");
    }

    void AddBuffer(GLuint live, std::string use)
    {
        const auto captured = m_buffers.find(live);
        if (live == 0 || captured == m_buffers.end())
            return;
        const std::uint64_t hash = m_wantsContents == WantsContents::Yes ? ReadBuffer(live).Hash() : 0;
        m_inputs.push_back({Input::Kind::Buffer, captured->second, std::move(use), {}, hash});
    }

    const Data::CallArguments& m_action;
    Data::StateModel& m_model;
    const Playback::GLResourceTable& m_names;
    WantsContents m_wantsContents;
    /// Captured names by live ones.
    std::map<GLuint, std::uint32_t> m_buffers;
    std::map<GLuint, std::uint32_t> m_programs;
    std::uint32_t m_captured = 0;
    GLuint m_program = 0;
    std::vector<Input> m_inputs;
};

} // namespace

std::vector<Input> ReadInputs(const Data::CallArguments& action, Data::StateModel& model,
                              const Playback::GLResourceTable& names, WantsContents wantsContents)
{
    return InputReader(action, model, names, wantsContents).Read();
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
    if (program != 0 && Replay::IsLinked(program))
        for (const Replay::ActiveVariable& uniform : Replay::ActiveUniforms(program))
            if (uniform.name == input.name)
                input.values = Replay::ValuesOf(program, uniform).value_or(std::vector<double>{});
    Core::TakeErrors(GL());
    return !input.values.empty();
}

} // namespace Probe
