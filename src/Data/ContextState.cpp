#include "Data/ContextState.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "Data/GLEnums.h"

namespace Data {

namespace {

/// Larger index buffers are not shadowed.
constexpr std::int64_t maxShadowBytes = 64 << 20;

/// The names that a delete call got; empty when it got none.
std::span<const std::uint32_t> Names(std::int32_t n, const void* names)
{
    if (n <= 0 || !names)
        return {};
    return {static_cast<const std::uint32_t*>(names), static_cast<std::size_t>(n)};
}

/// Makes `bytes` bytes of the buffer known. Memory that the range needs grows no faster than the data given.
void Store(BufferState& buffer, std::int64_t offset, const void* data, std::int64_t bytes)
{
    if (!buffer.isShadowed || !data || offset < 0 || bytes <= 0 || offset > buffer.bytes - bytes)
        return;
    if (static_cast<std::int64_t>(buffer.shadow.size()) < offset + bytes)
        buffer.shadow.resize(static_cast<std::size_t>(offset + bytes));
    std::memcpy(buffer.shadow.data() + offset, data, static_cast<std::size_t>(bytes));
    buffer.known.Add(offset, offset + bytes);
}

template <class Index>
DrawRange RangeOf(const void* indices, std::int32_t count, bool isPrimitiveRestart, std::int64_t baseVertex)
{
    const auto* at = static_cast<const std::uint8_t*>(indices);
    constexpr Index restart = static_cast<Index>(~Index{0});
    Index least = restart;
    Index most = 0;
    bool found = false;
    for (std::int32_t i = 0; i < count; ++i, at += sizeof(Index)) {
        Index index;
        std::memcpy(&index, at, sizeof index);
        if (isPrimitiveRestart && index == restart)
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

} // namespace

VertexArrayState::VertexArrayState()
{
    for (std::uint32_t i = 0; i < maxVertexAttribs; ++i)
        attribs[i].binding = i;
}

void VertexArrayState::UpdateClient(std::uint32_t binding)
{
    const bool isClient = attribs[binding].buffer == 0;
    for (std::uint32_t i = isPlain ? binding : 0; i < (isPlain ? binding + 1 : maxVertexAttribs); ++i) {
        const std::uint32_t bit = 1u << i;
        if (attribs[i].binding == binding)
            client = isClient ? client | bit : client & ~bit;
    }
}

ContextState::ContextState(std::shared_ptr<ShareGroupState> group)
    : m_group(std::move(group)), m_defaultVertexArray(std::make_unique<VertexArrayState>()),
      m_vertexArray(m_defaultVertexArray.get())
{
}

const std::uint32_t* ContextState::Slot(std::uint32_t target) const
{
    switch (target) {
    case Enum::ArrayBuffer:
        return &m_bindings[Array];
    case Enum::ElementArrayBuffer:
        return &m_vertexArray->elementBuffer;
    case Enum::PixelPackBuffer:
        return &m_bindings[PixelPack];
    case Enum::PixelUnpackBuffer:
        return &m_bindings[PixelUnpack];
    case Enum::UniformBuffer:
        return &m_bindings[Uniform];
    case Enum::TextureBuffer:
        return &m_bindings[Texture];
    case Enum::TransformFeedbackBuffer:
        return &m_bindings[TransformFeedback];
    case Enum::CopyReadBuffer:
        return &m_bindings[CopyRead];
    case Enum::CopyWriteBuffer:
        return &m_bindings[CopyWrite];
    case Enum::DrawIndirectBuffer:
        return &m_bindings[DrawIndirect];
    case Enum::ShaderStorageBuffer:
        return &m_bindings[ShaderStorage];
    case Enum::DispatchIndirectBuffer:
        return &m_bindings[DispatchIndirect];
    case Enum::AtomicCounterBuffer:
        return &m_bindings[AtomicCounter];
    default:
        return nullptr;
    }
}

std::uint32_t ContextState::BoundBuffer(std::uint32_t target) const
{
    const std::uint32_t* const slot = Slot(target);
    return slot ? *slot : 0;
}

BufferState* ContextState::Buffer(std::uint32_t target)
{
    const std::uint32_t name = BoundBuffer(target);
    return name != 0 ? &m_group->buffers[name] : nullptr;
}

void ContextState::glEnable(std::uint32_t cap)
{
    if (cap == Enum::PrimitiveRestartFixedIndex)
        m_isPrimitiveRestart = true;
}

void ContextState::glDisable(std::uint32_t cap)
{
    if (cap == Enum::PrimitiveRestartFixedIndex)
        m_isPrimitiveRestart = false;
}

void ContextState::glPixelStorei(std::uint32_t pname, std::int32_t param)
{
    if (pname == Enum::PackAlignment || pname == Enum::UnpackAlignment) {
        if (param == 1 || param == 2 || param == 4 || param == 8)
            (pname == Enum::PackAlignment ? m_pack : m_unpack).alignment = param;
        return;
    }
    if (param < 0)
        return;
    switch (pname) {
    case Enum::PackRowLength:
        m_pack.rowLength = param;
        break;
    case Enum::PackSkipRows:
        m_pack.skipRows = param;
        break;
    case Enum::PackSkipPixels:
        m_pack.skipPixels = param;
        break;
    case Enum::UnpackRowLength:
        m_unpack.rowLength = param;
        break;
    case Enum::UnpackSkipRows:
        m_unpack.skipRows = param;
        break;
    case Enum::UnpackSkipPixels:
        m_unpack.skipPixels = param;
        break;
    case Enum::UnpackImageHeight:
        m_unpack.imageHeight = param;
        break;
    case Enum::UnpackSkipImages:
        m_unpack.skipImages = param;
        break;
    default:
        break;
    }
}

// Buffers.

void ContextState::glGenBuffers(std::int32_t n, const void* buffers)
{
    for (const std::uint32_t name : Names(n, buffers))
        m_group->buffers[name] = {};
}

std::int64_t ContextState::MappedBytes(std::uint32_t target) const
{
    const std::uint32_t name = BoundBuffer(target);
    const auto mapping = m_mappings.find(target);
    const auto buffer = m_group->buffers.find(name);
    const bool isMapped = name != 0 && mapping != m_mappings.end() && mapping->second == name &&
                          buffer != m_group->buffers.end() && buffer->second.mapped;
    return isMapped ? buffer->second.mappedBytes : 0;
}

void ContextState::glBindBuffer(std::uint32_t target, std::uint32_t buffer)
{
    if (const std::uint32_t* const slot = Slot(target))
        *const_cast<std::uint32_t*>(slot) = buffer;
    if (target == Enum::PixelPackBuffer)
        ForgetContents(buffer);
}

void ContextState::glBindBufferBase(std::uint32_t target, std::uint32_t /*index*/, std::uint32_t buffer)
{
    glBindBuffer(target, buffer);
    ForgetContents(buffer);
}

void ContextState::glBindBufferRange(std::uint32_t target, std::uint32_t index, std::uint32_t buffer,
                                     std::int64_t /*offset*/, std::int64_t /*size*/)
{
    glBindBufferBase(target, index, buffer);
}

void ContextState::glBufferData(std::uint32_t target, std::int64_t size, const void* data, std::uint32_t /*usage*/)
{
    BufferState* const buffer = Buffer(target);
    if (!buffer || buffer->isImmutable || size < 0)
        return;
    buffer->bytes = size;
    buffer->mapped = nullptr;
    buffer->mayBeMapped = false;
    buffer->isShadowed = (buffer->isShadowed || target == Enum::ElementArrayBuffer) && size <= maxShadowBytes;
    buffer->shadow.clear();
    buffer->known.Clear();
    Store(*buffer, 0, data, size);
}

void ContextState::glBufferStorageEXT(std::uint32_t target, std::int64_t size, const void* /*data*/,
                                      std::uint32_t /*flags*/)
{
    if (BufferState* const buffer = Buffer(target)) {
        buffer->bytes = size;
        buffer->isImmutable = true;
        ForgetContents(BoundBuffer(target));
    }
}

void ContextState::glBufferStorageExternalEXT(std::uint32_t target, std::int64_t /*offset*/, std::int64_t size,
                                              std::uint32_t /*clientBuffer*/, std::uint32_t flags)
{
    glBufferStorageEXT(target, size, nullptr, flags);
}

void ContextState::glBufferStorageMemEXT(std::uint32_t target, std::int64_t size, std::uint32_t /*memory*/,
                                         std::int64_t /*offset*/)
{
    glBufferStorageEXT(target, size, nullptr, 0);
}

void ContextState::glBufferSubData(std::uint32_t target, std::int64_t offset, std::int64_t size, const void* data)
{
    BufferState* const buffer = Buffer(target);
    if (buffer && !buffer->mayBeMapped && !buffer->isImmutable)
        Store(*buffer, offset, data, size);
}

void ContextState::glCopyBufferSubData(std::uint32_t /*readTarget*/, std::uint32_t writeTarget,
                                       std::int64_t /*readOffset*/, std::int64_t /*writeOffset*/, std::int64_t /*size*/)
{
    ForgetContents(BoundBuffer(writeTarget));
}

void ContextState::glDeleteBuffers(std::int32_t n, const void* buffers)
{
    for (const std::uint32_t name : Names(n, buffers)) {
        if (name == 0)
            continue;
        m_group->buffers.erase(name);
        std::replace(m_bindings.begin(), m_bindings.end(), name, 0u);
        if (m_vertexArray->elementBuffer == name)
            m_vertexArray->elementBuffer = 0;
        for (std::uint32_t i = 0; i < maxVertexAttribs; ++i) {
            if (m_vertexArray->attribs[i].buffer == name) {
                m_vertexArray->attribs[i].buffer = 0;
                m_vertexArray->UpdateClient(i);
            }
        }
    }
}

void ContextState::ForgetContents(std::uint32_t buffer)
{
    if (buffer == 0)
        return;
    const auto at = m_group->buffers.find(buffer);
    if (at == m_group->buffers.end() || !at->second.isShadowed)
        return;
    at->second.isShadowed = false;
    at->second.shadow = {};
    at->second.known.Clear();
}

void ContextState::glTexBuffer(std::uint32_t /*target*/, std::uint32_t /*format*/, std::uint32_t buffer)
{
    ForgetContents(buffer);
}

void ContextState::glTexBufferEXT(std::uint32_t /*target*/, std::uint32_t /*format*/, std::uint32_t buffer)
{
    ForgetContents(buffer);
}

void ContextState::glTexBufferRange(std::uint32_t /*target*/, std::uint32_t /*format*/, std::uint32_t buffer,
                                    std::int64_t /*offset*/, std::int64_t /*size*/)
{
    ForgetContents(buffer);
}

void ContextState::glTexBufferRangeEXT(std::uint32_t /*target*/, std::uint32_t /*format*/, std::uint32_t buffer,
                                       std::int64_t /*offset*/, std::int64_t /*size*/)
{
    ForgetContents(buffer);
}

void ContextState::glMapBufferRange(const void* result, std::uint32_t target, std::int64_t offset, std::int64_t length,
                                    std::uint32_t access)
{
    BufferState* const buffer = Buffer(target);
    if (!buffer)
        return;
    m_mappings[target] = BoundBuffer(target);
    buffer->mayBeMapped = true;
    buffer->known.Clear();
    buffer->mapped = nullptr;
    if (result) {
        buffer->mapped = result;
        buffer->mappedOffset = offset;
        buffer->mappedBytes = length;
        buffer->mapAccess = access;
    }
}

void ContextState::glFlushMappedBufferRange(std::uint32_t /*target*/, std::int64_t /*offset*/, std::int64_t /*length*/)
{
}

void ContextState::glUnmapBuffer(std::uint32_t /*result*/, std::uint32_t target)
{
    if (BufferState* const buffer = Buffer(target)) {
        buffer->mapped = nullptr;
        buffer->mayBeMapped = false;
    }
}

void ContextState::MappedData(std::uint32_t target, std::int64_t offset, const void* data, std::int64_t bytes)
{
    BufferState* const buffer = Buffer(target);
    if (buffer && buffer->mapped && offset >= 0 && offset <= buffer->mappedBytes)
        Store(*buffer, buffer->mappedOffset + offset, data, bytes);
}

// Vertex arrays.

void ContextState::glGenVertexArrays(std::int32_t n, const void* arrays)
{
    for (const std::uint32_t name : Names(n, arrays)) {
        if (name != m_vertexArrayName)
            m_vertexArrays[name] = nullptr;
    }
}

void ContextState::glGenVertexArraysOES(std::int32_t n, const void* arrays)
{
    glGenVertexArrays(n, arrays);
}

void ContextState::BindVertexArray(std::uint32_t array, bool isOes)
{
    m_vertexArrayName = array;
    m_isOesVertexArray = isOes;
    if (array == 0) {
        m_vertexArray = m_defaultVertexArray.get();
        return;
    }
    std::unique_ptr<VertexArrayState>& state = m_vertexArrays[array];
    if (!state)
        state = std::make_unique<VertexArrayState>();
    m_vertexArray = state.get();
}

void ContextState::glBindVertexArray(std::uint32_t array)
{
    BindVertexArray(array, false);
}

void ContextState::glBindVertexArrayOES(std::uint32_t array)
{
    BindVertexArray(array, true);
}

void ContextState::glDeleteVertexArrays(std::int32_t n, const void* arrays)
{
    for (const std::uint32_t name : Names(n, arrays)) {
        if (name != 0 && name == m_vertexArrayName)
            BindVertexArray(0, false);
        m_vertexArrays.erase(name);
    }
}

void ContextState::glDeleteVertexArraysOES(std::int32_t n, const void* arrays)
{
    glDeleteVertexArrays(n, arrays);
}

void ContextState::glEnableVertexAttribArray(std::uint32_t index)
{
    if (index < maxVertexAttribs)
        m_vertexArray->enabled |= 1u << index;
}

void ContextState::glDisableVertexAttribArray(std::uint32_t index)
{
    if (index < maxVertexAttribs)
        m_vertexArray->enabled &= ~(1u << index);
}

void ContextState::glVertexAttribPointer(std::uint32_t index, std::int32_t size, std::uint32_t type,
                                         std::uint32_t normalized, std::int32_t stride, const void* pointer)
{
    SetPointer(index, size, type, normalized != 0, false, stride, reinterpret_cast<std::uintptr_t>(pointer));
}

void ContextState::glVertexAttribIPointer(std::uint32_t index, std::int32_t size, std::uint32_t type,
                                          std::int32_t stride, const void* pointer)
{
    SetPointer(index, size, type, false, true, stride, reinterpret_cast<std::uintptr_t>(pointer));
}

void ContextState::SetPointer(std::uint32_t index, std::int32_t size, std::uint32_t type, bool normalized, bool integer,
                              std::int32_t stride, std::uint64_t pointer)
{
    if (index >= maxVertexAttribs || stride < 0 || !AcceptsAttribPointer(pointer))
        return;
    // What the driver refuses leaves the attribute in client memory, if it was there.
    if (m_bindings[Array] != 0 && VertexElementBytes(size, type) == 0)
        return;
    VertexAttribState& attrib = m_vertexArray->attribs[index];
    attrib.integer = integer;
    attrib.normalized = normalized;
    attrib.size = size;
    attrib.type = type;
    attrib.binding = index;
    attrib.relativeOffset = 0;
    attrib.buffer = m_bindings[Array];
    attrib.stride = stride != 0 ? stride : static_cast<std::int32_t>(VertexElementBytes(size, type));
    attrib.pointer = pointer;
    m_vertexArray->UpdateClient(index);
}

void ContextState::glVertexAttribDivisor(std::uint32_t index, std::uint32_t divisor)
{
    if (index >= maxVertexAttribs)
        return;
    // Also makes the attribute read from the binding of its own number.
    glVertexAttribBinding(index, index);
    m_vertexArray->attribs[index].divisor = divisor;
}

void ContextState::glBindVertexBuffer(std::uint32_t binding, std::uint32_t buffer, std::int64_t offset,
                                      std::int32_t stride)
{
    if (binding >= maxVertexAttribs)
        return;
    VertexAttribState& state = m_vertexArray->attribs[binding];
    state.buffer = buffer;
    state.pointer = static_cast<std::uint64_t>(offset);
    state.stride = stride;
    m_vertexArray->UpdateClient(binding);
}

void ContextState::SetFormat(std::uint32_t index, std::int32_t size, std::uint32_t type, bool normalized, bool integer,
                             std::uint32_t relativeOffset)
{
    if (index >= maxVertexAttribs)
        return;
    VertexAttribState& attrib = m_vertexArray->attribs[index];
    attrib.size = size;
    attrib.type = type;
    attrib.normalized = normalized;
    attrib.integer = integer;
    attrib.relativeOffset = relativeOffset;
}

void ContextState::glVertexAttribFormat(std::uint32_t index, std::int32_t size, std::uint32_t type,
                                        std::uint32_t normalized, std::uint32_t relativeOffset)
{
    SetFormat(index, size, type, normalized != 0, false, relativeOffset);
}

void ContextState::glVertexAttribIFormat(std::uint32_t index, std::int32_t size, std::uint32_t type,
                                         std::uint32_t relativeOffset)
{
    SetFormat(index, size, type, false, true, relativeOffset);
}

void ContextState::glVertexAttribBinding(std::uint32_t index, std::uint32_t binding)
{
    if (index >= maxVertexAttribs || binding >= maxVertexAttribs)
        return;
    m_vertexArray->isPlain = m_vertexArray->isPlain && index == binding;
    m_vertexArray->attribs[index].binding = binding;
    m_vertexArray->UpdateClient(binding);
}

void ContextState::glVertexBindingDivisor(std::uint32_t binding, std::uint32_t divisor)
{
    if (binding < maxVertexAttribs)
        m_vertexArray->attribs[binding].divisor = divisor;
}

// Draws.

DrawRange ContextState::AttribRange(std::uint32_t index, const DrawRange& range) const
{
    const std::uint32_t divisor = Binding(index).divisor;
    if (divisor == 0 || !range.isKnown || range.count == 0)
        return range;
    return {true, 0, (range.instances - 1) / divisor + 1, range.instances};
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
    const auto buffer = m_group->buffers.find(m_vertexArray->elementBuffer);
    const auto offset = reinterpret_cast<std::uintptr_t>(indices);
    const std::int64_t bytes = count * IndexSize(type);
    if (buffer == m_group->buffers.end() || !buffer->second.isShadowed ||
        offset > static_cast<std::uint64_t>(maxShadowBytes))
        return {};
    const auto begin = static_cast<std::int64_t>(offset);
    if (!buffer->second.known.Contains(begin, begin + bytes))
        return {};
    return RangeOfIndices(buffer->second.shadow.data() + begin, count, type, baseVertex, instances);
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
