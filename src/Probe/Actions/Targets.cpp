#include "Probe/Actions/Targets.h"

#include "Data/Records/Actions.h"
#include "Probe/Contents/ObjectContents.h"
#include "Probe/LiveGL.h"

namespace Probe {

namespace {

using Data::CallId;
using Data::ObjectKind;
using Data::Owner;
using Data::State;

std::string ImageText(GLuint texture, const TextureImage& image)
{
    return "texture " + std::to_string(texture) + ", " + image.Text();
}

/// What an attachment of the framebuffer that is drawn to consists of; empty where nothing is attached or the driver
/// cannot tell.
std::string AttachedImage(GLenum attachment)
{
    if (Core::GetVersion(GL()) < 30)
        return {};
    const auto ask = [attachment](GLenum name) {
        return Core::GetAttachment(GL(), GL_DRAW_FRAMEBUFFER, attachment, name);
    };
    const GLint type = ask(GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE);
    if (type != GL_TEXTURE && type != GL_RENDERBUFFER)
        return {};
    const auto object = static_cast<GLuint>(ask(GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME));
    if (type == GL_RENDERBUFFER)
        return "renderbuffer " + std::to_string(object);
    const auto face = static_cast<GLenum>(ask(GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_CUBE_MAP_FACE));
    return ImageText(object, {face != 0 ? face : FindTarget(object), ask(GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LEVEL),
                              ask(GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LAYER)});
}

/// Reads what one action could write to.
class TargetReader {
public:
    TargetReader(const Data::CallArguments& action, Data::StateModel& model, const Playback::GLResourceTable& names)
        : m_action(action), m_model(model), m_names(names)
    {
    }

    std::vector<Target> Read()
    {
        switch (Data::ActionOf(m_action.Call())) {
        case Data::ActionKind::Draw:
        case Data::ActionKind::Clear:
        case Data::ActionKind::Blit:
        case Data::ActionKind::None:
            ReadFramebuffer();
            break;
        case Data::ActionKind::Copy:
            ReadCopy();
            break;
        case Data::ActionKind::Mipmap:
            ReadTexture(m_model.BoundTexture(m_action.Unsigned(0)),
                        Data::StateModel::TextureTarget(m_action.Unsigned(0)));
            break;
        case Data::ActionKind::Dispatch:
            break;
        }
        if (IsByShaders())
            ReadShaderOutputs();
        return std::move(m_targets);
    }

private:
    [[nodiscard]] bool IsByShaders() const
    {
        const Data::ActionKind kind = Data::ActionOf(m_action.Call());
        return kind == Data::ActionKind::Draw || kind == Data::ActionKind::Dispatch;
    }

    void Add(Place place, std::string what, std::string object, Contents contents, std::string image = {})
    {
        if (!contents.data.empty() || !contents.problem.empty())
            m_targets.push_back({place, std::move(what), std::move(object), std::move(image), std::move(contents)});
    }

    void AddImage(GLuint texture, const TextureImage& image, std::string what, std::string object)
    {
        Add({Place::Kind::Image, 0, texture, image}, std::move(what), std::move(object), ReadImage(texture, image),
            ImageText(texture, image));
    }

    [[nodiscard]] std::string Text(const char* kind, Owner owner) const
    {
        return std::string(kind) + " " + std::to_string(m_model.Object(owner).name);
    }

    void ReadFramebuffer()
    {
        const std::uint32_t name = m_model.Object(m_model.Bound(State::Framebuffer, 0, 1)).name;
        const std::string object = FramebufferText(m_model);
        Util::FramebufferReader reader;
        for (const GLenum buffer : reader.ColorBuffers()) {
            const std::string number = buffer == GL_BACK ? "" : " " + std::to_string(buffer - GL_COLOR_ATTACHMENT0);
            if (name == 0 || !ReadLayers(buffer, "colour" + number, object))
                Add({Place::Kind::Color, buffer}, "colour" + number, object, ToContents(reader.ReadColor(buffer)),
                    name == 0 ? "" : AttachedImage(buffer));
        }
        Add({Place::Kind::Depth}, "depth", object, ToContents(reader.ReadDepth()),
            name == 0 ? "" : AttachedImage(GL_DEPTH_ATTACHMENT));
        Add({Place::Kind::Stencil}, "stencil", object, ToContents(reader.ReadStencil()),
            name == 0 ? "" : AttachedImage(GL_STENCIL_ATTACHMENT));
    }

    /// All layers of an attachment that has more than one. False for other ones.
    bool ReadLayers(GLenum attachment, const std::string& what, const std::string& object)
    {
        const auto ask = [attachment](GLenum name) {
            return Core::GetAttachment(GL(), GL_DRAW_FRAMEBUFFER, attachment, name);
        };
        if (Core::GetVersion(GL()) < 32 || ask(GL_FRAMEBUFFER_ATTACHMENT_LAYERED) == 0)
            return false;
        const auto texture = static_cast<GLuint>(ask(GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME));
        const GLint level = ask(GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LEVEL);
        for (const TextureImage& image : ImagesOf(texture, FindTarget(texture)))
            if (image.level == level)
                AddImage(texture, image, what + ", " + image.Text(), object);
        return true;
    }

