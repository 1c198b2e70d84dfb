#include "Probe/Overlays/FragmentCounter.h"

#include <array>

#include "Probe/LiveGL.h"
#include "Util/FramebufferReader.h"

namespace Probe {

namespace {

constexpr GLuint AllBits = 0xFF;

/// After a clear: programs are told what they have to know of the framebuffer, where its rows begin for instance, when
/// something is drawn after it was bound. Where a clear comes in between, Mesa forgets to.
void BindAnew(GLuint framebuffer)
{
    GL().glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 0);
    GL().glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffer);
}

/// Puts the stencil state of both faces back.
class KeptStencil {
public:
    KeptStencil()
    {
        for (std::size_t face = 0; face < m_values.size(); ++face)
            for (std::size_t i = 0; i < Count; ++i)
                m_values[face][i] = static_cast<GLuint>(Core::GetInteger(GL(), Names[face][i]));
    }
    ~KeptStencil()
    {
        for (std::size_t face = 0; face < m_values.size(); ++face) {
            const GLenum side = face == 0 ? GL_FRONT : GL_BACK;
            const auto& [function, reference, mask, fail, depthFail, pass, written] = m_values[face];
            GL().glStencilFuncSeparate(side, function, static_cast<GLint>(reference), mask);
            GL().glStencilOpSeparate(side, fail, depthFail, pass);
            GL().glStencilMaskSeparate(side, written);
        }
    }
    KeptStencil(const KeptStencil&) = delete;
    KeptStencil& operator=(const KeptStencil&) = delete;

private:
    static constexpr std::size_t Count = 7;
    static constexpr GLenum Names[2][Count] = {
        {GL_STENCIL_FUNC, GL_STENCIL_REF, GL_STENCIL_VALUE_MASK, GL_STENCIL_FAIL, GL_STENCIL_PASS_DEPTH_FAIL,
         GL_STENCIL_PASS_DEPTH_PASS, GL_STENCIL_WRITEMASK},
        {GL_STENCIL_BACK_FUNC, GL_STENCIL_BACK_REF, GL_STENCIL_BACK_VALUE_MASK, GL_STENCIL_BACK_FAIL,
         GL_STENCIL_BACK_PASS_DEPTH_FAIL, GL_STENCIL_BACK_PASS_DEPTH_PASS, GL_STENCIL_BACK_WRITEMASK}};
    std::array<std::array<GLuint, Count>, 2> m_values = {};
};

/// Blending of colour buffer 0 paints what is drawn black, whatever the shader's colours are.
class BlackBlending {
public:
    BlackBlending() : m_isIndexed(Core::CapabilityCount(GL(), GL_BLEND) > 1)
    {
        for (std::size_t i = 0; i < m_values.size(); ++i) {
            GLint value = 0;
            if (m_isIndexed)
                GL().glGetIntegeri_v(Names[i], 0, &value);
            else
                GL().glGetIntegerv(Names[i], &value);
            m_values[i] = static_cast<GLenum>(value);
        }
        GL().glGetBooleanv(GL_COLOR_WRITEMASK, m_mask.data());
        Set({GL_FUNC_ADD, GL_FUNC_ADD, GL_ZERO, GL_ZERO, GL_ZERO, GL_ZERO}, {GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE});
    }
    ~BlackBlending() { Set(m_values, m_mask); }
    BlackBlending(const BlackBlending&) = delete;
    BlackBlending& operator=(const BlackBlending&) = delete;

private:
    static constexpr std::array<GLenum, 6> Names = {GL_BLEND_EQUATION_RGB, GL_BLEND_EQUATION_ALPHA, GL_BLEND_SRC_RGB,
                                                    GL_BLEND_DST_RGB,      GL_BLEND_SRC_ALPHA,      GL_BLEND_DST_ALPHA};

    void Set(const std::array<GLenum, 6>& values, const std::array<GLboolean, 4>& mask) const
    {
        const auto& [rgb, alpha, source, destination, sourceAlpha, destinationAlpha] = values;
        // Advanced equations are for both at once.
        if (m_isIndexed) {
            if (rgb == alpha)
                GL().glBlendEquationi(0, rgb);
            else
                GL().glBlendEquationSeparatei(0, rgb, alpha);
            GL().glBlendFuncSeparatei(0, source, destination, sourceAlpha, destinationAlpha);
            GL().glColorMaski(0, mask[0], mask[1], mask[2], mask[3]);
        } else {
            GL().glBlendEquationSeparate(rgb, alpha);
            GL().glBlendFuncSeparate(source, destination, sourceAlpha, destinationAlpha);
            GL().glColorMask(mask[0], mask[1], mask[2], mask[3]);
        }
    }

