// Calls on the contents of buffers.
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <GLES3/gl32.h>

#include "Trim/Track/StateTracker.h"

namespace Trim {

namespace {

using Data::CallId;

} // namespace

Owner StateTracker::BoundBuffer(std::uint32_t target)
{
    if (target == GL_ELEMENT_ARRAY_BUFFER)
        Reads(ContextSlot(State::VertexArray));
    Reads(BufferSlot(target));
    return m_state.Slots().ValueOf(BufferSlot(target)).bound;
}

bool StateTracker::TrackBuffer(const CallArguments& call)
{
    const auto piece = [this](Owner buffer, State of) { return SlotOf(buffer, of); };
    // Writes `bytes` bytes of a buffer from `offset` on.
    const auto writes = [&](Owner buffer, std::int64_t offset, std::int64_t bytes) {
        if (offset == 0 && bytes >= Object(buffer).bytes)
            Replaces(piece(buffer, State::Data));
        else
            Changes(piece(buffer, State::Data));
        Reads(piece(buffer, State::Storage));
    };
    switch (call.Call()) {
    case CallId::glBufferData:
    case CallId::glBufferStorageEXT:
        if (const Owner buffer = BoundBuffer(call.Unsigned(0))) {
            Object(buffer).bytes = call.Wide(1);
            Object(buffer).isDrawn = false;
            Replaces(piece(buffer, State::Storage));
            Replaces(piece(buffer, State::Data));
            Replaces(piece(buffer, State::Mapping));
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
            Object(target).isDrawn |= Object(source).isDrawn;
        }
        return true;
    }
    case CallId::glMapBufferRange:
        if (const Owner buffer = BoundBuffer(call.Unsigned(0))) {
            Replaces(piece(buffer, State::Mapping));
            Reads(piece(buffer, State::Storage));
            if ((call.Unsigned(3) & GL_MAP_INVALIDATE_BUFFER_BIT) != 0)
                Replaces(piece(buffer, State::Data));
        }
        return true;
    case CallId::glFlushMappedBufferRange:
    case CallId::glUnmapBuffer:
        // What was written is kept only if the call is that makes it visible.
        if (const Owner buffer = BoundBuffer(call.Unsigned(0))) {
            Changes(piece(buffer, State::Data));
            if (call.Call() == CallId::glUnmapBuffer)
                Changes(piece(buffer, State::Mapping));
            Reads(piece(buffer, State::Mapping));
        }
        return true;
    default:
        return false;
    }
}

void StateTracker::MappedData(std::uint32_t target, std::uint64_t offset, std::uint64_t bytes)
{
    m_log.Begin();
    if (!m_state.HasContext())
        return;
    if (const Owner buffer = BoundBuffer(target)) {
        const Slot data = SlotOf(buffer, State::Data);
        if (offset == 0 && bytes >= static_cast<std::uint64_t>(Object(buffer).bytes))
            Replaces(data);
        else
            Changes(data);
        Reads(SlotOf(buffer, State::Mapping));
    }
}

} // namespace Trim
