#include "Playback/Meta/RestorePixels.h"

#include <initializer_list>
#include <optional>

#include "Interfaces/Core.h"
#include "Interfaces/GLState.h"
#include "Interfaces/Util.h"
#include "Playback/PlaybackSettings.h"

namespace Playback {
namespace {

// The live tables, not those of the replay: what -skipapi takes out of the replay is needed here all the same.
const Core::GLESProcTable& GL()
{
    return Core::KHRLayer::GLESProc();
}

template <class... Functions> bool HaveAll(Functions... functions)
{
    return (... && (functions != nullptr));
}

/// Of the active unit.
Core::ScopedState KeepTexture()
{
    return Core::KeepBound(GL(), GL().glBindTexture, Core::Texture2D);
}

/// A new texture with `data` in it; 0 when there is no data or a function is missing. The bindings are put back.
GLuint Create2DTexture(GLenum internalFormat, const CapturedPixels& pixels, const std::uint8_t* data)
{
    const auto& gl = GL();
    if (!data || !HaveAll(gl.glGenTextures, gl.glBindTexture, gl.glTexParameteri, gl.glTexImage2D, gl.glPixelStorei))
        return 0;
    const auto boundTexture = KeepTexture();
    GLuint texture = 0;
    gl.glGenTextures(1, &texture);
    gl.glBindTexture(GL_TEXTURE_2D, texture);
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    const auto packAlignment = Core::PixelStoreScoped(gl, GL_PACK_ALIGNMENT, 1);
    const auto unpackAlignment = Core::PixelStoreScoped(gl, GL_UNPACK_ALIGNMENT, 1);
    gl.glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(internalFormat), static_cast<GLsizei>(pixels.width),
                    static_cast<GLsizei>(pixels.height), 0, pixels.format, pixels.type, data);
    return texture;
}

/// With -syncstate: lets the driver wait until the pixels have arrived.
void SyncTextureLoad()
{
    const auto& gl = GL();
    if (!PlaybackEnvironment::Instance()->m_syncState ||
        !HaveAll(gl.glFlush, gl.glWaitSync, gl.glDeleteSync, gl.glFenceSync))
        return;
    const GLsync sync = gl.glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    gl.glFlush();
    gl.glWaitSync(sync, 0, GL_TIMEOUT_IGNORED);
    gl.glDeleteSync(sync);
}

void BlitToDrawFramebuffer(GLenum attachment, GLbitfield mask, GLenum internalFormat, const CapturedPixels& pixels)
{
    const auto& gl = GL();
    GLuint texture = 0;
    GLuint framebuffer = 0;
    {
        const auto boundFramebuffer = Core::KeepBound(gl, gl.glBindFramebuffer, Core::ReadFramebuffer);
        const auto boundTexture = KeepTexture();
        texture = Create2DTexture(internalFormat, pixels, pixels.data);
        gl.glBindTexture(GL_TEXTURE_2D, texture);
        gl.glGenFramebuffers(1, &framebuffer);
        gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
        gl.glFramebufferTexture2D(GL_READ_FRAMEBUFFER, attachment, GL_TEXTURE_2D, texture, 0);
        const auto width = static_cast<GLint>(pixels.width);
        const auto height = static_cast<GLint>(pixels.height);
        gl.glBlitFramebuffer(0, 0, width, height, 0, 0, width, height, mask, GL_NEAREST);
        if (gl.glGetError() != GL_NO_ERROR) {
            PLAYBACK_LOG(Warning, General, "src/Playback/KHRMetaHandler",
                         "Failed to restore default framebuffer data from %s texture.",
                         Core::LogFormat::NameOrHex(Core::LogFormat::GetGLEnumString, internalFormat).c_str());
        }
        SyncTextureLoad();
    }
    gl.glDeleteTextures(1, &texture);
    gl.glDeleteFramebuffers(1, &framebuffer);
}

/// A program that draws a texture over the whole viewport, in use from construction to destruction.
class QuadProgram {
public:
    QuadProgram()
        : m_vertexShader(Compile(GL_VERTEX_SHADER, {VertexSource})),
          m_fragmentShader(Compile(GL_FRAGMENT_SHADER, {FragmentPrecision, FragmentSource})),
          m_program(GL().glCreateProgram())
    {
        static constexpr GLfloat Positions[] = {-1, -1, -1, 1, 1, -1, 1, 1};
        static constexpr GLfloat TextureCoordinates[] = {0, 0, 0, 1, 1, 0, 1, 1};
        const auto& gl = GL();
        gl.glAttachShader(m_program, m_vertexShader);
        gl.glAttachShader(m_program, m_fragmentShader);
        gl.glLinkProgram(m_program);
        gl.glUseProgram(m_program);
        const GLint sampler = gl.glGetUniformLocation(m_program, "tex");
        m_position = EnableArray("p", Positions);
        m_textureCoordinate = EnableArray("t", TextureCoordinates);
        gl.glActiveTexture(GL_TEXTURE0);
        gl.glUniform1i(sampler, 0);
    }

