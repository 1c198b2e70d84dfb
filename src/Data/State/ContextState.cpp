#include "Data/State/ContextState.h"

#include <algorithm>
#include <cstring>

#include "Data/GLEnums.h"

namespace Data {

namespace {

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

/// A pointer that may be an offset.
std::uint64_t AddressOf(const void* pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer);
}

/// Bytes from one vertex to the next.
std::int32_t VertexStride(std::int32_t size, std::uint32_t type, std::int32_t stride)
{
    return stride != 0 ? stride : static_cast<std::int32_t>(VertexElementBytes(size, type));
}

} // namespace

#include "Data/ContextCalls.inc"

ContextState::ContextState(std::shared_ptr<ShareGroupState> group)
    : m_group(std::move(group)), m_defaultVertexArray(std::make_unique<VertexArrayState>()),
      m_vertexArray(m_defaultVertexArray.get())
{
}

const BufferBinding* ContextState::Slot(std::uint32_t target) const
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
    const BufferBinding* const slot = Slot(target);
    return slot ? slot->name : 0;
}

const BufferState* ContextState::Find(const BufferBinding& binding) const
{
    const auto buffer = m_group->buffers.find(binding.name);
    return buffer != m_group->buffers.end() && buffer->second.serial == binding.serial ? &buffer->second : nullptr;
}

BufferState* ContextState::Buffer(std::uint32_t target)
{
    const BufferBinding* const slot = Slot(target);
    if (!slot || slot->name == 0)
        return nullptr;
    if (slot->serial == 0)
        m_group->buffers.try_emplace(slot->name);
    return const_cast<BufferState*>(Find(*slot));
}

void ContextState::SetCapability(std::uint32_t capability, bool isEnabled)
{
    if (capability == Enum::PrimitiveRestartFixedIndex)
        m_isPrimitiveRestart = isEnabled;
}

void ContextState::SetPixelStore(std::uint32_t pname, std::int32_t param)
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
    for (const std::uint32_t name : ObjectNames(n, buffers)) {
        if (name == InvalidName)
            continue;
        BufferState& buffer = m_group->buffers[name];
        buffer = {};
        buffer.serial = ++m_group->generated;
    }
}

std::int64_t ContextState::MappedBytes(std::uint32_t target) const
{
    const BufferBinding* const slot = Slot(target);
    const auto mapping = m_mappings.find(target);
    if (!slot || slot->name == 0 || mapping == m_mappings.end() || mapping->second != slot->name)
        return 0;
    const BufferState* const buffer = Find(*slot);
    return buffer && buffer->mapped ? buffer->mappedBytes : 0;
}

BufferBinding ContextState::BindingOf(std::uint32_t buffer) const
{
    const auto state = m_group->buffers.find(buffer);
    return {buffer, state != m_group->buffers.end() ? state->second.serial : 0};
}

void ContextState::SetBuffer(std::uint32_t target, std::uint32_t buffer)
{
    if (const BufferBinding* const slot = Slot(target))
        *const_cast<BufferBinding*>(slot) = BindingOf(buffer);
    if (target == Enum::PixelPackBuffer)
        MayBeWritten(buffer);
}

bool ContextState::Accepts_glBindBufferBase(std::uint32_t target, std::uint32_t /*index*/, std::uint32_t /*buffer*/)
{
    return target == Enum::UniformBuffer || target == Enum::TransformFeedbackBuffer ||
           target == Enum::ShaderStorageBuffer || target == Enum::AtomicCounterBuffer;
}

void ContextState::SetIndexedBuffer(std::uint32_t target, std::uint32_t /*index*/, std::uint32_t buffer,
                                    std::int64_t offset, std::int64_t /*size*/)
{
    if (target != Enum::UniformBuffer)
        MayBeWritten(buffer);
    if (const auto at = m_group->buffers.find(buffer); offset != 0 && at != m_group->buffers.end()) {
        at->second.farthestRange = std::max(at->second.farthestRange, offset);
        CheckRanges(at->second);
    }
}

