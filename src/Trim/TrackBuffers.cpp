// Calls on buffers and on the vertex arrays that read them.
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <GLES3/gl32.h>

#include "Trim/StateTracker.h"

namespace Trim {

namespace {

using Data::CallId;

} // namespace

Owner StateTracker::BoundBuffer(std::uint32_t target)
{
    if (target == GL_ELEMENT_ARRAY_BUFFER)
        Reads(ContextSlot(Piece::VertexArray));
    Reads(BufferSlot(target));
    return m_slots.Value(BufferSlot(target));
}

bool StateTracker::TrackBuffer(const CallArguments& call)
{
    const auto piece = [this](Owner buffer, Piece of) { return m_slots.At(buffer, of); };
    // Writes `bytes` bytes of a buffer from `offset` on.
    const auto writes = [&](Owner buffer, std::int64_t offset, std::int64_t bytes) {
        if (offset == 0 && bytes >= m_objects[buffer].bytes)
            Replaces(piece(buffer, Piece::Data));
        else
            Changes(piece(buffer, Piece::Data));
        Reads(piece(buffer, Piece::Storage));
    };
    switch (call.Call()) {
    case CallId::glBufferData:
    case CallId::glBufferStorageEXT:
        if (const Owner buffer = BoundBuffer(call.Unsigned(0))) {
            m_objects[buffer].bytes = call.Wide(1);
            m_objects[buffer].isDrawn = false;
            Replaces(piece(buffer, Piece::Storage));
            Replaces(piece(buffer, Piece::Data));
            Replaces(piece(buffer, Piece::Mapping));
        }
        return true;
    case CallId::glBufferSubData:
        if (const Owner buffer = BoundBuffer(call.Unsigned(0)))
            writes(buffer, call.Wide(1), call.Wide(2));
        return true;
    case CallId::glCopyBufferSubData: {
        const Owner source = BoundBuffer(call.Unsigned(0));
        const Owner target = BoundBuffer(call.Unsigned(1));
        if (source != 0 && target != 0) {
            ReadsAll(source);
            writes(target, call.Wide(3), call.Wide(4));
            m_objects[target].isDrawn |= m_objects[source].isDrawn;
        }
        return true;
    }
    case CallId::glMapBufferRange:
        if (const Owner buffer = BoundBuffer(call.Unsigned(0))) {
            Replaces(piece(buffer, Piece::Mapping));
            Reads(piece(buffer, Piece::Storage));
            if ((call.Unsigned(3) & GL_MAP_INVALIDATE_BUFFER_BIT) != 0)
                Replaces(piece(buffer, Piece::Data));
        }
        return true;
    case CallId::glFlushMappedBufferRange:
    case CallId::glUnmapBuffer:
        // What was written is kept only if the call is that makes it visible.
        if (const Owner buffer = BoundBuffer(call.Unsigned(0))) {
            Changes(piece(buffer, Piece::Data));
            if (call.Call() == CallId::glUnmapBuffer)
                Changes(piece(buffer, Piece::Mapping));
            Reads(piece(buffer, Piece::Mapping));
        }
        return true;
    default:
        return false;
    }
}

void StateTracker::MappedData(std::uint32_t target, std::uint64_t offset, std::uint64_t bytes)
{
    m_log.Begin();
    if (!m_context)
        return;
    if (const Owner buffer = BoundBuffer(target)) {
        const Slot data = m_slots.At(buffer, Piece::Data);
        if (offset == 0 && bytes >= static_cast<std::uint64_t>(m_objects[buffer].bytes))
            Replaces(data);
        else
            Changes(data);
        Reads(m_slots.At(buffer, Piece::Mapping));
    }
}

bool StateTracker::TrackVertexArray(const CallArguments& call)
{
    const auto array = [this](Piece piece, std::uint32_t index) {
        return m_slots.At(BoundVertexArray(), piece, index);
    };
    const std::uint32_t index = call.Count() > 0 ? call.Unsigned(0) : 0;
    const auto refer = [this](Owner buffer) {
        if (buffer != 0) {
            Refer(BoundVertexArray(), buffer);
            Exists(buffer);
        }
    };
    switch (call.Call()) {
    case CallId::glVertexAttribPointer:
    case CallId::glVertexAttribIPointer:
        Replaces(array(Piece::AttribFormat, index));
        Replaces(array(Piece::AttribBinding, index));
        Replaces(array(Piece::VertexBuffer, index));
        refer(BoundBuffer(GL_ARRAY_BUFFER));
        break;
    case CallId::glVertexAttribFormat:
    case CallId::glVertexAttribIFormat:
        Replaces(array(Piece::AttribFormat, index));
        break;
    case CallId::glVertexAttribBinding:
        Replaces(array(Piece::AttribBinding, index));
        break;
    case CallId::glBindVertexBuffer:
        Replaces(array(Piece::VertexBuffer, index));
        refer(Find(ObjectKind::Buffer, call.Unsigned(1)));
        break;
    case CallId::glVertexAttribDivisor:
        Replaces(array(Piece::AttribBinding, index));
        Replaces(array(Piece::Divisor, index));
        break;
    case CallId::glVertexBindingDivisor:
        Replaces(array(Piece::Divisor, index));
        break;
    case CallId::glEnableVertexAttribArray:
    case CallId::glDisableVertexAttribArray:
        Replaces(array(Piece::AttribEnabled, index));
        break;
    default:
        return false;
    }
    Reads(ContextSlot(Piece::VertexArray));
    ReadsAttribLocations();
    return true;
}

void StateTracker::ReadsAttribLocations()
{
    Reads(ContextSlot(Piece::Program));
    if (const Owner program = Value(Piece::Program)) {
        Exists(program);
        Reads(m_slots.At(program, Piece::Build));
    }
}

} // namespace Trim