    ~QuadProgram()
    {
        const auto& gl = GL();
        gl.glDeleteShader(m_vertexShader);
        gl.glDeleteShader(m_fragmentShader);
        gl.glDeleteProgram(m_program);
    }

    QuadProgram(const QuadProgram&) = delete;
    QuadProgram& operator=(const QuadProgram&) = delete;

    void DisableArrays() const
    {
        GL().glDisableVertexAttribArray(m_position);
        GL().glDisableVertexAttribArray(m_textureCoordinate);
    }

private:
    static constexpr const char* VertexSource =
        "attribute vec4 p; attribute vec2 t; varying vec2 tc; void main(){gl_Position=p;tc=t;}";
    /// Fragment shaders have no default precision for floats (OpenGL ES Shading Language 1.00, 4.5.3), and some drivers
    /// insist on one. Nearest filtering needs the highest there is.
    static constexpr const char* FragmentPrecision = "#ifdef GL_FRAGMENT_PRECISION_HIGH\n"
                                                     "precision highp float;\n"
                                                     "#else\n"
                                                     "precision mediump float;\n"
                                                     "#endif\n";
    static constexpr const char* FragmentSource =
        "varying vec2 tc; uniform sampler2D tex; void main(){gl_FragColor=texture2D(tex,tc);}";

    static GLuint Compile(GLenum type, std::initializer_list<const char*> sources)
    {
        const auto& gl = GL();
        const GLuint shader = gl.glCreateShader(type);
        gl.glShaderSource(shader, static_cast<GLsizei>(sources.size()), sources.begin(), nullptr);
        gl.glCompileShader(shader);
        return shader;
    }

    GLuint EnableArray(const char* attribute, const GLfloat* data) const
    {
        const auto& gl = GL();
        const auto location = static_cast<GLuint>(gl.glGetAttribLocation(m_program, attribute));
        gl.glVertexAttribPointer(location, 2, GL_FLOAT, GL_FALSE, 0, data);
        gl.glEnableVertexAttribArray(location);
        return location;
    }

