#include "Probe/SampledImage.h"

#include <array>
#include <optional>

#include <GLES3/gl32.h>

#include "Interfaces/Core.h"
#include "Interfaces/GLFramebuffers.h"

namespace Probe {

namespace {

const Core::GLESProcTable& GL()
{
    return Core::KHRLayer::GLESProc();
}

/// How the shader finds a texel.
struct SamplerCode {
    const char* sampler;
    const char* texel;
};

std::optional<SamplerCode> CodeOf(GLenum target)
{
    switch (target) {
    case GL_TEXTURE_2D:
        return SamplerCode{"sampler2D", "texelFetch(image, at, 0)"};
    case GL_TEXTURE_3D:
        return SamplerCode{"sampler3D", "texelFetch(image, ivec3(at, layer), 0)"};
    case GL_TEXTURE_2D_ARRAY:
        return SamplerCode{"sampler2DArray", "texelFetch(image, ivec3(at, layer), 0)"};
    default:
        if (target >= GL_TEXTURE_CUBE_MAP_POSITIVE_X && target <= GL_TEXTURE_CUBE_MAP_NEGATIVE_Z)
            return SamplerCode{"samplerCube", "textureLod(image, Direction(), 0.0)"};
        return std::nullopt;
    }
}

/// A direction to the middle of a texel of each face (OpenGL ES 3.2, table 8.19).
constexpr const char* CubeCode = "vec3 Direction() {\n"
                                 "  vec2 p = 2.0 * (vec2(at) + 0.5) / vec2(size) - 1.0;\n"
                                 "  if (layer == 0) return vec3(1.0, -p.y, -p.x);\n"
                                 "  if (layer == 1) return vec3(-1.0, -p.y, p.x);\n"
                                 "  if (layer == 2) return vec3(p.x, 1.0, p.y);\n"
                                 "  if (layer == 3) return vec3(p.x, -1.0, -p.y);\n"
                                 "  if (layer == 4) return vec3(p.x, -p.y, 1.0);\n"
                                 "  return vec3(-p.x, -p.y, -1.0);\n"
                                 "}\n";

constexpr const char* VertexCode =
    "#version 300 es\n"
    "void main() { gl_Position = vec4(gl_VertexID == 1 ? 3.0 : -1.0, gl_VertexID == 2 ? 3.0 : -1.0, 0.0, 1.0); }\n";

std::string FragmentCode(const SamplerCode& code)
{
    return std::string("#version 300 es\nprecision highp float;\nprecision highp int;\nuniform highp ") + code.sampler +
           " image;\nuniform int layer;\nuniform ivec2 size;\nivec2 at;\nout vec4 color;\n" + CubeCode +
           "void main() {\n  at = ivec2(gl_FragCoord.xy);\n  color = " + code.texel + ";\n}\n";
}

/// A program in use while it lives.
class TexelProgram {
public:
    explicit TexelProgram(const SamplerCode& code)
        : m_used(Core::GetInteger(GL(), GL_CURRENT_PROGRAM),
                 [](int program) { GL().glUseProgram(static_cast<GLuint>(program)); }),
          m_program(GL().glCreateProgram())
    {
        const std::string fragment = FragmentCode(code);
        Attach(GL_VERTEX_SHADER, VertexCode);
        Attach(GL_FRAGMENT_SHADER, fragment.c_str());
        GL().glLinkProgram(m_program);
        GL().glUseProgram(m_program);
    }
    ~TexelProgram()
    {
        m_used = {};
        GL().glDeleteProgram(m_program);
    }
    TexelProgram(const TexelProgram&) = delete;
    TexelProgram& operator=(const TexelProgram&) = delete;

    void Set(GLint layer, GLint width, GLint height) const
    {
        GL().glUniform1i(GL().glGetUniformLocation(m_program, "image"), 0);
        GL().glUniform1i(GL().glGetUniformLocation(m_program, "layer"), layer);
        GL().glUniform2i(GL().glGetUniformLocation(m_program, "size"), width, height);
    }

private:
    void Attach(GLenum type, const char* code) const
    {
        const GLuint shader = GL().glCreateShader(type);
        GL().glShaderSource(shader, 1, &code, nullptr);
        GL().glCompileShader(shader);
        GL().glAttachShader(m_program, shader);
        GL().glDeleteShader(shader);
    }

