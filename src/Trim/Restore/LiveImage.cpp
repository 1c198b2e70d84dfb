#include "Trim/Restore/LiveImage.h"

#include <algorithm>
#include <cstring>

namespace Trim {

namespace {

ImageSize RenderbufferSize()
{
    ImageSize size;
    GLint samples = 0;
    GL().glGetRenderbufferParameteriv(GL_RENDERBUFFER, GL_RENDERBUFFER_WIDTH, &size.width);
    GL().glGetRenderbufferParameteriv(GL_RENDERBUFFER, GL_RENDERBUFFER_HEIGHT, &size.height);
    GL().glGetRenderbufferParameteriv(GL_RENDERBUFFER, GL_RENDERBUFFER_SAMPLES, &samples);
    return samples > 1 ? ImageSize{} : size;
}

} // namespace

ImageSize LiveImage::SizeOf(const Image& image)
{
    constexpr std::uint32_t MostLevels = 16;
    ImageSize size;
    if (image.level < MostLevels) {
        const auto level = static_cast<GLint>(image.level);
        GL().glGetTexLevelParameteriv(image.face, level, GL_TEXTURE_WIDTH, &size.width);
        GL().glGetTexLevelParameteriv(image.face, level, GL_TEXTURE_HEIGHT, &size.height);
    }
    return size;
}

LiveImage::LiveImage(const Image& image, GLuint object) : m_size(image.face == 0 ? RenderbufferSize() : SizeOf(image))
{
    GL().glGenFramebuffers(1, &m_framebuffer);
    if (m_size.width <= 0 || m_size.height <= 0 || !Attach(image, object))
        return;
    if (m_attachment == GL_COLOR_ATTACHMENT0)
        FindColorTransfer();
    else
        FindDepthTransfer();
}

LiveImage::~LiveImage()
{
    GL().glDeleteFramebuffers(1, &m_framebuffer);
    Core::TakeErrors(GL());
}

bool LiveImage::Attach(const Image& image, GLuint object)
{
    const auto& gl = GL();
    const auto attach = [&](GLuint attached) {
        if (image.face == 0)
            gl.glFramebufferRenderbuffer(GL_FRAMEBUFFER, m_attachment, GL_RENDERBUFFER, attached);
        else
            gl.glFramebufferTexture2D(GL_FRAMEBUFFER, m_attachment, image.face, attached,
                                      static_cast<GLint>(image.level));
    };
    gl.glBindFramebuffer(GL_FRAMEBUFFER, m_framebuffer);
    // Which of them takes the image tells what it is.
    for (const GLenum attachment :
         {GL_COLOR_ATTACHMENT0, GL_DEPTH_STENCIL_ATTACHMENT, GL_DEPTH_ATTACHMENT, GL_STENCIL_ATTACHMENT}) {
        m_attachment = attachment;
        attach(object);
        if (gl.glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE)
            return true;
        attach(0);
    }
    return false;
}

GLint LiveImage::AttachmentParameter(GLenum name) const
{
    // Depth and stencil have different component types, so they cannot be asked as one.
    const GLenum attachment = m_attachment == GL_DEPTH_STENCIL_ATTACHMENT ? GLenum{GL_DEPTH_ATTACHMENT} : m_attachment;
    GLint value = 0;
    GL().glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, attachment, name, &value);
    return value;
}

