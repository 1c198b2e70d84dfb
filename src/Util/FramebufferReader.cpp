#include "Util/FramebufferReader.h"

#include <utility>

#include <GLES3/gl32.h>
// Needs the types of the header above.
#include <GLES2/gl2ext.h>

#include "Util/PixelTransfer.h"

namespace Util {

namespace {

/// A context that was lost reports an error for ever.
constexpr int MaxPendingErrors = 32;
constexpr std::uint64_t MaxReadBytes = std::uint64_t{1} << 31;

/// Texture targets that a framebuffer attachment can have, with their binding and the target of level queries.
struct TextureTarget {
    GLenum target;
    GLenum binding;
    GLenum levelTarget;
};

constexpr TextureTarget TextureTargets[] = {
    {GL_TEXTURE_2D, GL_TEXTURE_BINDING_2D, GL_TEXTURE_2D},
    {GL_TEXTURE_CUBE_MAP, GL_TEXTURE_BINDING_CUBE_MAP, GL_TEXTURE_CUBE_MAP_POSITIVE_X},
    {GL_TEXTURE_2D_ARRAY, GL_TEXTURE_BINDING_2D_ARRAY, GL_TEXTURE_2D_ARRAY},
    {GL_TEXTURE_3D, GL_TEXTURE_BINDING_3D, GL_TEXTURE_3D},
    {GL_TEXTURE_2D_MULTISAMPLE, GL_TEXTURE_BINDING_2D_MULTISAMPLE, GL_TEXTURE_2D_MULTISAMPLE},
    {GL_TEXTURE_2D_MULTISAMPLE_ARRAY, GL_TEXTURE_BINDING_2D_MULTISAMPLE_ARRAY, GL_TEXTURE_2D_MULTISAMPLE_ARRAY},
    {GL_TEXTURE_CUBE_MAP_ARRAY, GL_TEXTURE_BINDING_CUBE_MAP_ARRAY, GL_TEXTURE_CUBE_MAP_ARRAY},
};

std::string Failed(const char* what, GLenum error)
{
    return std::string(what) + " failed with error " + Core::LogFormat::GetGLEnumString(error);
}

} // namespace

FramebufferReader::FramebufferReader() : m_gl(Core::KHRLayer::GLESProc())
{
    const Core::ContextVersion version = Core::GetVersion(m_gl);
    if (version == 0) {
        m_error = "no context is current";
        return;
    }
    m_isES3 = version >= 30 && m_gl.glReadBuffer && m_gl.glBlitFramebuffer;
    m_isES31 = m_isES3 && version >= 31 && m_gl.glGetTexLevelParameteriv;

    (void)TakeErrors();
    m_rows.emplace(m_gl, Core::PixelTransfer::Read, m_isES3 ? version : 20);
    ArrangeReadFramebuffer();
    FindSize();
    (void)TakeErrors();
}

FramebufferReader::~FramebufferReader()
{
    m_readBuffer = {};
    m_readFramebuffer = {};
    m_rows.reset();
    if (m_gl.glGetError)
        (void)TakeErrors();
}

FramebufferReader::Result FramebufferReader::ReadColor()
{
    if (!m_error.empty() || m_colorBuffer == GL_NONE)
        return {{}, m_error, false};
    GLint componentType = GL_UNSIGNED_NORMALIZED;
    if (m_isES3) {
        m_gl.glReadBuffer(m_colorBuffer);
        componentType = GetAttachment(m_colorBuffer, GL_FRAMEBUFFER_ATTACHMENT_COMPONENT_TYPE);
    }
    GLenum format = GL_RGBA;
    GLenum type = GL_UNSIGNED_BYTE;
    if (componentType == GL_FLOAT) {
        type = GL_FLOAT;
    } else if (componentType == GL_INT || componentType == GL_UNSIGNED_INT) {
        format = GL_RGBA_INTEGER;
        type = static_cast<GLenum>(componentType);
    } else if (componentType == GL_SIGNED_NORMALIZED) {
        type = GL_BYTE;
    }
    return ReadBuffer({m_colorBuffer, GL_COLOR_BUFFER_BIT}, format, type);
}

FramebufferReader::Result FramebufferReader::ReadDepth()
{
    if (!m_error.empty() || Get(GL_DEPTH_BITS) == 0)
        return {{}, m_error, false};
    if (!Core::HasExtension(m_gl, "GL_NV_read_depth"))
        return {{}, "the driver lacks GL_NV_read_depth", true};
    // Which types are accepted depends on the kind of depth buffer.
    Result result;
    for (const GLenum type : {GL_UNSIGNED_INT, GL_UNSIGNED_SHORT, GL_FLOAT}) {
        result = ReadBuffer({GL_DEPTH_ATTACHMENT, GL_DEPTH_BUFFER_BIT}, GL_DEPTH_COMPONENT, type);
        if (result.pixels)
            break;
    }
    return result;
}

FramebufferReader::Result FramebufferReader::ReadStencil()
{
    if (!m_error.empty() || Get(GL_STENCIL_BITS) == 0)
        return {{}, m_error, false};
    if (!Core::HasExtension(m_gl, "GL_NV_read_stencil"))
        return {{}, "the driver lacks GL_NV_read_stencil", true};
    return ReadBuffer({GL_STENCIL_ATTACHMENT, GL_STENCIL_BUFFER_BIT}, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE);
}

/// Clears the context's errors; returns the first one.
unsigned int FramebufferReader::TakeErrors() const
{
    const GLenum first = m_gl.glGetError();
    GLenum error = first;
    for (int i = 0; i < MaxPendingErrors && error != GL_NO_ERROR; ++i)
        error = m_gl.glGetError();
    return first;
}

void FramebufferReader::ArrangeReadFramebuffer()
{
    m_framebuffer = static_cast<GLuint>(Get(GL_FRAMEBUFFER_BINDING));
    if (m_isES3) {
        m_readFramebuffer = Core::BindScoped(m_gl, m_gl.glBindFramebuffer, Core::ReadFramebuffer, m_framebuffer);
        m_readBuffer = Core::KeepReadBuffer(m_gl);
    }
    m_colorBuffer = FindColorBuffer();
}

void FramebufferReader::FindSize()
{
    const GLenum status = m_gl.glCheckFramebufferStatus(GL_FRAMEBUFFER);
    if (status != GL_FRAMEBUFFER_COMPLETE) {
        m_error = "the framebuffer is not complete (" + Core::LogFormat::GetGLEnumString(status) + ")";
        return;
    }
    if (IsDefaultFramebuffer()) {
        // The surface for reading, since that is what glReadPixels reads here.
        const Core::EGLProcTable& egl = Core::KHRLayer::EGLProc();
        const EGLDisplay display = egl.eglGetCurrentDisplay ? egl.eglGetCurrentDisplay() : EGL_NO_DISPLAY;
        const EGLSurface surface = display ? egl.eglGetCurrentSurface(EGL_READ) : EGL_NO_SURFACE;
        if (surface) {
            egl.eglQuerySurface(display, surface, EGL_WIDTH, &m_width);
            egl.eglQuerySurface(display, surface, EGL_HEIGHT, &m_height);
        }
    } else {
        for (const GLenum attachment : {static_cast<GLenum>(m_colorBuffer), static_cast<GLenum>(GL_DEPTH_ATTACHMENT),
                                        static_cast<GLenum>(GL_STENCIL_ATTACHMENT)}) {
            if (m_width > 0 || attachment == GL_NONE)
                continue;
            const Storage storage = FindStorage(attachment);
            m_width = storage.width;
            m_height = storage.height;
        }
    }
    if (m_width <= 0 || m_height <= 0)
        m_error = "the framebuffer has no size";
}

unsigned int FramebufferReader::FindColorBuffer() const
{
    GLenum buffer = IsDefaultFramebuffer() ? GL_BACK : GL_COLOR_ATTACHMENT0;
    if (m_isES3) {
        buffer = GL_NONE;
        const GLint drawBuffers = Get(GL_MAX_DRAW_BUFFERS);
        for (GLint i = 0; i < drawBuffers && buffer == GL_NONE; ++i)
            buffer = static_cast<GLenum>(Get(GL_DRAW_BUFFER0 + i));
    }
    const bool isThere =
        IsDefaultFramebuffer() || GetAttachment(buffer, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE) != GL_NONE;
    return isThere ? buffer : GL_NONE;
}

/// A property of an attachment of the framebuffer that is read, 0 when there is none.
std::int32_t FramebufferReader::GetAttachment(unsigned int attachment, unsigned int name) const
{
    GLint value = 0;
    m_gl.glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, attachment, name, &value);
    return value;
}

