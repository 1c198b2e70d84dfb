#include "Probe/Overlay.h"

#include <algorithm>
#include <array>
#include <utility>

#include <GLES3/gl32.h>

#include "Interfaces/Core.h"
#include "Interfaces/GLFramebuffers.h"
#include "Probe/DrawIndices.h"
#include "Probe/FragmentCounter.h"
#include "Probe/RedrawGuard.h"

namespace Probe {

namespace {

constexpr std::uint8_t Passed = 1;
constexpr std::uint8_t Failed = 2;
/// Of one draw's outline; more would take minutes.
constexpr std::uint32_t MostVertices = 1U << 22;

const Core::GLESProcTable& GL()
{
    return Core::KHRLayer::GLESProc();
}

/// What a draw is made again by, as FragmentCounter wants it.
std::string DrawAgain(Replayer& replayer)
{
    return replayer.Redraw() ? "" : "the driver does not take the draw again";
}

/// Draws to no pixel of the program's framebuffer, so that its shaders know again which one that is: if the program
/// goes on with a clear, Mesa does not tell them.
void TellShaders(Replayer& replayer)
{
    std::array<GLint, 4> box = {};
    GL().glGetIntegerv(GL_SCISSOR_BOX, box.data());
    const GLboolean isOn = GL().glIsEnabled(GL_SCISSOR_TEST);
    GL().glEnable(GL_SCISSOR_TEST);
    GL().glScissor(0, 0, 0, 0);
    replayer.Redraw();
    GL().glScissor(box[0], box[1], box[2], box[3]);
    if (!isOn)
        GL().glDisable(GL_SCISSOR_TEST);
}

/// Draws lines around the triangles, by indices of the probe's own.
std::string DrawOutline(Replayer& replayer, const Outline& outline, int instances)
{
    constexpr Core::BindingPoint ElementArray = {GL_ELEMENT_ARRAY_BUFFER, GL_ELEMENT_ARRAY_BUFFER_BINDING};
    replayer.DeliverVertices();
    GLfloat width = 1;
    GL().glGetFloatv(GL_LINE_WIDTH, &width);
    GL().glLineWidth(1);
    GLuint buffer = 0;
    GL().glGenBuffers(1, &buffer);
    {
        const auto bound = Core::BindScoped(GL(), GL().glBindBuffer, ElementArray, buffer);
        GL().glBufferData(GL_ELEMENT_ARRAY_BUFFER,
                          static_cast<GLsizeiptr>(outline.indices.size() * sizeof outline.indices.front()),
                          outline.indices.data(), GL_STREAM_DRAW);
        Core::TakeErrors(GL());
        replayer.AsEdited([&] {
            GL().glDrawElementsInstanced(outline.mode, static_cast<GLsizei>(outline.indices.size()), GL_UNSIGNED_INT,
                                         nullptr, instances);
            return true;
        });
    }
    const GLenum error = Core::TakeErrors(GL());
    GL().glDeleteBuffers(1, &buffer);
    GL().glLineWidth(width);
    return error == GL_NO_ERROR ? "" : "its shaders take no lines: it has a geometry or a tessellation shader";
}

Overlay Problem(std::string text)
{
    return {.pixels = {.problem = std::move(text)}};
}

class OverlayMaker {
public:
    OverlayMaker(Replayer& replayer, const TestBuffers& before)
        : m_replayer(replayer), m_before(before), m_counter(before, [&replayer] { return DrawAgain(replayer); })
    {
    }

    Overlay Touched()
    {
        const FragmentCounts counts = m_counter.Passed({});
        return ToOverlay(counts, counts.isCounted ? "" : "of several fragments at a pixel one is counted");
    }