    void ReadTexture(Owner owner, GLenum target)
    {
        if (owner == 0)
            return;
        const GLuint texture = m_names.GetValueGLTexture(m_model.Object(owner).name);
        for (const TextureImage& image : ImagesOf(texture, target))
            AddImage(texture, image, image.Text(), Text("texture", owner));
    }

    void ReadBufferOf(Owner owner)
    {
        const GLuint buffer = owner != 0 ? m_names.GetValueGLBuffer(m_model.Object(owner).name) : 0;
        if (buffer != 0)
            Add({Place::Kind::Buffer, 0, buffer}, "contents", Text("buffer", owner), ReadBuffer(buffer));
    }

    void ReadCopy()
    {
        switch (m_action.Call()) {
        case CallId::glCopyBufferSubData:
            ReadBufferOf(m_model.Bound(State::Buffer, m_action.Unsigned(1)));
            break;
        case CallId::glCopyImageSubData:
        case CallId::glCopyImageSubDataEXT:
            if (const GLenum target = m_action.Unsigned(7); target != GL_RENDERBUFFER)
                ReadTexture(m_model.Known(ObjectKind::Texture, m_action.Unsigned(6)), target);
            break;
        case CallId::glCopyTextureLevelsAPPLE:
            ReadTexture(m_model.Known(ObjectKind::Texture, m_action.Unsigned(0)), GL_TEXTURE_2D);
            break;
        default:
            ReadTexture(m_model.BoundTexture(m_action.Unsigned(0)),
                        Data::StateModel::TextureTarget(m_action.Unsigned(0)));
            break;
        }
    }

    /// Storage and counter buffers, those of a transform feedback, and images that may be written.
    void ReadShaderOutputs()
    {
        if (Core::GetVersion(GL()) < 31)
            return;
        for (const GLenum target : {GL_SHADER_STORAGE_BUFFER, GL_ATOMIC_COUNTER_BUFFER})
            for (std::uint32_t i = 0; i < MostBindings; ++i)
                ReadBufferOf(m_model.Bound(State::IndexedBuffer, target, i));
        ReadFeedback();
        for (std::uint32_t unit = 0; unit < MostBindings; ++unit) {
            const Owner texture = m_model.Bound(State::ImageTexture, unit);
            const Owner context = m_model.Context().owner;
            constexpr std::size_t Access = 4;
            if (texture != 0 && m_model.Word(context, State::ImageTexture, unit, 0, Access) != GL_READ_ONLY)
                ReadImageUnit(texture, static_cast<int>(m_model.Word(context, State::ImageTexture, unit, 0, 1)));
        }
    }

    void ReadFeedback()
    {
        if (Core::GetInteger(GL(), GL_TRANSFORM_FEEDBACK_ACTIVE) == 0)
            return;
        const bool isPaused = Core::GetInteger(GL(), GL_TRANSFORM_FEEDBACK_PAUSED) != 0;
        // Its buffers are not to be read while it writes.
        if (!isPaused)
            GL().glPauseTransformFeedback();
        for (std::uint32_t i = 0; i < MostBindings; ++i)
            ReadBufferOf(m_model.BoundAt(m_model.BoundTransformFeedback(), State::FeedbackBuffer, i));
        if (!isPaused)
            GL().glResumeTransformFeedback();
    }

    void ReadImageUnit(Owner owner, int level)
    {
        const GLuint texture = m_names.GetValueGLTexture(m_model.Object(owner).name);
        for (const TextureImage& image : ImagesOf(texture, FindTarget(texture)))
            if (image.level == level)
                AddImage(texture, image, image.Text(), Text("texture", owner));
    }

    static constexpr std::uint32_t MostBindings = 8;

    const Data::CallArguments& m_action;
    Data::StateModel& m_model;
    const Playback::GLResourceTable& m_names;
    std::vector<Target> m_targets;
};

} // namespace

std::string FramebufferText(Data::StateModel& model)
{
    const std::uint32_t name = model.Object(model.Bound(State::Framebuffer, 0, 1)).name;
    return name == 0 ? "default framebuffer" : "framebuffer " + std::to_string(name);
}

std::vector<Target> ReadTargets(const Data::CallArguments& action, Data::StateModel& model,
                                const Playback::GLResourceTable& names)
{
    return TargetReader(action, model, names).Read();
}

Contents ReadPicture(unsigned int framebuffer)
{
    const auto bound = Core::BindScoped(GL(), GL().glBindFramebuffer, Core::DrawFramebuffer, framebuffer);
    Util::FramebufferReader reader;
    return ToContents(reader.ReadColor());
}

} // namespace Probe