    bool m_isIndexed;
    Core::ScopedState m_isOn = Core::SwitchScoped(GL(), GL_BLEND, true);
    std::array<GLenum, 6> m_values = {};
    std::array<GLboolean, 4> m_mask = {};
};

/// The tests that are not wanted are off.
class ChosenTests {
public:
    explicit ChosenTests(const TestChoice& tests)
    {
        if (!tests.depth)
            m_states[0] = Core::DisableScoped(GL(), GL_DEPTH_TEST);
        if (!tests.stencil)
            m_states[1] = Core::DisableScoped(GL(), GL_STENCIL_TEST);
        if (!tests.scissor)
            m_states[2] = Core::DisableScoped(GL(), GL_SCISSOR_TEST);
    }

private:
    std::array<Core::ScopedState, 3> m_states;
};

FragmentCounts Problem(std::string text)
{
    return {.problem = std::move(text)};
}

} // namespace

bool FragmentCounter::CanCount() const
{
    return m_before.Storage().HasRoomToCount() && !GL().glIsEnabled(GL_STENCIL_TEST);
}

FragmentCounts FragmentCounter::Passed(const TestChoice& tests) const
{
    if (!m_before.Storage().problem.empty())
        return Problem(m_before.Storage().problem);
    Core::TakeErrors(GL());
    const bool usesStencil = tests.stencil && GL().glIsEnabled(GL_STENCIL_TEST);
    FragmentCounts counts =
        usesStencil || !m_before.Storage().HasRoomToCount() ? InColor(tests) : InStencil(tests, Counted::Passed);
    Core::TakeErrors(GL());
    return counts;
}

FragmentCounts FragmentCounter::FailedDepth() const
{
    if (!CanCount())
        return Problem("fragments are not counted with the stencil test on");
    Core::TakeErrors(GL());
    FragmentCounts counts = InStencil({}, Counted::FailedDepth);
    Core::TakeErrors(GL());
    return counts;
}

FragmentCounts FragmentCounter::InStencil(const TestChoice& tests, Counted counted) const
{
    const TestFramebuffer framebuffer(m_before.Storage(), TestFramebuffer::Color::None);
    if (!framebuffer.CopyFrom(m_before.Framebuffer(), m_before.Storage()))
        return Problem("the driver does not copy depth and stencil");
    const auto bound = Core::BindScoped(GL(), GL().glBindFramebuffer, Core::DrawFramebuffer, framebuffer.Name());
    const ChosenTests chosen(tests);
    const auto stencil = Core::SwitchScoped(GL(), GL_STENCIL_TEST, true);
    const KeptStencil kept;
    GL().glStencilMask(AllBits);
    {
        const auto scissor = Core::DisableScoped(GL(), GL_SCISSOR_TEST);
        constexpr GLint Zero = 0;
        GL().glClearBufferiv(GL_STENCIL, 0, &Zero);
    }
    GL().glStencilFunc(GL_ALWAYS, 0, AllBits);
    GL().glStencilOp(GL_KEEP, counted == Counted::FailedDepth ? GL_INCR : GL_KEEP,
                     counted == Counted::Passed ? GL_INCR : GL_KEEP);
    BindAnew(framebuffer.Name());
    if (std::string problem = m_draw(); !problem.empty())
        return Problem(std::move(problem));
    Util::FramebufferReader::Result result = Util::FramebufferReader().ReadStencil();
    return result.pixels ? FragmentCounts{.pixels = std::move(result.pixels->data)} : Problem(std::move(result.error));
}

FragmentCounts FragmentCounter::InColor(const TestChoice& tests) const
{
    const TestFramebuffer framebuffer(m_before.Storage(), TestFramebuffer::Color::Bytes);
    if (!framebuffer.CopyFrom(m_before.Framebuffer(), m_before.Storage()))
        return Problem("the driver does not copy depth and stencil");
    const auto bound = Core::BindScoped(GL(), GL().glBindFramebuffer, Core::DrawFramebuffer, framebuffer.Name());
    const ChosenTests chosen(tests);
    const BlackBlending blending;
    {
        const auto scissor = Core::DisableScoped(GL(), GL_SCISSOR_TEST);
        constexpr GLfloat White[] = {1, 1, 1, 1};
        GL().glClearBufferfv(GL_COLOR, 0, White);
    }
    BindAnew(framebuffer.Name());
    if (std::string problem = m_draw(); !problem.empty())
        return Problem(std::move(problem));
    const Util::FramebufferReader::Result result = Util::FramebufferReader().ReadColor();
    if (!result.pixels)
        return Problem(result.error);
    FragmentCounts counts = {.isCounted = false};
    constexpr std::size_t PixelBytes = 4;
    for (std::size_t i = 0; i < result.pixels->data.size(); i += PixelBytes)
        counts.pixels.push_back(result.pixels->data[i] == 0 ? 1 : 0);
    return counts;
}

} // namespace Probe
