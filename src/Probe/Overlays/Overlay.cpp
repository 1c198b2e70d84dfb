#include "Probe/Overlays/Overlay.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "Probe/Edits/DrawChanges.h"
#include "Probe/LiveGL.h"
#include "Probe/Overlays/FragmentCounter.h"
#include "Probe/Overlays/RedrawGuard.h"
#include "Probe/Vertices/DrawIndices.h"
#include "Replay/Driver/Programs.h"
#include "Replay/Driver/ProgramsInUse.h"

namespace Probe {

namespace {

constexpr std::uint8_t Passed = 1;
constexpr std::uint8_t Failed = 2;
/// Of one draw's outline; more would take minutes.
constexpr std::uint32_t MostVertices = 1U << 22;
/// Whose positions are read.
constexpr std::uint32_t MostShaded = 1U << 20;
/// In pixels: as many as are shaded together.
constexpr double SmallArea = 4;

/// What a draw is made again by, as FragmentCounter wants it.
std::string DrawAgain(Replayer& replayer)
{
    return replayer.Redraw() ? "" : "the driver does not take the draw again";
}

/// Draws to no pixel of the program's framebuffer, so that its shaders know again which one that is: if the program
/// goes on with a clear, Mesa does not tell them.
void TellShaders(Replayer& replayer)
{
    Undo undo;
    DrawOnlyCorner(undo, 0);
    replayer.Redraw();
}

/// Draws other primitives of the same vertices, by indices of the probe's own.
std::string DrawIndexed(Replayer& replayer, const Outline& outline, int instances)
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
    return error == GL_NO_ERROR ? "" : "its geometry or tessellation shader does not take such primitives";
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
        DrawIndices drawn = Vertices(MostVertices);
        if (!drawn.problem.empty())
            return Problem(std::move(drawn.problem));
        const Outline outline = OutlineOf(Mode(), drawn.indices);
        if (outline.indices.empty())
            return Problem("there are no triangles to draw lines around");
        return ToOverlay(CounterOf(outline).Passed({.depth = false, .stencil = false}),
                         "also what is hidden or culled");
    }

    /// Triangles that cover less than SmallArea pixels, by the area between their corners.
    Overlay Small()
    {
        DrawIndices drawn = Vertices(MostShaded);
        if (!drawn.problem.empty())
            return Problem(std::move(drawn.problem));
        if (HasGeometryShader())
            return Problem("its geometry shader makes other triangles");
        const VertexTable shaded = m_replayer.ShadedVertices({0, drawn.count, 0});
        if (!shaded.problem.empty())
            return Problem(shaded.problem);
        const auto triangles = TrianglesOf(Mode(), drawn.indices);
        Outline small = {GL_TRIANGLES, {}};
        std::size_t count = 0;
        for (const std::array<std::uint32_t, 3>& triangle : triangles) {
            if (!IsSmall(shaded, triangle))
                continue;
            ++count;
            for (const std::uint32_t place : triangle)
                small.indices.push_back(static_cast<std::uint32_t>(drawn.indices[place]));
        }
        const std::string note = std::to_string(count) + " of " + std::to_string(triangles.size()) +
                                 " triangles are smaller than 4 pixels, of the first instance";
        if (count == 0)
            return ToOverlay({.pixels = std::vector<std::uint8_t>(PixelCount())}, note);
        return ToOverlay(CounterOf(small).Passed({}), note);
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
    [[nodiscard]] std::size_t PixelCount() const
    {
        return static_cast<std::size_t>(Width()) * static_cast<std::size_t>(m_before.Storage().height);
    }
    [[nodiscard]] GLenum Mode() const
    {
        return static_cast<GLenum>(m_replayer.LastCall()->Find("mode").value_or(GL_PATCHES));
    }

    /// All of the draw's, with a problem where there are more or others than can be drawn by their indices alone.
    [[nodiscard]] DrawIndices Vertices(std::uint32_t most) const
    {
        const auto draw = m_replayer.LastCall();
        DrawIndices drawn = ReadDrawIndices(*draw, 0, most);
        if (drawn.problem.empty() && drawn.count > most)
            drawn.problem = "it has more than " + std::to_string(most) + " vertices";
        if (drawn.problem.empty() && draw->Find("baseinstance").value_or(0) != 0)
            drawn.problem = "it has a base instance";
        return drawn;
    }

    /// `other` must outlive it.
    [[nodiscard]] FragmentCounter CounterOf(const Outline& other) const
    {
        return {m_before,
                [this, &other, instances = InstancesOf(*m_replayer.LastCall())] {
                    return DrawIndexed(m_replayer, other, instances);
                }};
    }

    [[nodiscard]] static bool HasGeometryShader()
    {
        Core::TakeErrors(GL());
        const std::vector<unsigned int> programs = Replay::ProgramsInUse();
        const bool hasOne = std::ranges::any_of(programs, [](unsigned int program) {
            // An error where it has none.
            return Replay::ProgramParameter(program, GL_GEOMETRY_VERTICES_OUT) > 0;
        });
        Core::TakeErrors(GL());
        return hasOne;
    }

    /// By the positions that the vertex shader gives; what reaches behind the eye is not.
    [[nodiscard]] static bool IsSmall(const VertexTable& shaded, const std::array<std::uint32_t, 3>& triangle)
    {
        std::array<GLint, 4> viewport = {};
        GL().glGetIntegerv(GL_VIEWPORT, viewport.data());
        std::array<std::array<double, 2>, 3> corners = {};
        for (std::size_t i = 0; i < corners.size(); ++i) {
            if (triangle[i] >= shaded.rows.size() || shaded.rows[triangle[i]].values.empty())
                return false;
            const std::vector<double>& position = shaded.rows[triangle[i]].values.front();
            if (position.size() != 4 || position[3] <= 0)
                return false;
            corners[i] = {position[0] / position[3] / 2 * viewport[2], position[1] / position[3] / 2 * viewport[3]};
        }
        const auto& [a, b, c] = corners;
        const double twice = (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
        return std::abs(twice) / 2 < SmallArea;
    }

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
    if (kind == "small")
        return maker.Small();
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
    const auto count = [&] {
        if (replayer.Call() <= last)
            counter.Count();
    };
    while (replayer.ToAction(count) == Replayer::Stop::Action && replayer.Action().call < last)
        continue;
    return counter.Result();
}

} // namespace Probe
