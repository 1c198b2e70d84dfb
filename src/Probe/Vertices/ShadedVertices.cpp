#include "Probe/Vertices/ShadedVertices.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "Probe/Contents/Numbers.h"
#include "Probe/Edits/Undo.h"
#include "Probe/LiveGL.h"
#include "Probe/Programs/ProgramVariant.h"
#include "Probe/Vertices/DrawIndices.h"

namespace Probe {

namespace {

/// Something that the shader gives.
struct Output {
    /// Of an array without an index.
    std::string name;
    GLenum type = GL_FLOAT_VEC4;
    std::size_t components = 4;
};

constexpr std::size_t ComponentBytes = 4;

Output OutputAt(GLuint program, GLuint index)
{
    const auto ask = [&](GLenum property) {
        return Replay::ResourceProperty(program, GL_PROGRAM_OUTPUT, index, property);
    };
    Output output = {Replay::ResourceName(program, GL_PROGRAM_OUTPUT, index), static_cast<GLenum>(ask(GL_TYPE))};
    if (output.name.ends_with("[0]"))
        output.name.resize(output.name.size() - 3);
    output.components =
        Replay::DescribeType(output.type).Components() * static_cast<std::size_t>(std::max(ask(GL_ARRAY_SIZE), 1));
    return output;
}

/// The outputs of the vertex shader, as many as transform feedback takes. `alone` is a program of that shader alone.
std::vector<Output> OutputsOf(GLuint alone)
{
    std::vector<Output> all = {{"gl_Position"}};
    constexpr GLint Least = 64; // GL_MAX_TRANSFORM_FEEDBACK_INTERLEAVED_COMPONENTS of OpenGL ES 3.0
    auto room =
        static_cast<std::size_t>(Core::GetInteger(GL(), GL_MAX_TRANSFORM_FEEDBACK_INTERLEAVED_COMPONENTS, Least));
    room -= all.front().components;
    for (GLuint i = 0; alone != 0 && i < Replay::ResourceCount(alone, GL_PROGRAM_OUTPUT); ++i) {
        Output output = OutputAt(alone, i);
        if (output.name == all.front().name || output.components > room)
            continue;
        room -= output.components;
        all.push_back(std::move(output));
    }
    return all;
}

/// Catches the outputs of a draw's vertices, each of which it draws as a point.
class Catcher {
public:
    Catcher(const Data::CallArguments& draw, const VertexStage& stage, const VertexRange& range, VertexTable table)
        : m_draw(draw), m_stage(stage), m_range(range), m_table(std::move(table))
    {
    }

    VertexTable Run()
    {
        Core::TakeErrors(GL());
        m_table.arrays.clear();
        m_table.problem = Obstacle();
        if (m_table.problem.empty())
            m_table.problem = Catch();
        Core::TakeErrors(GL());
        return std::move(m_table);
    }

private:
    [[nodiscard]] std::string Obstacle() const
    {
        const auto instances = m_draw.Find("instancecount").value_or(1);
        if (!m_stage.problem.empty())
            return m_stage.problem;
        if (Core::GetVersion(GL()) < 30)
            return "transform feedback needs OpenGL ES 3.0";
        if (!m_draw.Find("mode") || m_draw.Find("baseinstance").value_or(0) != 0)
            return "the vertices of this call are not caught";
        if (m_range.instance >= static_cast<std::uint32_t>(std::max(instances, 0)))
            return "the draw has " + std::to_string(instances) + " instances, found instance " +
                   std::to_string(m_range.instance);
        GLint query = 0;
        GL().glGetQueryiv(GL_TRANSFORM_FEEDBACK_PRIMITIVES_WRITTEN, GL_CURRENT_QUERY, &query);
        return query != 0 ? "a query counts what transform feedback writes here" : "";
    }

    /// Empty when all went well.
    std::string Catch()
    {
        // First of all: where that of the program writes, no varyings can be given.
        Undo undo;
        UseOwnFeedback(undo);
        std::optional<ProgramVariant> alone;
        ProgramFault fault;
        if (Core::GetVersion(GL()) >= 31)
            alone = ProgramVariant::Make({m_stage.program, {m_stage.shader}, {}, true}, fault);
        const GLuint name = alone ? alone->Program() : 0;
        const bool isWriting = name != 0 && Replay::MayWriteMemory(name);
        const std::vector<Output> outputs = OutputsOf(name);
        GL().glDeleteProgram(name);
        if (isWriting)
            return "the vertex shader writes to buffers or images, which it may not do twice";
        ProgramVariant::Wish wish = {m_stage.program, {m_stage.shader, OneColour(m_stage.shader.source)}};
        for (const Output& output : outputs)
            wish.varyings.push_back(output.name);
        const auto program = ProgramVariant::Make(wish, fault);
        if (!program)
            return "the vertex shader cannot be linked for transform feedback: " + fault.log;
        std::string problem = Read(*program, outputs);
        GL().glDeleteProgram(program->Program());
        return problem;
    }

