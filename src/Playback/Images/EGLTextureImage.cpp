#include "Playback/Images/EGLTextureImage.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl3.h>

#include "Interfaces/Core.h"
#include "Interfaces/GLState.h"

namespace Playback {

/// How the pixels of a captured format get into a texture.
struct EGLTextureImage::Format {
    /// The captured format code.
    std::uint32_t code;
    GLint internalFormat;
    GLenum format;
    GLenum type;
    /// In a captured plane.
    std::uint32_t pixelBytes;
    /// Blue comes first.
    bool isBGR;
    /// The internal format needs OpenGL ES 3.0.
    bool isES3;

    /// The fourth byte of a pixel is no alpha, and is not uploaded.
    [[nodiscard]] bool IsOpaque() const { return format == GL_RGB && type == GL_UNSIGNED_BYTE; }
    /// In an upload.
    [[nodiscard]] std::uint32_t UploadBytes() const { return IsOpaque() ? 3 : pixelBytes; }
};

namespace {

constexpr EGLTextureImage::Format Formats[] = {
    {0, GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE, 4, false, false},
    {10, GL_RGBA16F, GL_RGBA, GL_HALF_FLOAT, 8, false, true},
    {24, GL_RGB10_A2, GL_RGBA, GL_UNSIGNED_INT_2_10_10_10_REV, 4, false, true},
    {28, GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE, 4, false, false},
    {29, GL_SRGB8_ALPHA8, GL_RGBA, GL_UNSIGNED_BYTE, 4, false, true},
    {49, GL_RG8, GL_RG, GL_UNSIGNED_BYTE, 2, false, true},
    {61, GL_R8, GL_RED, GL_UNSIGNED_BYTE, 1, false, true},
    {85, GL_RGB, GL_RGB, GL_UNSIGNED_SHORT_5_6_5, 2, false, false},
    {87, GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE, 4, true, false},
    {88, GL_RGB, GL_RGB, GL_UNSIGNED_BYTE, 4, true, false},
    {507, GL_RGB, GL_RGB, GL_UNSIGNED_BYTE, 4, false, false},
};

// The live tables, not those of the replay: what -skipapi takes out of the replay is needed here all the same.
const Core::GLESProcTable& GL()
{
    return Core::KHRLayer::GLESProc();
}

const Core::EGLProcTable& EGL()
{
    return Core::KHRLayer::EGLProc();
}

bool HasFunctions()
{
    const auto& egl = EGL();
    const auto& gl = GL();
    return egl.eglQueryString && egl.eglGetCurrentContext && egl.eglGetCurrentDisplay && egl.eglGetCurrentSurface &&
           egl.eglMakeCurrent && Core::KHRLayer::EGLExtProc().eglCreateImageKHR &&
           Core::KHRLayer::GLESExtProc().glEGLImageTargetTexture2DOES && gl.glGetString && gl.glGetIntegerv &&
           gl.glGenTextures && gl.glBindTexture && gl.glTexParameteri && gl.glTexImage2D && gl.glTexSubImage2D &&
           gl.glDeleteTextures && gl.glPixelStorei && gl.glBindBuffer;
}

bool IsES3()
{
    return Core::GetVersion(GL()) >= 30;
}

/// A context of the display, current while the object lives.
class CurrentContext {
public:
    CurrentContext(EGLDisplay display, EGLContext spare)
        : m_oldDisplay(EGL().eglGetCurrentDisplay()), m_oldContext(EGL().eglGetCurrentContext())
    {
        if (m_oldContext && m_oldDisplay == display) {
            m_context = m_oldContext;
            return;
        }
        m_draw = EGL().eglGetCurrentSurface(EGL_DRAW);
        m_read = EGL().eglGetCurrentSurface(EGL_READ);
        if (spare && EGL().eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, spare)) {
            m_display = display;
            m_context = spare;
        }
    }
    ~CurrentContext()
    {
        if (m_display)
            EGL().eglMakeCurrent(m_oldContext ? m_oldDisplay : m_display, m_draw, m_read, m_oldContext);
    }
    CurrentContext(const CurrentContext&) = delete;
    CurrentContext& operator=(const CurrentContext&) = delete;

    /// Null when there is none.
    [[nodiscard]] EGLContext Get() const { return m_context; }

private:
    EGLDisplay m_oldDisplay;
    EGLContext m_oldContext;
    EGLSurface m_draw = EGL_NO_SURFACE;
    EGLSurface m_read = EGL_NO_SURFACE;
    /// Null while nothing was changed.
    EGLDisplay m_display = EGL_NO_DISPLAY;
    EGLContext m_context = EGL_NO_CONTEXT;
};

/// A texture of its own, bound while the object lives.
class BoundTexture {
public:
    BoundTexture() : m_bound(Core::KeepBound(GL(), GL().glBindTexture, Core::Texture2D))
    {
        GL().glGenTextures(1, &m_texture);
        GL().glBindTexture(GL_TEXTURE_2D, m_texture);
    }
    ~BoundTexture() { GL().glDeleteTextures(1, &m_texture); }
    BoundTexture(const BoundTexture&) = delete;
    BoundTexture& operator=(const BoundTexture&) = delete;

