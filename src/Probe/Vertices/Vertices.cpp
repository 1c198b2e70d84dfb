#include "Probe/Vertices/Vertices.h"

#include <cstring>
#include <map>

#include "Probe/Contents/ObjectContents.h"
#include "Probe/LiveGL.h"
#include "Probe/Vertices/DrawIndices.h"
#include "Replay/Driver/Programs.h"

namespace Probe {

namespace {

GLint Attribute(GLuint index, GLenum name)
{
    GLint value = 0;
    GL().glGetVertexAttribiv(index, name, &value);
    return value;
}

std::size_t ComponentBytes(GLenum type)
{
    switch (type) {
    case GL_BYTE:
    case GL_UNSIGNED_BYTE:
        return 1;
    case GL_SHORT:
    case GL_UNSIGNED_SHORT:
    case GL_HALF_FLOAT:
        return 2;
    case GL_FLOAT:
    case GL_FIXED:
    case GL_INT:
    case GL_UNSIGNED_INT:
        return 4;
    default:
        return 0;
    }
}

double HalfFloat(std::uint16_t bits)
{
    const std::uint32_t exponent = bits >> 10 & 31;
    const std::uint32_t fraction = bits & 1023;
    std::uint32_t whole = (bits & 0x8000U) << 16;
    if (exponent == 31) {
        whole |= 0x7F800000U | fraction << 13;
    } else if (exponent != 0) {
        whole |= (exponent + 112) << 23 | fraction << 13;
    } else {
        // Multiples of 2 to the power of -24.
        const double value = static_cast<double>(fraction) / 16777216;
        return whole != 0 ? -value : value;
    }
    float value = 0;
    std::memcpy(&value, &whole, sizeof value);
    return static_cast<double>(value);
}

template <class T> double Load(const std::uint8_t* at)
{
    T value;
    std::memcpy(&value, at, sizeof value);
    return static_cast<double>(value);
}

double Component(const VertexArray& array, const std::uint8_t* at)
{
    const auto scaled = [&](double value, double most) { return array.isNormalized ? value / most : value; };
    switch (array.type) {
    case GL_BYTE:
        return scaled(Load<std::int8_t>(at), 127);
    case GL_UNSIGNED_BYTE:
        return scaled(Load<std::uint8_t>(at), 255);
    case GL_SHORT:
        return scaled(Load<std::int16_t>(at), 32767);
    case GL_UNSIGNED_SHORT:
        return scaled(Load<std::uint16_t>(at), 65535);
    case GL_INT:
        return scaled(Load<std::int32_t>(at), 2147483647);
    case GL_UNSIGNED_INT:
        return scaled(Load<std::uint32_t>(at), 4294967295.0);
    case GL_FIXED:
        return Load<std::int32_t>(at) / 65536;
    case GL_HALF_FLOAT:
        return HalfFloat(static_cast<std::uint16_t>(Load<std::uint16_t>(at)));
    default:
        return Load<float>(at);
    }
}

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
            if (Attribute(index, GL_VERTEX_ATTRIB_ARRAY_ENABLED) == 0)
                continue;
            VertexArray array = {index, m_names[i], Attribute(index, GL_VERTEX_ATTRIB_ARRAY_SIZE)};
            array.type = static_cast<GLenum>(Attribute(index, GL_VERTEX_ATTRIB_ARRAY_TYPE));
            array.isNormalized = Attribute(index, GL_VERTEX_ATTRIB_ARRAY_NORMALIZED) != 0;
            array.isInteger = Attribute(index, GL_VERTEX_ATTRIB_ARRAY_INTEGER) != 0;
            array.stride = Attribute(index, GL_VERTEX_ATTRIB_ARRAY_STRIDE);
            array.divisor = Attribute(index, GL_VERTEX_ATTRIB_ARRAY_DIVISOR);
            if (array.stride == 0)
                array.stride = array.size * static_cast<int>(ComponentBytes(array.type));
            void* pointer = nullptr;
            GL().glGetVertexAttribPointerv(index, GL_VERTEX_ATTRIB_ARRAY_POINTER, &pointer);
            const auto buffer = static_cast<GLuint>(Attribute(index, GL_VERTEX_ATTRIB_ARRAY_BUFFER_BINDING));
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
            const std::size_t bytes = ComponentBytes(array.type);
            std::vector<double> values;
            if (index >= 0 && bytes != 0) {
                const std::uint64_t vertex = array.divisor != 0 ? 0 : static_cast<std::uint64_t>(index);
                const std::uint64_t place = array.offset + vertex * static_cast<std::uint64_t>(array.stride);
                const std::uint8_t* const at = m_memory[i].At(place, bytes * static_cast<std::size_t>(array.size));
                for (int k = 0; at && k < array.size; ++k)
                    values.push_back(Component(array, at + static_cast<std::size_t>(k) * bytes));
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
