#include "Probe/Vertices/DrawIndices.h"

#include <algorithm>
#include <optional>
#include <span>
#include <string_view>

#include "Probe/Contents/Numbers.h"
#include "Probe/Contents/ObjectContents.h"
#include "Probe/LiveGL.h"

namespace Probe {

namespace {

/// Where a draw's indices lie.
struct IndexMemory {
    std::vector<std::uint8_t> bytes = {};
    std::uint64_t offset = 0;
    NumberType index = {};

    /// -1 outside of it.
    [[nodiscard]] std::int64_t At(std::uint32_t vertex) const
    {
        const std::uint64_t place = offset + std::uint64_t{vertex} * index.bytes;
        if (index.bytes == 0 || place > bytes.size() || index.bytes > bytes.size() - place)
            return -1;
        return static_cast<std::int64_t>(index.load(bytes.data() + place));
    }
};

IndexMemory ReadIndexMemory(const Data::CallArguments& draw, GLenum type)
{
    IndexMemory memory;
    if (type == GL_UNSIGNED_BYTE || type == GL_UNSIGNED_SHORT || type == GL_UNSIGNED_INT)
        memory.index = DescribeNumber(type);
    const std::size_t indices = IndicesOf(draw);
    const std::span<const std::uint8_t> contents = draw.Contents(indices);
    memory.bytes.assign(contents.begin(), contents.end());
    if (const GLint buffer = Core::GetInteger(GL(), GL_ELEMENT_ARRAY_BUFFER_BINDING); buffer != 0) {
        memory.bytes = ReadBuffer(static_cast<GLuint>(buffer)).data;
        memory.offset = static_cast<std::uint64_t>(draw.Number(indices));
    }
    return memory;
}

/// Calls `visit` with the places of the vertices of each run, which an index that restarts primitives ends.
template <class Visit> void ForEachRun(const std::vector<std::int64_t>& indices, Visit visit)
{
    std::vector<std::uint32_t> run;
    for (std::uint32_t i = 0; i < indices.size(); ++i) {
        if (indices[i] >= 0) {
            run.push_back(i);
            continue;
        }
        visit(run);
        run.clear();
    }
    visit(run);
}

} // namespace

std::size_t IndicesOf(const Data::CallArguments& draw)
{
    const auto parameters = Data::ParametersOf(draw.Call());
    const auto indices = std::ranges::find(parameters, std::string_view("indices"),
                                           [](const auto& one) { return std::string_view(one.name); });
    return static_cast<std::size_t>(indices - parameters.begin());
}

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
    const std::int64_t restart = (std::int64_t{1} << 8 * memory.index.bytes) - 1;
    const std::int64_t base = draw.Find("basevertex").value_or(0);
    for (std::uint32_t i = first; i < end; ++i) {
        const std::int64_t index = memory.At(i);
        const bool isNone = index < 0 || (isRestarting && index == restart);
        result.indices.push_back(isNone ? -1 : index + base);
    }
    return result;
}

std::vector<std::array<std::uint32_t, 3>> TrianglesOf(unsigned int mode, const std::vector<std::int64_t>& indices)
{
    std::vector<std::array<std::uint32_t, 3>> triangles;
    ForEachRun(indices, [&](const std::vector<std::uint32_t>& run) {
        const std::size_t step = mode == GL_TRIANGLES ? 3 : 1;
        for (std::size_t i = 2; i < run.size(); i += step)
            if (mode == GL_TRIANGLE_FAN)
                triangles.push_back({run[0], run[i - 1], run[i]});
            else if (mode == GL_TRIANGLE_STRIP && i % 2 == 1)
                triangles.push_back({run[i - 1], run[i - 2], run[i]});
            else if (mode == GL_TRIANGLES || mode == GL_TRIANGLE_STRIP)
                triangles.push_back({run[i - 2], run[i - 1], run[i]});
    });
    return triangles;
}

Outline OutlineOf(unsigned int mode, const std::vector<std::int64_t>& indices)
{
    Outline outline = {mode == GL_POINTS ? GLenum{GL_POINTS} : GLenum{GL_LINES}, {}};
    const auto add = [&](std::uint32_t place) {
        outline.indices.push_back(static_cast<std::uint32_t>(indices[place]));
    };
    for (const auto& [a, b, c] : TrianglesOf(mode, indices))
        for (const std::uint32_t place : {a, b, b, c, c, a})
            add(place);
    if (mode > GL_LINE_STRIP)
        return outline;
    ForEachRun(indices, [&](const std::vector<std::uint32_t>& run) {
        for (std::size_t i = mode == GL_POINTS ? 0 : 1; i < run.size(); i += mode == GL_LINES ? 2 : 1) {
            if (mode != GL_POINTS)
                add(run[i - 1]);
            add(run[i]);
        }
        if (mode == GL_LINE_LOOP && run.size() > 2) {
            add(run.back());
            add(run.front());
        }
    });
    return outline;
}

} // namespace Probe