void ContextState::SetFeedbackBuffer(std::uint32_t /*index*/, std::uint32_t buffer, std::int64_t /*offset*/,
                                     std::int64_t /*size*/)
{
    MayBeWritten(buffer);
}

void ContextState::CheckRanges(const BufferState& buffer)
{
    m_group->mayHaveStrayRanges =
        m_group->mayHaveStrayRanges || (buffer.farthestRange > 0 && buffer.farthestRange >= buffer.bytes);
}

void ContextState::glBufferData(std::uint32_t target, std::int64_t size, const void* data, std::uint32_t /*usage*/)
{
    BufferState* const buffer = Buffer(target);
    if (!buffer || buffer->isImmutable || size < 0)
        return;
    buffer->bytes = size;
    CheckRanges(*buffer);
    buffer->mapped = nullptr;
    buffer->mayBeMapped = false;
    // Contents that say what a draw reads, or how much of it there is.
    const bool isRead = target == Enum::ElementArrayBuffer || target == Enum::DrawIndirectBuffer ||
                        target == Enum::DispatchIndirectBuffer;
    buffer->isShadowed =
        (buffer->isShadowed || isRead) && !buffer->isWrittenByDriver && size <= BufferState::MaxShadowBytes;
    buffer->shadow.clear();
    buffer->known.Clear();
    Store(*buffer, 0, data, size);
}

void ContextState::glBufferStorageEXT(std::uint32_t target, std::int64_t size, const void* /*data*/,
                                      std::uint32_t /*flags*/)
{
    if (BufferState* const buffer = Buffer(target)) {
        buffer->bytes = size;
        CheckRanges(*buffer);
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
    if (!buffer)
        return;
    buffer->isWrittenByDriver = buffer->isWrittenByDriver || buffer->isImmutable;
    if (!buffer->mayBeMapped && !buffer->isImmutable)
        Store(*buffer, offset, data, size);
}

void ContextState::glCopyBufferSubData(std::uint32_t /*readTarget*/, std::uint32_t writeTarget,
                                       std::int64_t /*readOffset*/, std::int64_t /*writeOffset*/, std::int64_t /*size*/)
{
    MayBeWritten(BoundBuffer(writeTarget));
}

void ContextState::glDeleteBuffers(std::int32_t n, const void* buffers)
{
    for (const std::uint32_t name : ObjectNames(n, buffers)) {
        if (name == 0)
            continue;
        const auto state = m_group->buffers.find(name);
        const std::uint32_t serial = state != m_group->buffers.end() ? state->second.serial : 0;
        const auto unbind = [&](BufferBinding& binding) {
            if (binding.name == name && binding.serial == serial)
                binding = {};
        };
        std::ranges::for_each(m_bindings, unbind);
        unbind(m_vertexArray->elementBuffer);
        if (state != m_group->buffers.end()) {
            if (serial != 0 && state->second.bytes == 0)
                m_group->deletedEmpty.insert(serial);
            m_group->buffers.erase(state);
        }
        for (std::uint32_t i = 0; i < MaxVertexAttribs; ++i) {
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

void ContextState::MayBeWritten(std::uint32_t buffer)
{
    if (const auto at = m_group->buffers.find(buffer); at != m_group->buffers.end())
        at->second.isWrittenByDriver = true;
    ForgetContents(buffer);
}

void ContextState::glTexBuffer(std::uint32_t /*target*/, std::uint32_t /*format*/, std::uint32_t buffer)
{
    MayBeWritten(buffer);
}

void ContextState::glTexBufferEXT(std::uint32_t /*target*/, std::uint32_t /*format*/, std::uint32_t buffer)
{
    MayBeWritten(buffer);
}

void ContextState::glTexBufferRange(std::uint32_t /*target*/, std::uint32_t /*format*/, std::uint32_t buffer,
                                    std::int64_t /*offset*/, std::int64_t /*size*/)
{
    MayBeWritten(buffer);
}

void ContextState::glTexBufferRangeEXT(std::uint32_t /*target*/, std::uint32_t /*format*/, std::uint32_t buffer,
                                       std::int64_t /*offset*/, std::int64_t /*size*/)
{
    MayBeWritten(buffer);
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

} // namespace Data