FramebufferReader::Storage FramebufferReader::FindStorage(unsigned int attachment) const
{
    const GLint objectType = GetAttachment(attachment, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE);
    if (objectType == GL_TEXTURE)
        return FindTextureStorage(attachment);
    if (objectType != GL_RENDERBUFFER)
        return {};

    const auto bound =
        Core::BindScoped(m_gl, m_gl.glBindRenderbuffer, Core::Renderbuffer,
                         static_cast<GLuint>(GetAttachment(attachment, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME)));
    Storage storage;
    GLint internalFormat = 0;
    m_gl.glGetRenderbufferParameteriv(GL_RENDERBUFFER, GL_RENDERBUFFER_WIDTH, &storage.width);
    m_gl.glGetRenderbufferParameteriv(GL_RENDERBUFFER, GL_RENDERBUFFER_HEIGHT, &storage.height);
    m_gl.glGetRenderbufferParameteriv(GL_RENDERBUFFER, GL_RENDERBUFFER_INTERNAL_FORMAT, &internalFormat);
    storage.internalFormat = static_cast<GLenum>(internalFormat);
    return storage;
}

FramebufferReader::Storage FramebufferReader::FindTextureStorage(unsigned int attachment) const
{
    if (!m_isES31) {
        // Before OpenGL ES 3.1 the size of a texture cannot be asked for; what is drawn fills the viewport.
        GLint viewport[4] = {};
        m_gl.glGetIntegerv(GL_VIEWPORT, viewport);
        return {viewport[0] + viewport[2], viewport[1] + viewport[3], GL_NONE};
    }

    const auto texture = static_cast<GLuint>(GetAttachment(attachment, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME));
    const GLint level = GetAttachment(attachment, GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LEVEL);
    (void)TakeErrors();
    // Nothing tells the target of a texture, but a texture can be bound to its own target only.
    for (const TextureTarget& candidate : TextureTargets) {
        const auto bound = Core::BindScoped(m_gl, m_gl.glBindTexture, {candidate.target, candidate.binding}, texture);
        if (TakeErrors() != GL_NO_ERROR)
            continue;
        Storage storage;
        GLint internalFormat = 0;
        m_gl.glGetTexLevelParameteriv(candidate.levelTarget, level, GL_TEXTURE_WIDTH, &storage.width);
        m_gl.glGetTexLevelParameteriv(candidate.levelTarget, level, GL_TEXTURE_HEIGHT, &storage.height);
        m_gl.glGetTexLevelParameteriv(candidate.levelTarget, level, GL_TEXTURE_INTERNAL_FORMAT, &internalFormat);
        storage.internalFormat = static_cast<GLenum>(internalFormat);
        return storage;
    }
    return {};
}