    Core::ScopedState m_used;
    GLuint m_program;
};

Core::ScopedState KeepInteger(GLenum name, Core::ScopedState::Set set)
{
    return {Core::GetInteger(GL(), name), std::move(set)};
}

/// The state that decides what reaches a framebuffer, such that everything does.
class PlainDrawing {
public:
    PlainDrawing()
    {
        constexpr std::array Capabilities = {GL_BLEND,        GL_CULL_FACE,       GL_DEPTH_TEST,
                                             GL_STENCIL_TEST, GL_SCISSOR_TEST,    GL_RASTERIZER_DISCARD,
                                             GL_DITHER,       GL_SAMPLE_COVERAGE, GL_SAMPLE_ALPHA_TO_COVERAGE};
        for (std::size_t i = 0; i < m_capabilities.size(); ++i)
            m_capabilities[i] = Core::DisableScoped(GL(), static_cast<GLenum>(Capabilities[i]));
        GL().glGetIntegerv(GL_VIEWPORT, m_viewport.data());
        GL().glGetBooleanv(GL_COLOR_WRITEMASK, m_mask.data());
        GL().glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    }
    ~PlainDrawing()
    {
        GL().glColorMask(m_mask[0], m_mask[1], m_mask[2], m_mask[3]);
        GL().glViewport(m_viewport[0], m_viewport[1], m_viewport[2], m_viewport[3]);
    }
    PlainDrawing(const PlainDrawing&) = delete;
    PlainDrawing& operator=(const PlainDrawing&) = delete;

private:
    std::array<Core::ScopedState, 9> m_capabilities;
    std::array<GLint, 4> m_viewport = {};
    std::array<GLboolean, 4> m_mask = {};
};

/// Parameters of the texture bound to a target, such that its texels are read as they are, from one level alone.
class PlainTexture {
public:
    PlainTexture(GLenum target, GLint level) : m_target(target)
    {
        const GLint wanted[] = {level, level, GL_RED, GL_GREEN, GL_BLUE, GL_ALPHA};
        for (std::size_t i = 0; i < std::size(Names); ++i) {
            GL().glGetTexParameteriv(target, static_cast<GLenum>(Names[i]), &m_before[i]);
            GL().glTexParameteri(target, static_cast<GLenum>(Names[i]), wanted[i]);
        }
    }
    ~PlainTexture()
    {
        for (std::size_t i = 0; i < std::size(Names); ++i)
            GL().glTexParameteri(m_target, static_cast<GLenum>(Names[i]), m_before[i]);
    }
    PlainTexture(const PlainTexture&) = delete;
    PlainTexture& operator=(const PlainTexture&) = delete;

private:
    static constexpr int Names[] = {GL_TEXTURE_BASE_LEVEL, GL_TEXTURE_MAX_LEVEL, GL_TEXTURE_SWIZZLE_R,
                                    GL_TEXTURE_SWIZZLE_G,  GL_TEXTURE_SWIZZLE_B, GL_TEXTURE_SWIZZLE_A};
    GLenum m_target;
    GLint m_before[std::size(Names)] = {};
};

/// Drawing would be counted, or is not possible with a program of ours.
bool IsDrawingSeen()
{
    GLint isFeedbackActive = 0;
    GL().glGetIntegerv(GL_TRANSFORM_FEEDBACK_ACTIVE, &isFeedbackActive);
    for (const GLenum target : {GL_ANY_SAMPLES_PASSED, GL_ANY_SAMPLES_PASSED_CONSERVATIVE,
                                GL_TRANSFORM_FEEDBACK_PRIMITIVES_WRITTEN, GL_PRIMITIVES_GENERATED}) {
        GLint query = 0;
        GL().glGetQueryiv(target, GL_CURRENT_QUERY, &query);
        if (query != 0)
            return true;
    }
    return isFeedbackActive != 0;
}

/// Sampler 0 of unit 0 takes nearest texels and compares nothing.
class NearestSampler {
public:
    NearestSampler()
        : m_bound(
              KeepInteger(GL_SAMPLER_BINDING, [](int sampler) { GL().glBindSampler(0, static_cast<GLuint>(sampler)); }))
    {
        GL().glGenSamplers(1, &m_sampler);
        GL().glSamplerParameteri(m_sampler, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        GL().glSamplerParameteri(m_sampler, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        GL().glBindSampler(0, m_sampler);
    }
    ~NearestSampler()
    {
        m_bound = {};
        GL().glDeleteSamplers(1, &m_sampler);
    }
    NearestSampler(const NearestSampler&) = delete;
    NearestSampler& operator=(const NearestSampler&) = delete;

private:
    Core::ScopedState m_bound;
    GLuint m_sampler = 0;
};

/// Attaches a renderbuffer for numbers, or for bytes, to the framebuffer that is bound for drawing. False without.
bool AttachStorage(GLuint renderbuffer, GLint width, GLint height)
{
    const auto bound = Core::BindScoped(GL(), GL().glBindRenderbuffer, Core::Renderbuffer, renderbuffer);
    for (const GLenum format : {GL_RGBA32F, GL_RGBA8}) {
        GL().glRenderbufferStorage(GL_RENDERBUFFER, format, width, height);
        GL().glFramebufferRenderbuffer(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, renderbuffer);
        if (GL().glCheckFramebufferStatus(GL_DRAW_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE)
            return true;
    }
    return false;
}

Contents Draw(const SamplerCode& code, GLuint texture, const TextureImage& image)
{
    const bool isFace =
        image.target >= GL_TEXTURE_CUBE_MAP_POSITIVE_X && image.target <= GL_TEXTURE_CUBE_MAP_NEGATIVE_Z;
    const auto unit =
        KeepInteger(GL_ACTIVE_TEXTURE, [](int active) { GL().glActiveTexture(static_cast<GLenum>(active)); });
    GL().glActiveTexture(GL_TEXTURE0);
    const Core::BindingPoint binding = BindingOf(image.target);
    const auto bound = Core::BindScoped(GL(), GL().glBindTexture, binding, texture);
    GLint size[2] = {};
    GL().glGetTexLevelParameteriv(image.target, image.level, GL_TEXTURE_WIDTH, &size[0]);
    GL().glGetTexLevelParameteriv(image.target, image.level, GL_TEXTURE_HEIGHT, &size[1]);
    const NearestSampler sampler;
    const PlainTexture plain(binding.target, image.level);
    const TemporaryFramebuffer framebuffer;
    GLuint renderbuffer = 0;
    GL().glGenRenderbuffers(1, &renderbuffer);
    GLuint array = 0;
    GL().glGenVertexArrays(1, &array);
    Contents contents;
    if (AttachStorage(renderbuffer, size[0], size[1])) {
        const auto arrays =
            KeepInteger(GL_VERTEX_ARRAY_BINDING, [](int name) { GL().glBindVertexArray(static_cast<GLuint>(name)); });
        GL().glBindVertexArray(array);
        const PlainDrawing drawing;
        const TexelProgram program(code);
        GL().glViewport(0, 0, size[0], size[1]);
        program.Set(isFace ? static_cast<GLint>(image.target - GL_TEXTURE_CUBE_MAP_POSITIVE_X) : image.layer, size[0],
                    size[1]);
        GL().glDrawArrays(GL_TRIANGLES, 0, 3);
        const GLenum error = Core::TakeErrors(GL());
        contents = error == GL_NO_ERROR ? ToContents(Util::FramebufferReader().ReadColor())
                                        : Contents{.problem = "it cannot be drawn"};
    } else {
        contents.problem = "there is nothing to draw it to";
    }
    GL().glDeleteVertexArrays(1, &array);
    GL().glDeleteRenderbuffers(1, &renderbuffer);
    return contents;
}

} // namespace

Contents ReadSampled(unsigned int texture, const TextureImage& image)
{
    const std::optional<SamplerCode> code = CodeOf(image.target);
    if (!code || Core::GetVersion(GL()) < 31)
        return {.problem = "images of its kind cannot be attached to a framebuffer"};
    Core::TakeErrors(GL());
    if (IsDrawingSeen())
        return {.problem = "it cannot be drawn while the program counts what is drawn"};
    Contents contents = Draw(*code, texture, image);
    Core::TakeErrors(GL());
    return contents;
}

} // namespace Probe