void LiveImage::FindColorTransfer()
{
    const GLint bits[] = {AttachmentParameter(GL_FRAMEBUFFER_ATTACHMENT_RED_SIZE),
                          AttachmentParameter(GL_FRAMEBUFFER_ATTACHMENT_GREEN_SIZE),
                          AttachmentParameter(GL_FRAMEBUFFER_ATTACHMENT_BLUE_SIZE),
                          AttachmentParameter(GL_FRAMEBUFFER_ATTACHMENT_ALPHA_SIZE)};
    m_components = static_cast<std::size_t>(std::ranges::count_if(bits, [](GLint size) { return size > 0; }));
    // Formats that can be drawn to leave out no component in front of one that they have.
    if (m_components == 0 || bits[m_components - 1] == 0)
        return;
    constexpr GLenum Formats[] = {GL_RED, GL_RG, GL_RGB, GL_RGBA};
    constexpr GLenum IntegerFormats[] = {GL_RED_INTEGER, GL_RG_INTEGER, GL_RGB_INTEGER, GL_RGBA_INTEGER};
    const auto set = [this](const GLenum(&all)[4], GLenum type, std::size_t componentBytes) {
        m_read = {all[3], type};
        m_upload = {all[m_components - 1], type};
        m_componentBytes = componentBytes;
        m_isReadable = true;
    };
    const GLint widest = *std::ranges::max_element(bits);
    switch (AttachmentParameter(GL_FRAMEBUFFER_ATTACHMENT_COMPONENT_TYPE)) {
    case GL_UNSIGNED_NORMALIZED:
        if (widest <= 8)
            set(Formats, GL_UNSIGNED_BYTE, 1);
        else if (widest == 10 && m_components == 4)
            set(Formats, GL_UNSIGNED_INT_2_10_10_10_REV, 0);
        break;
    case GL_FLOAT:
        set(Formats, GL_FLOAT, sizeof(GLfloat));
        break;
    case GL_INT:
        set(IntegerFormats, GL_INT, sizeof(GLint));
        break;
    case GL_UNSIGNED_INT:
        set(IntegerFormats, GL_UNSIGNED_INT, sizeof(GLuint));
        break;
    default:
        break;
    }
}

void LiveImage::FindDepthTransfer()
{
    const bool hasDepth = m_attachment != GL_STENCIL_ATTACHMENT;
    const bool hasStencil = m_attachment != GL_DEPTH_ATTACHMENT;
    const GLint depth = hasDepth ? AttachmentParameter(GL_FRAMEBUFFER_ATTACHMENT_DEPTH_SIZE) : 0;
    std::optional<Transfer> transfer = DepthStencilTransfer(depth, hasStencil ? 8 : 0, !hasDepth);
    if (!transfer || (hasDepth && hasStencil && transfer->format != GL_DEPTH_STENCIL))
        return;
    if (hasDepth && AttachmentParameter(GL_FRAMEBUFFER_ATTACHMENT_COMPONENT_TYPE) == GL_FLOAT)
        transfer->type = GL_FLOAT;
    m_read = m_upload = *transfer;
    m_isReadable = true;
}

GLbitfield LiveImage::BlitMask() const
{
    switch (m_attachment) {
    case GL_COLOR_ATTACHMENT0:
        return GL_COLOR_BUFFER_BIT;
    case GL_DEPTH_STENCIL_ATTACHMENT:
        return GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT;
    case GL_DEPTH_ATTACHMENT:
        return GL_DEPTH_BUFFER_BIT;
    default:
        return GL_STENCIL_BUFFER_BIT;
    }
}

bool LiveImage::Read(std::vector<std::uint8_t>& pixels) const
{
    GL().glBindFramebuffer(GL_FRAMEBUFFER, m_framebuffer);
    return ReadPixels(m_size.width, m_size.height, m_read, pixels);
}

std::vector<std::uint8_t> LiveImage::Packed(const std::vector<std::uint8_t>& pixels) const
{
    if (m_componentBytes == 0 || m_components == 4)
        return pixels;
    const std::size_t wide = 4 * m_componentBytes;
    const std::size_t narrow = m_components * m_componentBytes;
    std::vector<std::uint8_t> packed(pixels.size() / wide * narrow);
    for (std::size_t i = 0; i < pixels.size() / wide; ++i)
        std::memcpy(packed.data() + i * narrow, pixels.data() + i * wide, narrow);
    return packed;
}

} // namespace Trim