    std::string Read(const ProgramVariant& program, const std::vector<Output>& outputs)
    {
        std::size_t stride = 0;
        for (const Output& output : outputs)
            stride += output.components * ComponentBytes;
        const std::size_t instance = m_table.rows.size() * stride;
        constexpr std::size_t Most = std::size_t{256} << 20;
        const std::size_t bytes = instance * (m_range.instance + 1);
        if (bytes > Most)
            return "the draw has too many vertices in front of this instance";
        if (bytes == 0)
            return "";
        Undo undo;
        Use(program, bytes, undo);
        GL().glBeginTransformFeedback(GL_POINTS);
        DrawPoints();
        GL().glEndTransformFeedback();
        if (const GLenum error = Core::TakeErrors(GL()); error != GL_NO_ERROR)
            return "the driver does not catch this draw: " +
                   Core::LogFormat::NameOrHex(Core::LogFormat::GetGLEnumString, error);
        const auto caught = static_cast<std::size_t>(
            std::ranges::count_if(m_table.rows, [](const VertexTable::Row& row) { return row.index >= 0; }));
        const void* const memory = GL().glMapBufferRange(GL_TRANSFORM_FEEDBACK_BUFFER,
                                                         static_cast<GLintptr>(caught * stride * m_range.instance),
                                                         static_cast<GLsizeiptr>(caught * stride), GL_MAP_READ_BIT);
        if (caught == 0 || !memory)
            return caught == 0 ? "" : "what was caught cannot be read";
        Fill(static_cast<const std::uint8_t*>(memory), outputs);
        GL().glUnmapBuffer(GL_TRANSFORM_FEEDBACK_BUFFER);
        return "";
    }

    static GLuint Bound(GLenum query) { return static_cast<GLuint>(Core::GetInteger(GL(), query)); }

    static void UseOwnFeedback(Undo& undo)
    {
        if (Bound(GL_TRANSFORM_FEEDBACK_ACTIVE) != 0 && Bound(GL_TRANSFORM_FEEDBACK_PAUSED) == 0) {
            GL().glPauseTransformFeedback();
            undo.Add([] { GL().glResumeTransformFeedback(); });
        }
        GLuint feedback = 0;
        GL().glGenTransformFeedbacks(1, &feedback);
        undo.Add([feedback, before = Bound(GL_TRANSFORM_FEEDBACK_BINDING)] {
            GL().glBindTransformFeedback(GL_TRANSFORM_FEEDBACK, before);
            GL().glDeleteTransformFeedbacks(1, &feedback);
        });
        GL().glBindTransformFeedback(GL_TRANSFORM_FEEDBACK, feedback);
    }

    /// All else that catching needs.
    static void Use(const ProgramVariant& program, std::size_t bytes, Undo& undo)
    {
        GLuint buffer = 0;
        GL().glGenBuffers(1, &buffer);
        undo.Add([buffer, before = Bound(GL_TRANSFORM_FEEDBACK_BUFFER_BINDING)] {
            GL().glBindBuffer(GL_TRANSFORM_FEEDBACK_BUFFER, before);
            GL().glDeleteBuffers(1, &buffer);
        });
        undo.Add(UseScoped(program.Program()));
        undo.Add(Core::SwitchScoped(GL(), GL_RASTERIZER_DISCARD, true));
        GL().glBindBufferBase(GL_TRANSFORM_FEEDBACK_BUFFER, 0, buffer);
        GL().glBufferData(GL_TRANSFORM_FEEDBACK_BUFFER, static_cast<GLsizeiptr>(bytes), nullptr, GL_STREAM_READ);
        program.TakeValues();
    }

    void DrawPoints() const
    {
        const auto count = static_cast<GLsizei>(m_table.rows.size());
        const auto instances = static_cast<GLsizei>(m_range.instance + 1);
        const auto first = static_cast<GLint>(m_range.first);
        const std::optional<std::int32_t> type = m_draw.Find("type");
        if (!type) {
            GL().glDrawArraysInstanced(GL_POINTS, m_draw.Find("first").value_or(0) + first, count, instances);
            return;
        }
        const auto indexType = static_cast<GLenum>(*type);
        const std::uint8_t* const indices = Indices() + m_range.first * DescribeNumber(indexType).bytes;
        if (const std::int32_t base = m_draw.Find("basevertex").value_or(0); base != 0)
            GL().glDrawElementsInstancedBaseVertex(GL_POINTS, count, indexType, indices, instances, base);
        else
            GL().glDrawElementsInstanced(GL_POINTS, count, indexType, indices, instances);
    }

    /// What the draw gives as its indices: a place in its buffer, or memory.
    [[nodiscard]] const std::uint8_t* Indices() const
    {
        const std::size_t place = IndicesOf(m_draw);
        if (Core::GetInteger(GL(), GL_ELEMENT_ARRAY_BUFFER_BINDING) == 0)
            return m_draw.Contents(place).data();
        return reinterpret_cast<const std::uint8_t*>(static_cast<std::uintptr_t>(m_draw.Number(place)));
    }

    void Fill(const std::uint8_t* at, const std::vector<Output>& outputs)
    {
        for (const Output& output : outputs) {
            VertexArray array = {.name = output.name, .size = static_cast<int>(output.components), .type = output.type};
            array.isInteger = Replay::DescribeType(output.type).base != Replay::VariableType::Base::Float;
            m_table.arrays.push_back(std::move(array));
        }
        for (VertexTable::Row& row : m_table.rows) {
            row.values.assign(outputs.size(), {});
            for (std::size_t i = 0; row.index >= 0 && i < outputs.size(); ++i)
                for (std::size_t k = 0; k < outputs[i].components; ++k, at += ComponentBytes)
                    row.values[i].push_back(Replay::DescribeType(outputs[i].type).Load(at));
        }
    }

    const Data::CallArguments& m_draw;
    const VertexStage& m_stage;
    const VertexRange m_range;
    VertexTable m_table;
};

} // namespace

VertexTable ReadShadedVertices(const Data::CallArguments& draw, const VertexStage& stage, const VertexRange& range,
                               VertexTable table)
{
    return Catcher(draw, stage, range, std::move(table)).Run();
}

} // namespace Probe