FramebufferReader::Result FramebufferReader::ReadBuffer(Buffer buffer, unsigned int format, unsigned int type)
{
    // The driver resolves a multisampled default framebuffer itself.
    return !IsDefaultFramebuffer() && m_isES3 && Get(GL_SAMPLE_BUFFERS) > 0 ? ReadResolved(buffer, format, type)
                                                                            : Read(format, type);
}

/// Reads a buffer of a multisampled framebuffer object through a copy with one sample a pixel.
FramebufferReader::Result FramebufferReader::ReadResolved(Buffer buffer, unsigned int format, unsigned int type)
{
    const Storage storage = FindStorage(buffer.attachment);
    // A copy of depth or stencil has the same format, and so both where they are in one.
    const bool isPacked =
        storage.internalFormat == GL_DEPTH24_STENCIL8 || storage.internalFormat == GL_DEPTH32F_STENCIL8;
    const GLenum attachment = buffer.bit == GL_COLOR_BUFFER_BIT ? GL_COLOR_ATTACHMENT0
                              : isPacked                        ? GL_DEPTH_STENCIL_ATTACHMENT
                                                                : buffer.attachment;
    const auto scissor = Core::DisableScoped(m_gl, GL_SCISSOR_TEST); // cuts blits as well
    const auto boundRenderbuffer = Core::KeepBound(m_gl, m_gl.glBindRenderbuffer, Core::Renderbuffer);
    (void)TakeErrors();

    GLuint renderbuffer = 0;
    GLuint framebuffer = 0;
    m_gl.glGenRenderbuffers(1, &renderbuffer);
    m_gl.glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
    m_gl.glRenderbufferStorage(GL_RENDERBUFFER, storage.internalFormat, m_width, m_height);
    m_gl.glGenFramebuffers(1, &framebuffer);
    m_gl.glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffer);
    m_gl.glFramebufferRenderbuffer(GL_DRAW_FRAMEBUFFER, attachment, GL_RENDERBUFFER, renderbuffer);
    m_gl.glBlitFramebuffer(0, 0, m_width, m_height, 0, 0, m_width, m_height, buffer.bit, GL_NEAREST);

    Result result;
    if (const GLenum error = TakeErrors(); error != GL_NO_ERROR) {
        result.error = Failed("resolving the multisampled framebuffer", error);
    } else {
        m_gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
        result = Read(format, type);
    }

    m_gl.glBindFramebuffer(GL_FRAMEBUFFER, m_framebuffer);
    m_gl.glDeleteFramebuffers(1, &framebuffer);
    m_gl.glDeleteRenderbuffers(1, &renderbuffer);
    return result;
}

FramebufferReader::Result FramebufferReader::Read(unsigned int format, unsigned int type)
{
    // The sizes are positive 32-bit numbers, so that two of the three factors cannot overflow.
    const std::uint64_t pixels = static_cast<std::uint64_t>(m_width) * static_cast<std::uint64_t>(m_height);
    const std::uint32_t pixelBytes = BytesPerPixel(format, type);
    if (pixels > MaxReadBytes / pixelBytes) {
        const std::string size = std::to_string(m_width) + "x" + std::to_string(m_height);
        return {{}, "the framebuffer is too large (" + size + ")", false};
    }

    Pixels read{static_cast<std::uint32_t>(m_width), static_cast<std::uint32_t>(m_height), format, type, {}};
    read.data.resize(pixels * pixelBytes);
    (void)TakeErrors();
    m_gl.glReadPixels(0, 0, m_width, m_height, format, type, read.data.data());
    if (const GLenum error = TakeErrors(); error != GL_NO_ERROR)
        return {{}, Failed("glReadPixels", error), false};
    return {std::move(read), {}, false};
}

} // namespace Util