    Overlay Wireframe()
    {
        const auto draw = m_replayer.LastCall();
        const DrawIndices drawn = ReadDrawIndices(*draw, 0, MostVertices);
        if (!drawn.problem.empty())
            return Problem(drawn.problem);
        if (drawn.count > MostVertices)
            return Problem("it has more than " + std::to_string(MostVertices) + " vertices");
        if (draw->Find("baseinstance").value_or(0) != 0)
            return Problem("draws with a base instance have no wireframe");
        const Outline outline = OutlineOf(static_cast<GLenum>(draw->Find("mode").value_or(GL_PATCHES)), drawn.indices);
        if (outline.indices.empty())
            return Problem("there are no triangles to draw lines around");
        const int instances = InstancesOf(*draw);
        const FragmentCounter counter(m_before, [&] { return DrawOutline(m_replayer, outline, instances); });
        return ToOverlay(counter.Passed({.depth = false, .stencil = false}), "also what is hidden or culled");
    }

    Overlay Depth()
    {
        const bool isOn = GL().glIsEnabled(GL_DEPTH_TEST) && m_before.Storage().hasDepth;
        const FragmentCounts passed = m_counter.Passed({});
        if (m_counter.CanCount())
            return Tested(passed, m_counter.FailedDepth(), isOn ? "" : "the depth test is off");
        return Tested(passed, Without(m_counter.Passed({.depth = false}), passed),
                      isOn ? "of a pixel with fragments that passed, those that failed are not told"
                           : "the depth test is off");
    }

    Overlay Stencil()
    {
        const FragmentCounts passed = m_counter.Passed({.depth = false});
        return Tested(passed, Without(m_counter.Passed({.depth = false, .stencil = false}), passed),
                      GL().glIsEnabled(GL_STENCIL_TEST) && m_before.Storage().hasStencil ? ""
                                                                                         : "the stencil test is off");
    }

    Overlay Scissor()
    {
        FragmentCounts passed = m_counter.Passed({.depth = false, .stencil = false, .scissor = false});
        FragmentCounts failed = passed;
        const bool isOn = GL().glIsEnabled(GL_SCISSOR_TEST);
        std::array<GLint, 4> box = {};
        GL().glGetIntegerv(GL_SCISSOR_BOX, box.data());
        for (std::size_t i = 0; i < passed.pixels.size(); ++i) {
            const auto x = static_cast<std::int64_t>(i) % Width() - box[0];
            const auto y = static_cast<std::int64_t>(i) / Width() - box[1];
            const bool isInside = !isOn || (x >= 0 && y >= 0 && x < box[2] && y < box[3]);
            (isInside ? failed : passed).pixels[i] = 0;
        }
        return Tested(passed, failed, isOn ? "" : "the scissor test is off");
    }

private:
    [[nodiscard]] int Width() const { return m_before.Storage().width; }

    [[nodiscard]] static int InstancesOf(const Data::CallArguments& draw)
    {
        for (const char* const name : {"instancecount", "primcount", "instanceCount"})
            if (const auto count = draw.Find(name))
                return *count;
        return 1;
    }

    /// Pixels of `all` that `some` has not.
    static FragmentCounts Without(FragmentCounts all, const FragmentCounts& some)
    {
        for (std::size_t i = 0; i < std::min(all.pixels.size(), some.pixels.size()); ++i)
            if (some.pixels[i] != 0)
                all.pixels[i] = 0;
        return all;
    }

    [[nodiscard]] Overlay ToOverlay(const FragmentCounts& counts, std::string note) const
    {
        return {{"stencil8", static_cast<std::uint32_t>(Width()), static_cast<std::uint32_t>(m_before.Storage().height),
                 counts.pixels, counts.problem},
                std::move(note)};
    }

    [[nodiscard]] Overlay Tested(const FragmentCounts& passed, const FragmentCounts& failed, std::string note) const
    {
        FragmentCounts both = {.problem = passed.problem.empty() ? failed.problem : passed.problem};
        for (std::size_t i = 0; i < std::min(passed.pixels.size(), failed.pixels.size()); ++i)
            both.pixels.push_back(
                static_cast<std::uint8_t>((passed.pixels[i] != 0 ? Passed : 0) | (failed.pixels[i] != 0 ? Failed : 0)));
        return ToOverlay(both, std::move(note));
    }

