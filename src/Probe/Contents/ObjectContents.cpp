#include "Probe/Contents/ObjectContents.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "Probe/Contents/SampledImage.h"
#include "Probe/LiveGL.h"

namespace Probe {

namespace {

constexpr GLenum FirstFace = GL_TEXTURE_CUBE_MAP_POSITIVE_X;

constexpr Core::BindingPoint TextureTargets[] = {
    {GL_TEXTURE_2D, GL_TEXTURE_BINDING_2D},
    {GL_TEXTURE_CUBE_MAP, GL_TEXTURE_BINDING_CUBE_MAP},
    {GL_TEXTURE_2D_ARRAY, GL_TEXTURE_BINDING_2D_ARRAY},
    {GL_TEXTURE_3D, GL_TEXTURE_BINDING_3D},
    {GL_TEXTURE_CUBE_MAP_ARRAY, GL_TEXTURE_BINDING_CUBE_MAP_ARRAY},
    {GL_TEXTURE_2D_MULTISAMPLE, GL_TEXTURE_BINDING_2D_MULTISAMPLE},
    {GL_TEXTURE_2D_MULTISAMPLE_ARRAY, GL_TEXTURE_BINDING_2D_MULTISAMPLE_ARRAY},
};

bool IsFace(GLenum target)
{
    return target >= FirstFace && target <= GL_TEXTURE_CUBE_MAP_NEGATIVE_Z;
}

bool HasLayers(GLenum target)
{
    return target == GL_TEXTURE_3D || target == GL_TEXTURE_2D_ARRAY || target == GL_TEXTURE_CUBE_MAP_ARRAY ||
           target == GL_TEXTURE_2D_MULTISAMPLE_ARRAY;
}

GLint LevelParameter(GLenum target, GLint level, GLenum name)
{
    GLint value = 0;
    GL().glGetTexLevelParameteriv(target, level, name, &value);
    return value;
}

} // namespace

Core::BindingPoint BindingOf(GLenum target)
{
    const auto* const point = std::ranges::find(TextureTargets, IsFace(target) ? GLenum{GL_TEXTURE_CUBE_MAP} : target,
                                                &Core::BindingPoint::target);
    // No other kind of texture can be bound there either.
    return point != std::end(TextureTargets) ? *point : TextureTargets[1];
}

std::string TextureImage::Text() const
{
    constexpr const char* Faces[] = {"+X", "-X", "+Y", "-Y", "+Z", "-Z"};
    std::string text = "level " + std::to_string(level);
    if (IsFace(target))
        text += std::string(", face ") + Faces[target - FirstFace];
    else if (HasLayers(target))
        text += ", layer " + std::to_string(layer);
    return text;
}

TemporaryFramebuffer::TemporaryFramebuffer()
    : m_bound(Core::KeepBound(GL(), GL().glBindFramebuffer, Core::DrawFramebuffer))
{
    GL().glGenFramebuffers(1, &m_framebuffer);
    GL().glBindFramebuffer(GL_DRAW_FRAMEBUFFER, m_framebuffer);
}

TemporaryFramebuffer::~TemporaryFramebuffer()
{
    m_bound = {};
    GL().glDeleteFramebuffers(1, &m_framebuffer);
}

unsigned int TemporaryFramebuffer::Attach(unsigned int texture, const TextureImage& image) const
{
    const auto attach = [&image](GLenum attachment, GLuint object) {
        if (HasLayers(image.target))
            GL().glFramebufferTextureLayer(GL_DRAW_FRAMEBUFFER, attachment, object, image.level, image.layer);
        else
            GL().glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, attachment, image.target, object, image.level);
    };
    for (const GLenum attachment :
         {GL_COLOR_ATTACHMENT0, GL_DEPTH_STENCIL_ATTACHMENT, GL_DEPTH_ATTACHMENT, GL_STENCIL_ATTACHMENT}) {
        attach(attachment, texture);
        if (GL().glCheckFramebufferStatus(GL_DRAW_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE)
            return attachment;
        attach(attachment, 0);
    }
    return GL_NONE;
}

unsigned int FindTarget(unsigned int texture)
{
    Core::TakeErrors(GL());
    // Nothing tells it, but a texture can be bound to its own target only.
    for (const Core::BindingPoint point : TextureTargets) {
        const auto bound = Core::BindScoped(GL(), GL().glBindTexture, point, texture);
        if (Core::TakeErrors(GL()) == 0 && GL().glIsTexture(texture))
            return point.target;
    }
    return 0;
}

unsigned int InternalFormatOf(unsigned int texture, unsigned int target)
{
    if (!GL().glGetTexLevelParameteriv)
        return 0;
    const auto bound = Core::BindScoped(GL(), GL().glBindTexture, BindingOf(target), texture);
    const GLint format =
        LevelParameter(target == GL_TEXTURE_CUBE_MAP ? FirstFace : target, 0, GL_TEXTURE_INTERNAL_FORMAT);
    Core::TakeErrors(GL());
    return static_cast<unsigned int>(format);
}

std::vector<TextureImage> ImagesOf(unsigned int texture, unsigned int target)
{
    constexpr int MostLevels = 16;
    if (!GL().glGetTexLevelParameteriv)
        return {};
    std::vector<TextureImage> images;
    const auto bound = Core::BindScoped(GL(), GL().glBindTexture, BindingOf(target), texture);
    for (int level = 0; level < MostLevels; ++level) {
        const GLenum first = target == GL_TEXTURE_CUBE_MAP ? FirstFace : target;
        if (LevelParameter(first, level, GL_TEXTURE_WIDTH) == 0)
            break;
        const int count = target == GL_TEXTURE_CUBE_MAP ? 6
                          : HasLayers(target)           ? LevelParameter(target, level, GL_TEXTURE_DEPTH)
                                                        : 1;
        for (int i = 0; i < count; ++i)
            if (target == GL_TEXTURE_CUBE_MAP)
                images.push_back({FirstFace + static_cast<GLenum>(i), level, 0});
            else
                images.push_back({target, level, i});
    }
    Core::TakeErrors(GL());
    return images;
}

Contents ReadImage(unsigned int texture, const TextureImage& image)
{
    if (!GL().glFramebufferTextureLayer || !GL().glBlitFramebuffer)
        return {.problem = LackOfFunctions()};
    Core::TakeErrors(GL());
    std::optional<TemporaryFramebuffer> framebuffer(std::in_place);
    const GLenum attachment = framebuffer->Attach(texture, image);
    Core::TakeErrors(GL());
    if (attachment == GL_NONE) {
        framebuffer.reset();
        return ReadSampled(texture, image);
    }
    Util::FramebufferReader reader;
    switch (attachment) {
    case GL_COLOR_ATTACHMENT0:
        return ToContents(reader.ReadColor());
    case GL_STENCIL_ATTACHMENT:
        return ToContents(reader.ReadStencil());
    default:
        return ToContents(reader.ReadDepth());
    }
}

/// Through a copy: what maps a buffer may change it, and whoever follows the driver's buffers takes it so.
Contents ReadBuffer(unsigned int buffer)
{
    const auto& gl = GL();
    if (!gl.glMapBufferRange || !gl.glGetBufferParameteri64v || !gl.glCopyBufferSubData)
        return {.problem = LackOfFunctions()};
    constexpr Core::BindingPoint CopyRead = {GL_COPY_READ_BUFFER, GL_COPY_READ_BUFFER_BINDING};
    constexpr Core::BindingPoint CopyWrite = {GL_COPY_WRITE_BUFFER, GL_COPY_WRITE_BUFFER_BINDING};
    Core::TakeErrors(gl);
    Contents contents;
    GLuint copy = 0;
    gl.glGenBuffers(1, &copy);
    {
        const auto source = Core::BindScoped(gl, gl.glBindBuffer, CopyRead, buffer);
        const auto destination = Core::BindScoped(gl, gl.glBindBuffer, CopyWrite, copy);
        GLint64 bytes = 0;
        gl.glGetBufferParameteri64v(GL_COPY_READ_BUFFER, GL_BUFFER_SIZE, &bytes);
        gl.glBufferData(GL_COPY_WRITE_BUFFER, static_cast<GLsizeiptr>(bytes), nullptr, GL_STREAM_READ);
        gl.glCopyBufferSubData(GL_COPY_READ_BUFFER, GL_COPY_WRITE_BUFFER, 0, 0, static_cast<GLsizeiptr>(bytes));
        const bool isCopied = bytes > 0 && Core::TakeErrors(gl) == 0;
        const void* const mapped =
            isCopied ? gl.glMapBufferRange(GL_COPY_WRITE_BUFFER, 0, static_cast<GLsizeiptr>(bytes), GL_MAP_READ_BIT)
                     : nullptr;
        if (mapped) {
            const auto* const begin = static_cast<const std::uint8_t*>(mapped);
            contents = {"bytes", static_cast<std::uint32_t>(bytes), 1, {begin, begin + bytes}, {}};
            gl.glUnmapBuffer(GL_COPY_WRITE_BUFFER);
        } else {
            contents.problem = bytes == 0 ? "it is empty" : "it cannot be copied, since the program has it mapped";
        }
    }
    gl.glDeleteBuffers(1, &copy);
    Core::TakeErrors(gl);
    return contents;
}

} // namespace Probe
