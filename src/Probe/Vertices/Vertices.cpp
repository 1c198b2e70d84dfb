#include "Probe/Vertices/Vertices.h"

#include <map>

#include "Probe/Contents/Numbers.h"
#include "Probe/Contents/ObjectContents.h"
#include "Probe/LiveGL.h"
#include "Probe/Vertices/DrawIndices.h"
#include "Replay/Driver/Programs.h"

namespace Probe {

namespace {

/// Memory that a draw reads: a buffer, or that of the program, which ends where the draw does.
struct Memory {
    std::vector<std::uint8_t> buffer = {};
    const std::uint8_t* program = nullptr;

    [[nodiscard]] const std::uint8_t* At(std::uint64_t offset, std::size_t bytes) const
    {
        if (program)
            return program + offset;
        return offset <= buffer.size() && bytes <= buffer.size() - offset ? buffer.data() + offset : nullptr;
    }
};

class TableReader {
public:
    TableReader(const Data::CallArguments& draw, bool isPlayed, const Playback::GLResourceTable& names,
                const std::vector<std::uint32_t>& buffers)
        : m_draw(draw), m_isPlayed(isPlayed)
    {
        for (const std::uint32_t buffer : buffers)
            m_captured[names.GetValueGLBuffer(buffer)] = buffer;
        const std::uint32_t program = names.GetCurrentProgram();
        if (const GLuint live = program != 0 ? names.GetValueGLProgram(program) : 0; live != 0)
            for (const auto& [attribute, location] : Replay::ActiveAttributes(live))
                m_names[location] = attribute.name;
    }

    VertexTable Read(std::uint32_t first, std::uint32_t most)
    {
        Core::TakeErrors(GL());
        ReadArrays();
        ReadRows(first, most);
        Core::TakeErrors(GL());
        return std::move(m_table);
    }

private:
    void ReadArrays()
    {
        for (GLint i = 0; i < Core::GetInteger(GL(), GL_MAX_VERTEX_ATTRIBS); ++i) {
            const auto index = static_cast<GLuint>(i);
            if (Replay::VertexAttribute(index, GL_VERTEX_ATTRIB_ARRAY_ENABLED) == 0)
                continue;
            VertexArray array = {index, m_names[i], Replay::VertexAttribute(index, GL_VERTEX_ATTRIB_ARRAY_SIZE)};
            array.type = static_cast<GLenum>(Replay::VertexAttribute(index, GL_VERTEX_ATTRIB_ARRAY_TYPE));
            array.isNormalized = Replay::VertexAttribute(index, GL_VERTEX_ATTRIB_ARRAY_NORMALIZED) != 0;
            array.isInteger = Replay::VertexAttribute(index, GL_VERTEX_ATTRIB_ARRAY_INTEGER) != 0;
            array.stride = Replay::VertexAttribute(index, GL_VERTEX_ATTRIB_ARRAY_STRIDE);
            array.divisor = Replay::VertexAttribute(index, GL_VERTEX_ATTRIB_ARRAY_DIVISOR);
            if (array.stride == 0)
                array.stride = array.size * static_cast<int>(DescribeNumber(array.type).bytes);
            void* pointer = nullptr;
            GL().glGetVertexAttribPointerv(index, GL_VERTEX_ATTRIB_ARRAY_POINTER, &pointer);
            const auto buffer =
                static_cast<GLuint>(Replay::VertexAttribute(index, GL_VERTEX_ATTRIB_ARRAY_BUFFER_BINDING));
            Memory memory;
            if (buffer != 0) {
                array.buffer = m_captured[buffer];
                array.offset = reinterpret_cast<std::uintptr_t>(pointer);
                memory.buffer = BufferContents(buffer);
            } else if (m_isPlayed) {
                memory.program = static_cast<const std::uint8_t*>(pointer);
            }
            m_table.arrays.push_back(std::move(array));
            m_memory.push_back(std::move(memory));
        }
    }

    std::vector<std::uint8_t> BufferContents(GLuint buffer)
    {
        const auto [entry, isNew] = m_read.try_emplace(buffer);
        if (isNew)
            entry->second = ReadBuffer(buffer).data;
        return entry->second;
    }

    void ReadRows(std::uint32_t first, std::uint32_t most)
    {
        DrawIndices drawn = ReadDrawIndices(m_draw, first, most);
        m_table.count = drawn.count;
        m_table.problem = std::move(drawn.problem);
        for (const std::int64_t index : drawn.indices)
            AddRow(index);
    }

    void AddRow(std::int64_t index)
    {
        VertexTable::Row row = {index};
        for (std::size_t i = 0; i < m_table.arrays.size(); ++i) {
            const VertexArray& array = m_table.arrays[i];
            const NumberType type = DescribeNumber(array.type);
            std::vector<double> values;
            if (index >= 0 && type.bytes != 0) {
                const std::uint64_t vertex = array.divisor != 0 ? 0 : static_cast<std::uint64_t>(index);
                const std::uint64_t place = array.offset + vertex * static_cast<std::uint64_t>(array.stride);
                const std::uint8_t* const at = m_memory[i].At(place, type.bytes * static_cast<std::size_t>(array.size));
                const double one = array.isNormalized ? type.one : 1;
                for (int k = 0; at && k < array.size; ++k)
                    values.push_back(type.load(at + static_cast<std::size_t>(k) * type.bytes) / one);
            }
            row.values.push_back(std::move(values));
        }
        m_table.rows.push_back(std::move(row));
    }

    const Data::CallArguments& m_draw;
    bool m_isPlayed;
    VertexTable m_table;
    std::vector<Memory> m_memory;
    std::map<GLuint, std::uint32_t> m_captured;
    std::map<GLint, std::string> m_names;
    std::map<GLuint, std::vector<std::uint8_t>> m_read;
};

} // namespace

VertexTable ReadVertices(const Data::CallArguments& draw, bool isPlayed, const Playback::GLResourceTable& names,
                         const std::vector<std::uint32_t>& buffers, std::uint32_t first, std::uint32_t most)
{
    return TableReader(draw, isPlayed, names, buffers).Read(first, most);
}

} // namespace Probe
