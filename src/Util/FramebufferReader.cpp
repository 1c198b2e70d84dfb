#include "Util/FramebufferReader.h"

#include <utility>

#include <GLES3/gl32.h>
// Needs the types of the header above.
#include <GLES2/gl2ext.h>

#include "Util/PixelTransfer.h"

namespace Util {

namespace {

constexpr std::uint64_t MaxReadBytes = std::uint64_t{1} << 31;

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
    m_version = m_isES3 ? version : 20;

    (void)TakeErrors();
    m_rows.emplace(m_gl, Core::PixelTransfer::Read, m_version);
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
    return ReadColor(m_colorBuffer);
}

FramebufferReader::Result FramebufferReader::ReadColor(unsigned int buffer)
{
    if (!m_error.empty() || buffer == GL_NONE)
        return {{}, m_error, false};
    Core::ColorTransfer transfer = {GL_RGBA, GL_UNSIGNED_BYTE, 4};
    if (m_isES3) {
        m_gl.glReadBuffer(buffer);
        transfer = Core::FindColorTransfer(m_gl, GL_FRAMEBUFFER, buffer);
    }
    return ReadBuffer({buffer, GL_COLOR_BUFFER_BIT}, transfer.format, transfer.type);
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

void FramebufferReader::ArrangeReadFramebuffer()
{
    m_framebuffer = static_cast<GLuint>(Get(GL_FRAMEBUFFER_BINDING));
    if (m_isES3) {
        m_readFramebuffer = Core::BindScoped(m_gl, m_gl.glBindFramebuffer, Core::ReadFramebuffer, m_framebuffer);
        m_readBuffer = Core::KeepReadBuffer(m_gl);
    }
    const std::vector<unsigned int> buffers = ColorBuffers();
    m_colorBuffer = buffers.empty() ? GL_NONE : buffers.front();
}

void FramebufferReader::FindSize()
{
    // A driver of OpenGL ES 1.1 may have the default framebuffer alone.
    const GLenum status =
        m_gl.glCheckFramebufferStatus ? m_gl.glCheckFramebufferStatus(GL_FRAMEBUFFER) : GLenum{GL_FRAMEBUFFER_COMPLETE};
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
            const Core::AttachmentStorage storage = FindStorage(attachment);
            m_width = storage.width;
            m_height = storage.height;
        }
    }
    if (m_width <= 0 || m_height <= 0)
        m_error = "the framebuffer has no size";
}

std::vector<unsigned int> FramebufferReader::ColorBuffers() const
{
    std::vector<unsigned int> buffers;
    const auto add = [&](GLenum buffer) {
        if (buffer != GL_NONE &&
            (IsDefaultFramebuffer() || GetAttachment(buffer, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE) != GL_NONE))
            buffers.push_back(buffer);
    };
    if (!m_isES3)
        add(IsDefaultFramebuffer() ? GL_BACK : GL_COLOR_ATTACHMENT0);
    for (GLint i = 0; m_isES3 && i < Get(GL_MAX_DRAW_BUFFERS); ++i)
        add(static_cast<GLenum>(Get(GL_DRAW_BUFFER0 + i)));
    return buffers;
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
    const Core::AttachmentStorage storage = FindStorage(buffer.attachment);
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
