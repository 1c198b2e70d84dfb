#include "Trim/Track/BufferTracker.h"

#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <GLES3/gl32.h>

namespace Trim {

using Data::CallId;

void BufferTracker::Writes(Owner buffer, std::int64_t offset, std::int64_t bytes)
{
    const Slot data = m_tracked.SlotOf(buffer, State::Data);
    if (offset == 0 && bytes >= m_tracked.Object(buffer).bytes)
        m_tracked.Replaces(data);
    else
        m_tracked.Changes(data);
}

bool BufferTracker::Track(const CallArguments& call)
{
    const auto piece = [this](Owner buffer, State of) { return m_tracked.SlotOf(buffer, of); };
    switch (call.Call()) {
    case CallId::glBufferData:
    case CallId::glBufferStorageEXT:
        if (const Owner buffer = m_tracked.BoundBuffer(call.Unsigned(0))) {
            m_tracked.Object(buffer).bytes = call.Wide(1);
            m_tracked.Object(buffer).isDrawn = false;
            m_tracked.Replaces(piece(buffer, State::Storage));
            m_tracked.Replaces(piece(buffer, State::Data));
            m_tracked.Replaces(piece(buffer, State::Mapping));
        }
        return true;
    case CallId::glBufferSubData:
        if (const Owner buffer = m_tracked.BoundBuffer(call.Unsigned(0))) {
            Writes(buffer, call.Wide(1), call.Wide(2));
            m_tracked.Reads(piece(buffer, State::Storage));
        }
        return true;
    case CallId::glCopyBufferSubData: {
        const Owner source = m_tracked.BoundBuffer(call.Unsigned(0));
        const Owner target = m_tracked.BoundBuffer(call.Unsigned(1));
        if (source != 0 && target != 0) {
            m_tracked.ReadsAll(source);
            Writes(target, call.Wide(3), call.Wide(4));
            m_tracked.Reads(piece(target, State::Storage));
            m_tracked.Object(target).isDrawn |= m_tracked.Object(source).isDrawn;
        }
        return true;
    }
    case CallId::glMapBufferRange:
        if (const Owner buffer = m_tracked.BoundBuffer(call.Unsigned(0))) {
            m_tracked.Replaces(piece(buffer, State::Mapping));
            m_tracked.Reads(piece(buffer, State::Storage));
            if ((call.Unsigned(3) & GL_MAP_INVALIDATE_BUFFER_BIT) != 0)
                m_tracked.Replaces(piece(buffer, State::Data));
        }
        return true;
    case CallId::glFlushMappedBufferRange:
    case CallId::glUnmapBuffer:
        // What was written is kept only if the call is that makes it visible.
        if (const Owner buffer = m_tracked.BoundBuffer(call.Unsigned(0))) {
            m_tracked.Changes(piece(buffer, State::Data));
            if (call.Call() == CallId::glUnmapBuffer)
                m_tracked.Changes(piece(buffer, State::Mapping));
            m_tracked.Reads(piece(buffer, State::Mapping));
        }
        return true;
    default:
        return false;
    }
}

void BufferTracker::MappedData(const Data::MappedDataRecord& mapped)
{
    if (!m_tracked.Model().HasContext())
        return;
    if (const Owner buffer = m_tracked.BoundBuffer(mapped.target)) {
        Writes(buffer, mapped.offset, mapped.data.bytes);
        m_tracked.Reads(m_tracked.SlotOf(buffer, State::Mapping));
    }
}

} // namespace Trim