    GLuint m_vertexShader;
    GLuint m_fragmentShader;
    GLuint m_program;
    GLuint m_position = 0;
    GLuint m_textureCoordinate = 0;
};

/// Draws `data` with the program in use. `attach` is called when the texture with the data is bound.
template <class Attach>
void DrawQuad(GLenum internalFormat, const CapturedPixels& pixels, const std::uint8_t* data, Attach attach)
{
    const auto& gl = GL();
    const GLuint texture = Create2DTexture(internalFormat, pixels, data);
    gl.glBindTexture(GL_TEXTURE_2D, texture);
    attach();
    gl.glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    gl.glBindTexture(GL_TEXTURE_2D, 0);
    gl.glDeleteTextures(1, &texture);
}

bool CanDraw()
{
    const auto& gl = GL();
    return HaveAll(gl.glGetIntegerv, gl.glCreateProgram, gl.glCreateShader, gl.glShaderSource, gl.glCompileShader,
                   gl.glAttachShader, gl.glLinkProgram, gl.glUseProgram, gl.glGetUniformLocation,
                   gl.glGetAttribLocation, gl.glVertexAttribPointer, gl.glEnableVertexAttribArray, gl.glActiveTexture,
                   gl.glUniform1i, gl.glBindTexture, gl.glDrawArrays, gl.glDeleteTextures, gl.glGenFramebuffers,
                   gl.glBindFramebuffer, gl.glFramebufferTexture2D, gl.glFramebufferTextureLayer,
                   gl.glDeleteFramebuffers, gl.glDisableVertexAttribArray, gl.glDeleteShader, gl.glDeleteProgram);
}

bool CanBlit()
{
    const auto& gl = GL();
    return HaveAll(gl.glGetIntegerv, gl.glBindTexture, gl.glGenFramebuffers, gl.glBindFramebuffer, gl.glBlitFramebuffer,
                   gl.glDeleteTextures, gl.glDeleteFramebuffers, gl.glGetError, gl.glFramebufferTexture2D);
}

void DrawToTexture(GLenum target, GLuint texture, std::uint32_t depth, GLenum internalFormat, std::uint32_t layerSize,
                   const CapturedPixels& pixels)
{
    const auto& gl = GL();
    const auto bound = static_cast<GLuint>(Core::GetInteger(gl, GL_DRAW_FRAMEBUFFER_BINDING));
    GLuint framebuffer = 0;
    gl.glGenFramebuffers(1, &framebuffer);
    gl.glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffer);
    if (target == GL_TEXTURE_2D_MULTISAMPLE) {
        DrawQuad(
            internalFormat, pixels, pixels.data,
            [&] { gl.glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, target, texture, 0); });
    } else if (target == GL_TEXTURE_2D_MULTISAMPLE_ARRAY) {
        for (std::uint32_t layer = 0; layer < depth; ++layer) {
            DrawQuad(
                internalFormat, pixels, pixels.data + std::size_t{layer} * layerSize,
                [&] {
                    gl.glFramebufferTextureLayer(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, texture, 0,
                                                 static_cast<GLint>(layer));
                });
        }
    }
    gl.glBindFramebuffer(GL_DRAW_FRAMEBUFFER, bound);
    gl.glDeleteFramebuffers(1, &framebuffer);
}

} // namespace

void RestoreDefaultBuffer(DefaultBuffer buffer, const CapturedPixels& pixels)
{
    if (pixels.size == 0 || !pixels.data)
        return;
    const std::int32_t samples = PlaybackEnvironment::Instance()->m_samples;
    if (buffer != DefaultBuffer::Color && samples != 0 && samples != 1)
        return;
    const GLenum internalFormat = Util::GetInternalFormat(pixels.format, pixels.type);
    if (internalFormat == 0 || !CanBlit())
        return;
    switch (buffer) {
    case DefaultBuffer::Color:
        if (samples > 1)
            DrawDataToTarget(GL_BACK, 0, 0, internalFormat, 0, pixels);
        else
            BlitToDrawFramebuffer(GL_COLOR_ATTACHMENT0, GL_COLOR_BUFFER_BIT, internalFormat, pixels);
        break;
    case DefaultBuffer::Depth:
        BlitToDrawFramebuffer(GL_DEPTH_ATTACHMENT, GL_DEPTH_BUFFER_BIT, internalFormat, pixels);
        break;
    case DefaultBuffer::Stencil:
        BlitToDrawFramebuffer(GL_STENCIL_ATTACHMENT, GL_STENCIL_BUFFER_BIT, internalFormat, pixels);
        break;
    }
}

void DrawDataToTarget(std::uint32_t target, std::uint32_t texture, std::uint32_t depth, std::uint32_t internalFormat,
                      std::uint32_t layerSize, const CapturedPixels& pixels)
{
    if (pixels.size == 0 || !pixels.data || !CanDraw())
        return;
    const auto& gl = GL();
    const auto usedProgram = static_cast<GLuint>(Core::GetInteger(gl, GL_CURRENT_PROGRAM));
    // Deleted after the bindings are put back.
    std::optional<QuadProgram> quad;
    const auto boundFramebuffer = Core::KeepBound(gl, gl.glBindFramebuffer, Core::DrawFramebuffer);
    // Of the unit that is active now; put back in the one that the quad uses.
    const auto boundTexture = KeepTexture();
    quad.emplace();
    if (target == GL_BACK)
        DrawQuad(internalFormat, pixels, pixels.data, [] {});
    else
        DrawToTexture(target, texture, depth, internalFormat, layerSize, pixels);
    SyncTextureLoad();

    quad->DisableArrays();
    gl.glUseProgram(usedProgram);
}

} // namespace Playback
