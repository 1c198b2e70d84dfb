#include "Probe/DrawIndices.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

#include <GLES3/gl32.h>

#include "Interfaces/Core.h"
#include "Interfaces/GLState.h"
#include "Probe/ObjectContents.h"

namespace Probe {

namespace {

const Core::GLESProcTable& GL()
{
    return Core::KHRLayer::GLESProc();
}

/// Where a draw's indices lie.
struct IndexMemory {
    std::vector<std::uint8_t> bytes = {};
    std::uint64_t offset = 0;
    std::size_t indexBytes = 0;

    /// -1 outside of it.
    [[nodiscard]] std::int64_t At(std::uint32_t vertex) const
    {
        const std::uint64_t place = offset + std::uint64_t{vertex} * indexBytes;
        if (indexBytes == 0 || place > bytes.size() || indexBytes > bytes.size() - place)
            return -1;
        const std::uint8_t* const at = bytes.data() + place;
        std::uint16_t half = 0;
        std::uint32_t whole = 0;
        switch (indexBytes) {
        case sizeof(std::uint8_t):
            return *at;
        case sizeof half:
            std::memcpy(&half, at, sizeof half);
            return half;
        default:
            std::memcpy(&whole, at, sizeof whole);
            return whole;
        }
    }
};

IndexMemory ReadIndexMemory(const Data::CallArguments& draw, GLenum type)
{
    IndexMemory memory;
    memory.indexBytes = type == GL_UNSIGNED_BYTE ? 1 : type == GL_UNSIGNED_SHORT ? 2 : type == GL_UNSIGNED_INT ? 4 : 0;
    const auto parameters = Data::ParametersOf(draw.Call());
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        if (std::string_view(parameters[i].name) != "indices")
            continue;
        const std::span<const std::uint8_t> contents = draw.Contents(i);
        memory.bytes.assign(contents.begin(), contents.end());
        if (const GLint buffer = Core::GetInteger(GL(), GL_ELEMENT_ARRAY_BUFFER_BINDING); buffer != 0) {
            memory.bytes = ReadBuffer(static_cast<GLuint>(buffer)).data;
            memory.offset = static_cast<std::uint64_t>(draw.Number(i));
        }
    }
    return memory;
}

/// Takes the vertices of primitives, which any restart begins anew.
class OutlineBuilder {
public:
    explicit OutlineBuilder(GLenum mode) : m_mode(mode) {}

    void Add(std::int64_t index)
    {
        if (index < 0) {
            End();
            return;
        }
        m_run.push_back(static_cast<std::uint32_t>(index));
    }

    /// The run of vertices is whole.
    void End()
    {
        const std::size_t count = m_run.size();
        switch (m_mode) {
        case GL_POINTS:
            lines.insert(lines.end(), m_run.begin(), m_run.end());
            break;
        case GL_LINES:
            for (std::size_t i = 1; i < count; i += 2)
                Line(i - 1, i);
            break;
        case GL_LINE_STRIP:
        case GL_LINE_LOOP:
            for (std::size_t i = 1; i < count; ++i)
                Line(i - 1, i);
            if (m_mode == GL_LINE_LOOP && count > 2)
                Line(count - 1, 0);
            break;
        case GL_TRIANGLES:
            for (std::size_t i = 2; i < count; i += 3)
                Triangle(i - 2, i - 1, i);
            break;
        case GL_TRIANGLE_FAN:
            for (std::size_t i = 2; i < count; ++i)
                Triangle(0, i - 1, i);
            break;
        default:
            for (std::size_t i = 2; i < count; ++i)
                Triangle(i - 2, i - 1, i);
            break;
        }
        m_run.clear();
    }

    std::vector<std::uint32_t> lines;

private:
    void Line(std::size_t from, std::size_t to) { lines.insert(lines.end(), {m_run[from], m_run[to]}); }
    void Triangle(std::size_t a, std::size_t b, std::size_t c)
    {
        Line(a, b);
        Line(b, c);
        Line(c, a);
    }

    GLenum m_mode;
    std::vector<std::uint32_t> m_run;
};

} // namespace

DrawIndices ReadDrawIndices(const Data::CallArguments& draw, std::uint32_t first, std::uint32_t most)
{
    const std::optional<std::int32_t> count = draw.Find("count");
    if (!count || std::string_view(NameOf(draw.Call())).find("Indirect") != std::string_view::npos)
        return {.problem = "the vertices of this call are not listed"};
    DrawIndices result = {static_cast<std::uint32_t>(std::max(*count, 0))};
    const std::uint32_t end = first + std::min(most, result.count - std::min(first, result.count));
    const std::optional<std::int32_t> type = draw.Find("type");
    if (!type) {
        const std::int64_t begin = draw.Find("first").value_or(0);
        for (std::uint32_t i = first; i < end; ++i)
            result.indices.push_back(begin + i);
        return result;
    }
    const IndexMemory memory = ReadIndexMemory(draw, static_cast<GLenum>(*type));
    const bool isRestarting = GL().glIsEnabled(GL_PRIMITIVE_RESTART_FIXED_INDEX) != 0;
    const std::int64_t restart = (std::int64_t{1} << 8 * memory.indexBytes) - 1;
    const std::int64_t base = draw.Find("basevertex").value_or(0);
    for (std::uint32_t i = first; i < end; ++i) {
        const std::int64_t index = memory.At(i);
        const bool isNone = index < 0 || (isRestarting && index == restart);
        result.indices.push_back(isNone ? -1 : index + base);
    }
    return result;
}

Outline OutlineOf(unsigned int mode, const std::vector<std::int64_t>& indices)
{
    if (mode > GL_TRIANGLE_FAN)
        return {};
    OutlineBuilder builder(mode);
    for (const std::int64_t index : indices)
        builder.Add(index);
    builder.End();
    return {mode == GL_POINTS ? GLenum{GL_POINTS} : GLenum{GL_LINES}, std::move(builder.lines)};
}

} // namespace Probe