    [[nodiscard]] GLuint Name() const { return m_texture; }

private:
    Core::ScopedState m_bound;
    GLuint m_texture = 0;
};

/// The rows of a plane without what lies between them, in the order of channels that GL takes.
std::vector<std::uint8_t> PackRows(const EGLTextureImage::Format& format, const Data::EGLImageData& data)
{
    const Data::EGLImagePlane& plane = data.planes[0];
    const std::size_t bytes = format.UploadBytes();
    const std::size_t rowBytes = std::size_t{data.width} * bytes;
    std::vector<std::uint8_t> pixels(rowBytes * data.height);
    for (std::size_t row = 0; row < data.height; ++row) {
        const std::uint8_t* const from = plane.data + row * plane.stride;
        std::uint8_t* const to = pixels.data() + row * rowBytes;
        if (bytes == format.pixelBytes)
            std::memcpy(to, from, rowBytes);
        else
            for (std::size_t x = 0; x < data.width; ++x)
                std::copy_n(from + x * format.pixelBytes, bytes, to + x * bytes);
    }
    for (std::size_t at = 0; format.isBGR && at < pixels.size(); at += bytes)
        std::swap(pixels[at], pixels[at + 2]);
    return pixels;
}

} // namespace

std::unique_ptr<EGLTextureImage> EGLTextureImage::Create(void* display, void* spare, const Data::EGLImageData& data)
{
    const auto* format = std::find_if(std::begin(Formats), std::end(Formats),
                                      [&](const Format& candidate) { return candidate.code == data.format; });
    if (!display || format == std::end(Formats) || !HasFunctions() ||
        !Core::HasWord(EGL().eglQueryString(display, EGL_EXTENSIONS), "EGL_KHR_gl_texture_2D_image"))
        return nullptr;
    const CurrentContext context(display, spare);
    if (!context.Get() || (format->isES3 && !IsES3()))
        return nullptr;
    // An upload of this size cannot fail, so that nothing asks for errors, which could be those of a captured call.
    const auto largest = static_cast<std::uint32_t>(Core::GetInteger(GL(), GL_MAX_TEXTURE_SIZE));
    if (data.width == 0 || data.height == 0 || data.width > largest || data.height > largest)
        return nullptr;
    const BoundTexture texture;
    // One level makes the texture complete.
    GL().glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    const Core::PackedRows rows(GL(), Core::PixelTransfer::Upload, Core::GetVersion(GL()));
    GL().glTexImage2D(GL_TEXTURE_2D, 0, format->internalFormat, static_cast<GLsizei>(data.width),
                      static_cast<GLsizei>(data.height), 0, format->format, format->type, nullptr);
    const EGLint attribs[] = {EGL_GL_TEXTURE_LEVEL_KHR, 0, EGL_NONE};
    const std::uintptr_t source = texture.Name();
    void* image = Core::KHRLayer::EGLExtProc().eglCreateImageKHR(display, context.Get(), EGL_GL_TEXTURE_2D_KHR,
                                                                 reinterpret_cast<EGLClientBuffer>(source), attribs);
    return image ? std::unique_ptr<EGLTextureImage>(new EGLTextureImage(display, image, *format, data)) : nullptr;
}

bool EGLTextureImage::SetContents(void* spare, const Data::EGLImageData& data) const
{
    if (data.width != m_width || data.height != m_height || data.format != m_format.code || data.planeCount == 0 ||
        !data.planes || !data.planes[0].data)
        return false;
    const std::uint64_t rowBytes = std::uint64_t{m_width} * m_format.pixelBytes;
    const Data::EGLImagePlane& plane = data.planes[0];
    if (plane.stride < rowBytes || plane.size < std::uint64_t{plane.stride} * (m_height - 1) + rowBytes)
        return false;
    const CurrentContext context(m_display, spare);
    if (!context.Get())
        return false;
    const BoundTexture texture;
    Core::KHRLayer::GLESExtProc().glEGLImageTargetTexture2DOES(GL_TEXTURE_2D, m_image);
    const Core::PackedRows rows(GL(), Core::PixelTransfer::Upload, Core::GetVersion(GL()));
    GL().glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, static_cast<GLsizei>(m_width), static_cast<GLsizei>(m_height),
                         m_format.format, m_format.type, PackRows(m_format, data).data());
    return true;
}

} // namespace Playback