    Replayer& m_replayer;
    const TestBuffers& m_before;
    FragmentCounter m_counter;
};

/// Adds up what the draws of a pass touched.
class PassCounter {
public:
    explicit PassCounter(Replayer& replayer) : m_replayer(replayer) {}

    /// In front of an action.
    void Count()
    {
        const auto call = m_replayer.LastCall();
        const Data::ActionKind kind = call ? Data::ActionOf(call->Call()) : Data::ActionKind::None;
        const bool isDraw = kind == Data::ActionKind::Draw;
        if (!m_replayer.HasContext() || (!isDraw && kind != Data::ActionKind::Clear && kind != Data::ActionKind::Blit))
            return;
        const auto target = std::pair(m_replayer.DrawFramebuffer(), Core::KHRLayer::EGLProc().eglGetCurrentContext());
        if (target != std::exchange(m_target, target))
            m_sum = {};
        if (isDraw)
            Add();
    }

    [[nodiscard]] Overlay Result() const
    {
        if (m_sum.pixels.data.empty() && m_sum.pixels.problem.empty())
            return Problem("nothing was drawn in this pass");
        return m_sum;
    }

private:
    void Add()
    {
        const RedrawGuard guard;
        if (!guard.Obstacle().empty()) {
            m_sum.note = "without draws that cannot be made again: " + guard.Obstacle();
            return;
        }
        const TestBuffers before;
        const Overlay one = OverlayMaker(m_replayer, before).Touched();
        TellShaders(m_replayer);
        if (!one.pixels.problem.empty())
            m_sum.note = "without draws that cannot be made again: " + one.pixels.problem;
        else if (m_sum.pixels.data.size() != one.pixels.data.size())
            m_sum = one;
        else
            AddPixels(one.pixels.data);
    }

    void AddPixels(const std::vector<std::uint8_t>& pixels)
    {
        constexpr int Most = 255;
        for (std::size_t i = 0; i < pixels.size(); ++i)
            m_sum.pixels.data[i] = static_cast<std::uint8_t>(std::min(m_sum.pixels.data[i] + pixels[i], Most));
    }

    Replayer& m_replayer;
    /// Framebuffer and context.
    std::pair<std::string, void*> m_target;
    Overlay m_sum;
};

Overlay MakeOverlay(Replayer& replayer, const TestBuffers& before, std::string_view kind)
{
    OverlayMaker maker(replayer, before);
    if (kind == "touched")
        return maker.Touched();
    if (kind == "wireframe")
        return maker.Wireframe();
    if (kind == "depth")
        return maker.Depth();
    if (kind == "stencil")
        return maker.Stencil();
    if (kind == "scissor")
        return maker.Scissor();
    return Problem("there is no overlay \"" + std::string(kind) + "\"");
}

} // namespace

Overlay OverlayOf(Replayer& replayer, std::string_view kind)
{
    const TestBuffers* const before = replayer.Tests();
    if (!before)
        return Problem("this call is no draw");
    if (!replayer.Action().isPlayed)
        return Problem("the driver did not draw this");
    if (!before->Storage().problem.empty())
        return Problem(before->Storage().problem);
    const RedrawGuard guard;
    if (!guard.Obstacle().empty())
        return Problem(guard.Obstacle());
    Overlay overlay = MakeOverlay(replayer, *before, kind);
    TellShaders(replayer);
    return overlay;
}

Overlay Overdraw(Replayer& replayer, std::uint32_t last)
{
    PassCounter counter(replayer);
    replayer.SetAroundAction(
        [&] {
            if (replayer.Call() <= last)
                counter.Count();
        },
        {});
    while (replayer.ToAction() == Replayer::Stop::Action && replayer.Action().call < last)
        continue;
    replayer.SetAroundAction({}, {});
    return counter.Result();
}

} // namespace Probe
