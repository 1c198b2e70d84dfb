// The part of ContextState that is about vertices: vertex arrays, attributes, and what draws read.
#include <algorithm>
#include <cstring>

#include "Data/GLEnums.h"
#include "Data/State/ContextState.h"

namespace Data {

namespace {

template <class Index>
DrawRange RangeOf(const void* indices, std::int32_t count, bool isPrimitiveRestart, std::int64_t baseVertex)
{
    const auto* at = static_cast<const std::uint8_t*>(indices);
    constexpr Index Restart = static_cast<Index>(~Index{0});
    Index least = Restart;
    Index most = 0;
    bool found = false;
    for (std::int32_t i = 0; i < count; ++i, at += sizeof(Index)) {
        Index index;
        std::memcpy(&index, at, sizeof index);
        if (isPrimitiveRestart && index == Restart)
            continue;
        found = true;
        least = std::min(least, index);
        most = std::max(most, index);
    }
    DrawRange range;
    range.isKnown = true;
    if (!found)
        return range;
    const std::int64_t first = std::int64_t{least} + baseVertex;
    const std::int64_t end = std::int64_t{most} + baseVertex + 1;
    range.isKnown = first >= 0 && end <= std::int64_t{~std::uint32_t{0}};
    range.first = static_cast<std::uint32_t>(first);
    range.count = static_cast<std::uint32_t>(end - first);
    return range;
}

/// The vertices that two draws read, and those between.
DrawRange Hull(const DrawRange& a, const DrawRange& b)
{
    DrawRange hull = a.count == 0 ? b : a;
    if (a.count != 0 && b.count != 0) {
        hull.first = std::min(a.first, b.first);
        hull.count = std::max(a.first + a.count, b.first + b.count) - hull.first;
    }
    hull.isKnown = a.isKnown && b.isKnown;
    return hull;
}

/// Of `draws` draws, each of which `range` tells by its number.
template <class Range> DrawRange RangeOfAll(std::int32_t draws, Range range)
{
    DrawRange all;
    all.isKnown = true;
    for (std::int32_t i = 0; i < draws; ++i)
        all = Hull(all, range(i));
    return all;
}

} // namespace

VertexArrayState::VertexArrayState()
{
    for (std::uint32_t i = 0; i < MaxVertexAttribs; ++i)
        attribs[i].binding = i;
}

void VertexArrayState::UpdateClient(std::uint32_t binding)
{
    const bool isClient = attribs[binding].buffer == 0;
    for (std::uint32_t i = isPlain ? binding : 0; i < (isPlain ? binding + 1 : MaxVertexAttribs); ++i) {
        const std::uint32_t bit = 1u << i;
        if (attribs[i].binding == binding)
            client = isClient ? client | bit : client & ~bit;
    }
}

void ContextState::glGenVertexArrays(std::int32_t n, const void* arrays)
{
    for (const std::uint32_t name : ObjectNames(n, arrays))
        if (name != m_vertexArrayName)
            m_vertexArrays[name] = {};
}

void ContextState::glGenVertexArraysOES(std::int32_t n, const void* arrays)
{
    for (const std::uint32_t name : ObjectNames(n, arrays))
        if (name != m_vertexArrayName)
            m_vertexArrays[name] = {nullptr, true};
}

void ContextState::SetVertexArray(std::uint32_t array)
{
    m_vertexArrayName = array;
    m_isOesVertexArray = false;
    m_vertexArray = m_defaultVertexArray.get();
    if (array == 0)
        return;
    NamedVertexArray& named = m_vertexArrays[array];
    if (!named.state)
        named.state = std::make_unique<VertexArrayState>();
    m_vertexArray = named.state.get();
    m_isOesVertexArray = named.isOes;
}

void ContextState::glDeleteVertexArrays(std::int32_t n, const void* arrays)
{
    for (const std::uint32_t name : ObjectNames(n, arrays)) {
        if (name != 0 && name == m_vertexArrayName)
            SetVertexArray(0);
        m_vertexArrays.erase(name);
    }
}

void ContextState::glDeleteVertexArraysOES(std::int32_t n, const void* arrays)
{
    glDeleteVertexArrays(n, arrays);
}

bool ContextState::Accepts_glVertexAttribPointer(std::uint32_t /*index*/, std::int32_t size, std::uint32_t type,
                                                 std::uint32_t /*normalized*/, std::int32_t stride,
                                                 const void* pointer) const
{
    return stride >= 0 && AcceptsAttribPointer(reinterpret_cast<std::uintptr_t>(pointer)) &&
           (m_bindings[Array].name == 0 || VertexElementBytes(size, type) != 0);
}

void ContextState::SetAttribEnabled(std::uint32_t index, bool isEnabled)
{
    if (!m_hasFixedFunctions)
        EnableAttrib(index, isEnabled);
}

void ContextState::EnableAttrib(std::uint32_t index, bool isEnabled)
{
    if (index >= MaxVertexAttribs)
        return;
    const std::uint32_t bit = 1u << index;
    m_vertexArray->enabled = isEnabled ? m_vertexArray->enabled | bit : m_vertexArray->enabled & ~bit;
}

void ContextState::SetAttribFormat(std::uint32_t index, std::int32_t size, std::uint32_t type, bool normalized,
                                   bool integer, std::uint32_t relativeOffset)
{
    if (index >= MaxVertexAttribs || m_hasFixedFunctions)
        return;
    VertexAttribState& attrib = m_vertexArray->attribs[index];
    attrib.size = size;
    attrib.type = type;
    attrib.normalized = normalized;
    attrib.integer = integer;
    attrib.relativeOffset = relativeOffset;
}

void ContextState::SetAttribBinding(std::uint32_t index, std::uint32_t binding)
{
    if (index >= MaxVertexAttribs || binding >= MaxVertexAttribs || m_hasFixedFunctions ||
        m_vertexArray->attribs[index].binding == binding)
        return;
    m_vertexArray->isPlain = m_vertexArray->isPlain && index == binding;
    m_vertexArray->attribs[index].binding = binding;
    m_vertexArray->UpdateClient(binding);
}

void ContextState::SetBindingBuffer(std::uint32_t binding, std::uint32_t buffer, std::uint64_t pointer,
                                    std::int32_t stride)
{
    if (!m_hasFixedFunctions)
        ChangeBinding(binding, buffer, pointer, stride);
}

void ContextState::ChangeBinding(std::uint32_t binding, std::uint32_t buffer, std::uint64_t pointer,
                                 std::int32_t stride)
{
    if (binding >= MaxVertexAttribs)
        return;
    VertexAttribState& state = m_vertexArray->attribs[binding];
    state.buffer = buffer;
    state.pointer = pointer;
    state.stride = stride;
    m_vertexArray->UpdateClient(binding);
}

void ContextState::SetBindingDivisor(std::uint32_t binding, std::uint32_t divisor)
{
    if (binding < MaxVertexAttribs && !m_hasFixedFunctions)
        m_vertexArray->attribs[binding].divisor = divisor;
}

// Draws.

DrawRange ContextState::AttribRange(std::uint32_t index, const DrawRange& range) const
{
    const std::uint32_t divisor = Binding(index).divisor;
    if (divisor == 0 || !range.isKnown || range.count == 0)
        return range;
    const std::uint32_t count = (range.instances - 1) / divisor + 1;
    const bool isKnown = range.baseInstance <= ~std::uint32_t{0} - count;
    return {isKnown, range.baseInstance, count, range.instances, range.baseInstance};
}

DrawRange ContextState::RangeOfIndices(const void* indices, std::int32_t count, std::uint32_t type,
                                       std::int32_t baseVertex, std::int32_t instances) const
{
    DrawRange range;
    range.isKnown = true;
    if (count > 0 && instances > 0 && indices) {
        if (type == Enum::UnsignedByte)
            range = RangeOf<std::uint8_t>(indices, count, m_isPrimitiveRestart, baseVertex);
        else if (type == Enum::UnsignedShort)
            range = RangeOf<std::uint16_t>(indices, count, m_isPrimitiveRestart, baseVertex);
        else if (type == Enum::UnsignedInt)
            range = RangeOf<std::uint32_t>(indices, count, m_isPrimitiveRestart, baseVertex);
        range.instances = static_cast<std::uint32_t>(instances);
    }
    return range;
}

DrawRange ContextState::ElementsRange(std::int32_t count, std::uint32_t type, const void* indices,
                                      std::int32_t baseVertex, std::int32_t instances) const
{
    if (!HasElementBuffer() || count <= 0 || instances <= 0)
        return RangeOfIndices(indices, count, type, baseVertex, instances);
    const BufferState* const buffer = Find(m_vertexArray->elementBuffer);
    const auto offset = reinterpret_cast<std::uintptr_t>(indices);
    const std::int64_t bytes = count * IndexSize(type);
    if (!buffer || !buffer->isShadowed || offset > static_cast<std::uint64_t>(BufferState::MaxShadowBytes))
        return {};
    const auto begin = static_cast<std::int64_t>(offset);
    if (!buffer->known.Contains(begin, begin + bytes))
        return {};
    return RangeOfIndices(buffer->shadow.data() + begin, count, type, baseVertex, instances);
}

DrawRange ContextState::Range_glDrawArrays(std::uint32_t mode, std::int32_t first, std::int32_t count) const
{
    return Range_glDrawArraysInstanced(mode, first, count, 1);
}

DrawRange ContextState::Range_glDrawArraysInstanced(std::uint32_t /*mode*/, std::int32_t first, std::int32_t count,
                                                    std::int32_t instances) const
{
    DrawRange range;
    range.isKnown = first >= 0;
    if (range.isKnown && count > 0 && instances > 0) {
        range.first = static_cast<std::uint32_t>(first);
        range.count = static_cast<std::uint32_t>(count);
        range.instances = static_cast<std::uint32_t>(instances);
    }
    return range;
}

DrawRange ContextState::Range_glDrawElements(std::uint32_t /*mode*/, std::int32_t count, std::uint32_t type,
                                             const void* indices) const
{
    return ElementsRange(count, type, indices, 0, 1);
}

DrawRange ContextState::Range_glDrawElementsInstanced(std::uint32_t /*mode*/, std::int32_t count, std::uint32_t type,
                                                      const void* indices, std::int32_t instances) const
{
    return ElementsRange(count, type, indices, 0, instances);
}

DrawRange ContextState::Range_glDrawRangeElements(std::uint32_t /*mode*/, std::uint32_t /*start*/,
                                                  std::uint32_t /*end*/, std::int32_t count, std::uint32_t type,
                                                  const void* indices) const
{
    return ElementsRange(count, type, indices, 0, 1);
}

DrawRange ContextState::Range_glDrawElementsBaseVertex(std::uint32_t /*mode*/, std::int32_t count, std::uint32_t type,
                                                       const void* indices, std::int32_t baseVertex) const
{
    return ElementsRange(count, type, indices, baseVertex, 1);
}

DrawRange ContextState::Range_glDrawRangeElementsBaseVertex(std::uint32_t /*mode*/, std::uint32_t /*start*/,
                                                            std::uint32_t /*end*/, std::int32_t count,
                                                            std::uint32_t type, const void* indices,
                                                            std::int32_t baseVertex) const
{
    return ElementsRange(count, type, indices, baseVertex, 1);
}

DrawRange ContextState::Range_glDrawElementsInstancedBaseVertex(std::uint32_t /*mode*/, std::int32_t count,
                                                                std::uint32_t type, const void* indices,
                                                                std::int32_t instances, std::int32_t baseVertex) const
{
    return ElementsRange(count, type, indices, baseVertex, instances);
}

DrawRange ContextState::Range_glDrawArraysInstancedBaseInstanceEXT(std::uint32_t mode, std::int32_t first,
                                                                   std::int32_t count, std::int32_t instances,
                                                                   std::uint32_t baseInstance) const
{
    DrawRange range = Range_glDrawArraysInstanced(mode, first, count, instances);
    range.baseInstance = baseInstance;
    return range;
}

DrawRange ContextState::Range_glDrawElementsInstancedBaseInstanceEXT(std::uint32_t mode, std::int32_t count,
                                                                     std::uint32_t type, const void* indices,
                                                                     std::int32_t instances,
                                                                     std::uint32_t baseInstance) const
{
    return Range_glDrawElementsInstancedBaseVertexBaseInstanceEXT(mode, count, type, indices, instances, 0,
                                                                  baseInstance);
}

DrawRange ContextState::Range_glDrawElementsInstancedBaseVertexBaseInstanceEXT(
    std::uint32_t /*mode*/, std::int32_t count, std::uint32_t type, const void* indices, std::int32_t instances,
    std::int32_t baseVertex, std::uint32_t baseInstance) const
{
    DrawRange range = ElementsRange(count, type, indices, baseVertex, instances);
    range.baseInstance = baseInstance;
    return range;
}

DrawRange ContextState::Range_glMultiDrawArraysEXT(std::uint32_t mode, const void* firsts, const void* counts,
                                                   std::int32_t draws) const
{
    const auto* const first = static_cast<const std::int32_t*>(firsts);
    const auto* const count = static_cast<const std::int32_t*>(counts);
    return RangeOfAll(first && count ? draws : 0,
                      [&](std::int32_t i) { return Range_glDrawArrays(mode, first[i], count[i]); });
}

DrawRange ContextState::Range_glMultiDrawElementsBaseVertexEXT(std::uint32_t /*mode*/, const void* counts,
                                                               std::uint32_t type, const void* indices,
                                                               std::int32_t draws, const void* baseVertices) const
{
    const auto* const count = static_cast<const std::int32_t*>(counts);
    const auto* const lists = static_cast<const void* const*>(indices);
    const auto* const base = static_cast<const std::int32_t*>(baseVertices);
    return RangeOfAll(count && lists ? draws : 0,
                      [&](std::int32_t i) { return ElementsRange(count[i], type, lists[i], base ? base[i] : 0, 1); });
}

DrawRange ContextState::Range_glDrawArraysIndirect(std::uint32_t /*mode*/, const void* /*indirect*/) const
{
    return {};
}

DrawRange ContextState::Range_glDrawElementsIndirect(std::uint32_t /*mode*/, std::uint32_t /*type*/,
                                                     const void* /*indirect*/) const
{
    return {};
}

} // namespace Data
