#include "Probe/Contents/TexelPass.h"

#include <array>
#include <utility>

#include "Probe/Contents/ObjectContents.h"
#include "Probe/LiveGL.h"
#include "Probe/Overlays/RedrawGuard.h"
#include "Probe/Programs/ProgramVariant.h"

namespace Probe {

namespace {

constexpr const char* VertexCode =
    "#version 300 es\n"
    "void main() { gl_Position = vec4(gl_VertexID == 1 ? 3.0 : -1.0, gl_VertexID == 2 ? 3.0 : -1.0, 0.0, 1.0); }\n";

Core::ScopedState KeepInteger(GLenum name, Core::ScopedState::Set set)
{
    return {Core::GetInteger(GL(), name), std::move(set)};
}

/// The state that decides what reaches a framebuffer, such that everything does.
class PlainDrawing {
public:
    PlainDrawing(GLsizei width, GLsizei height)
    {
        constexpr std::array Capabilities = {GL_BLEND,        GL_CULL_FACE,       GL_DEPTH_TEST,
                                             GL_STENCIL_TEST, GL_SCISSOR_TEST,    GL_RASTERIZER_DISCARD,
                                             GL_DITHER,       GL_SAMPLE_COVERAGE, GL_SAMPLE_ALPHA_TO_COVERAGE};
        for (std::size_t i = 0; i < m_capabilities.size(); ++i)
            m_capabilities[i] = Core::DisableScoped(GL(), static_cast<GLenum>(Capabilities[i]));
        GL().glGetFloatv(GL_VIEWPORT, m_viewport.data());
        GL().glGetBooleanv(GL_COLOR_WRITEMASK, m_mask.data());
        SetViewport({0, 0, static_cast<GLfloat>(width), static_cast<GLfloat>(height)});
        SetMask({GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE});
    }
    ~PlainDrawing()
    {
        SetMask(m_mask);
        SetViewport(m_viewport);
    }
    PlainDrawing(const PlainDrawing&) = delete;
    PlainDrawing& operator=(const PlainDrawing&) = delete;

private:
    using Viewport = std::array<GLfloat, 4>;
    using Mask = std::array<GLboolean, 4>;

    /// The first one, where there are several.
    static void SetViewport(const Viewport& area)
    {
        if (Core::CapabilityCount(GL(), GL_SCISSOR_TEST) > 1)
            Core::KHRLayer::GLESExtProc().glViewportIndexedfOES(0, area[0], area[1], area[2], area[3]);
        else
            GL().glViewport(static_cast<GLint>(area[0]), static_cast<GLint>(area[1]), static_cast<GLsizei>(area[2]),
                            static_cast<GLsizei>(area[3]));
    }
    /// That of the first colour buffer, where each has one.
    static void SetMask(const Mask& mask)
    {
        if (Core::CapabilityCount(GL(), GL_BLEND) > 1)
            GL().glColorMaski(0, mask[0], mask[1], mask[2], mask[3]);
        else
            GL().glColorMask(mask[0], mask[1], mask[2], mask[3]);
    }

    std::array<Core::ScopedState, 9> m_capabilities;
    Viewport m_viewport = {};
    Mask m_mask = {};
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
bool AttachStorage(GLuint renderbuffer, const TexelPass& pass)
{
    const auto bound = Core::BindScoped(GL(), GL().glBindRenderbuffer, Core::Renderbuffer, renderbuffer);
    for (const GLenum format : {GL_RGBA32F, GL_RGBA8}) {
        if (format == GL_RGBA32F && pass.isForPeople)
            continue;
        GL().glRenderbufferStorage(GL_RENDERBUFFER, format, pass.width, pass.height);
        GL().glFramebufferRenderbuffer(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, renderbuffer);
        if (GL().glCheckFramebufferStatus(GL_DRAW_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE)
            return true;
    }
    return false;
}

Contents DrawWith(GLuint program, const TexelPass& pass)
{
    const auto used = UseScoped(program);
    GL().glUniform1i(GL().glGetUniformLocation(program, "image"), 0);
    GL().glUniform1i(GL().glGetUniformLocation(program, "layer"), pass.layer);
    GL().glUniform2i(GL().glGetUniformLocation(program, "size"), pass.width, pass.height);
    GL().glDrawArrays(GL_TRIANGLES, 0, 3);
    const GLenum error = Core::TakeErrors(GL());
    return error == GL_NO_ERROR ? ToContents(Util::FramebufferReader().ReadColor())
                                : Contents{.problem = "it cannot be drawn"};
}

Contents Draw(const TexelPass& pass)
{
    const auto unit =
        KeepInteger(GL_ACTIVE_TEXTURE, [](int active) { GL().glActiveTexture(static_cast<GLenum>(active)); });
    GL().glActiveTexture(GL_TEXTURE0);
    const auto bound = Core::BindScoped(GL(), GL().glBindTexture, BindingOf(pass.target), pass.texture);
    const NearestSampler sampler;
    const PlainTexture plain(pass.target, pass.level);
    const TemporaryFramebuffer framebuffer;
    GLuint renderbuffer = 0;
    GL().glGenRenderbuffers(1, &renderbuffer);
    GLuint array = 0;
    GL().glGenVertexArrays(1, &array);
    Contents contents;
    if (AttachStorage(renderbuffer, pass)) {
        const auto arrays =
            KeepInteger(GL_VERTEX_ARRAY_BINDING, [](int name) { GL().glBindVertexArray(static_cast<GLuint>(name)); });
        GL().glBindVertexArray(array);
        const PlainDrawing drawing(pass.width, pass.height);
        ProgramFault fault;
        const auto program = ProgramVariant::Make(
            {.shaders = {{GL_VERTEX_SHADER, VertexCode}, {GL_FRAGMENT_SHADER, pass.fragment}}}, fault);
        contents = program ? DrawWith(program->Program(), pass) : Contents{.problem = std::move(fault.log)};
        GL().glDeleteProgram(program ? program->Program() : 0);
    } else {
        contents.problem = "there is nothing to draw it to";
    }
    GL().glDeleteVertexArrays(1, &array);
    GL().glDeleteRenderbuffers(1, &renderbuffer);
    return contents;
}

} // namespace

Contents RunTexelPass(const TexelPass& pass)
{
    if (Core::GetVersion(GL()) < 30)
        return {.problem = LackOfFunctions()};
    Core::TakeErrors(GL());
    if (IsDrawingCounted() || Core::GetInteger(GL(), GL_TRANSFORM_FEEDBACK_ACTIVE) != 0)
        return {.problem = "it cannot be drawn while the program counts what is drawn"};
    Contents contents = Draw(pass);
    Core::TakeErrors(GL());
    return contents;
}

} // namespace Probe
