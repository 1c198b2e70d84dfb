// Memory that the driver maps for the program. What the program writes there is in no call's arguments, so it is read
// back from the mapping when the program flushes or unmaps it.

#include "Recorder/Memory/WatchedBuffers.h"
#include "Recorder/Platform.h"
#include "Recorder/RecordCalls.h"
#include "Recorder/Symbols/Export.h"
#include "Recorder/Symbols/LiveFunctions.h"
#include "Recorder/Thread.h"

namespace Recorder {
namespace {

/// Records a mapping, by whichever function it came about, and answers what the program is to have.
void* RecordMapping(const Capturing& capturing, Context& context, void* result, GLenum target, GLintptr offset,
                    GLsizeiptr length, GLbitfield access)
{
    Record::glMapBufferRange(capturing, context, result, target, offset, length, access);
    if (result == nullptr)
        return nullptr;
    context.Track(capturing,
                  [&](Data::ContextState&) { context.SetMappingInReplay(target, (access & GL_MAP_WRITE_BIT) != 0); });
    return ChangesUnannounced(access) ? Watch(capturing, context, target, result) : result;
}

void* MapBufferRange(Entry entry, GLenum target, GLintptr offset, GLsizeiptr length, GLbitfield access)
{
    const auto live = Live<void* (*)(GLenum, GLintptr, GLsizeiptr, GLbitfield)>(entry);
    const GLCall call;
    void* const result =
        While(call ? Record::Begin::glMapBufferRange(*call, target, offset, length, access) : CallRecord(),
              [&] { return live(target, offset, length, access); });
    return call ? RecordMapping(Capturing(), *call, result, target, offset, length, access) : result;
}

void RecordFlush(const Capturing& capturing, Context& context, GLenum target, GLintptr offset, GLsizeiptr length)
{
    const Data::BufferState* const buffer = context.State().Buffer(target);
    if (!capturing || buffer == nullptr || buffer->mapped == nullptr || ChangesUnannounced(buffer->mapAccess) ||
        offset < 0 || length <= 0 || offset > buffer->mappedBytes || length > buffer->mappedBytes - offset ||
        length > MaxArgumentBytes) {
        Record::glFlushMappedBufferRange(capturing, context, target, offset, length);
        return;
    }
    const auto* const data = static_cast<const std::uint8_t*>(buffer->mapped) + offset;
    const bool isInReplay = context.IsMappingInReplay(target);
    if (isInReplay) {
        capturing->FlushMappedBufferRange(target, static_cast<std::uint32_t>(offset), data,
                                          static_cast<std::uint32_t>(length));
        context.Track(capturing, [&](Data::ContextState& state) { state.MappedData(target, offset, data, length); });
    }
    Record::glFlushMappedBufferRange(capturing, context, target, offset, length);
    if (!isInReplay && (buffer->mapAccess & GL_MAP_PERSISTENT_BIT_EXT) != 0)
        Record::glBufferSubData(capturing, context, target, buffer->mappedOffset + offset, length, data);
}

void FlushMappedBufferRange(Entry entry, GLenum target, GLintptr offset, GLsizeiptr length)
{
    const auto live = Live<void (*)(GLenum, GLintptr, GLsizeiptr)>(entry);
    const GLCall call;
    While(call ? Record::Begin::glFlushMappedBufferRange(*call, target, offset, length) : CallRecord(),
          [&] { live(target, offset, length); });
    if (call)
        RecordFlush(Capturing(), *call, target, offset, length);
}

/// A range of a buffer in the program's memory.
struct MappedRange {
    const void* data = nullptr;
    std::int64_t offset = 0;
    std::int64_t bytes = 0;
};

/// Appends what the program wrote to the mapping that is about to end. A replay remembers one mapping for each target:
/// what it has forgotten for another is answered, to be written as an upload after the end of the mapping. `live` is
/// what the driver mapped; null where it does not tell.
MappedRange RecordMappedContents(const Capturing& capturing, Context& context, GLenum target, const void* live)
{
    const bool isWatched =
        EndWatch(capturing, context, live) || EndWatch(capturing, context, context.State().BoundBuffer(target));

    const Data::BufferState* const buffer = context.State().Buffer(target);
    if (!capturing || buffer == nullptr || buffer->mapped == nullptr || (buffer->mapAccess & GL_MAP_WRITE_BIT) == 0)
        return {};
    // Of a mapping that is flushed in parts, nothing counts but those parts, and of a watched one nothing but what
    // changed; they are written already.
    const bool isFlushed = isWatched || (buffer->mapAccess & GL_MAP_FLUSH_EXPLICIT_BIT) != 0;
    const MappedRange range = {isFlushed ? nullptr : buffer->mapped, buffer->mappedOffset,
                               isFlushed ? 0 : buffer->mappedBytes};
    context.Track(capturing, [&](Data::ContextState& state) { state.MappedData(target, 0, range.data, range.bytes); });
    if (!context.TakeMappingInReplay(target))
        return range;
    capturing->UnmapBuffer(target, range.data, static_cast<std::uint32_t>(range.bytes));
    return {};
}

/// What the driver mapped, asked for only where it may be watched. The state of a context cannot tell: it is not kept
/// once the capture has ended.
void* LivePointer(GLenum target)
{
    void* live = nullptr;
    if (isAnythingWatched)
        Live<void (*)(GLenum, GLenum, void**)>(Entry::glGetBufferPointerv)(target, GL_BUFFER_MAP_POINTER, &live);
    return live;
}

/// Everything is written ahead of the driver's call, while the memory is there.
void RecordUnmap(const Capturing& capturing, Context& context, GLenum target, const void* live)
{
    const MappedRange upload = RecordMappedContents(capturing, context, target, live);
    Record::glUnmapBuffer(capturing, context, GL_TRUE, target);
    if (upload.bytes > 0)
        Record::glBufferSubData(capturing, context, target, upload.offset, upload.bytes, upload.data);
}

GLboolean UnmapBuffer(Entry entry, GLenum target)
{
    const auto live = Live<GLboolean (*)(GLenum)>(entry);
    const GLCall call;
    if (call) {
        const void* const mapped = LivePointer(target);
        RecordUnmap(Capturing(), *call, target, mapped);
    }
    const LastIsOpen open(static_cast<bool>(call));
    return live(target);
}

void GetBufferPointer(Entry entry, GLenum target, GLenum pname, void** params)
{
    const auto live = Live<void (*)(GLenum, GLenum, void**)>(entry);
    const GLCall call;
    live(target, pname, params);
    if (call) {
        if (params != nullptr && pname == GL_BUFFER_MAP_POINTER)
            *params = WatchedInPlaceOf(*params);
        Record::glGetBufferPointerv(Capturing(), *call, target, pname, params);
    }
}

} // namespace
} // namespace Recorder

RECORDER_EXPORT void* glMapBufferRange(GLenum target, GLintptr offset, GLsizeiptr length, GLbitfield access)
{
    return Recorder::MapBufferRange(Recorder::Entry::glMapBufferRange, target, offset, length, access);
}

RECORDER_EXPORT void* glMapBufferRangeEXT(GLenum target, GLintptr offset, GLsizeiptr length, GLbitfield access)
{
    return Recorder::MapBufferRange(Recorder::Entry::glMapBufferRangeEXT, target, offset, length, access);
}

/// Written as a mapping of the whole buffer for writing. The contents recorded at the end cover all of it.
RECORDER_EXPORT void* glMapBufferOES(GLenum target, GLenum access)
{
    using namespace Recorder;
    const auto live = Live<void* (*)(GLenum, GLenum)>(Entry::glMapBufferOES);
    const GLCall call;
    void* const result = live(target, access);
    if (!call)
        return result;
    const Capturing capturing;
    const Data::BufferState* const buffer = call->State().Buffer(target);
    return RecordMapping(capturing, *call, result, target, 0, buffer != nullptr ? buffer->bytes : 0,
                         GL_MAP_WRITE_BIT | GL_MAP_INVALIDATE_BUFFER_BIT);
}

RECORDER_EXPORT void glFlushMappedBufferRange(GLenum target, GLintptr offset, GLsizeiptr length)
{
    Recorder::FlushMappedBufferRange(Recorder::Entry::glFlushMappedBufferRange, target, offset, length);
}

RECORDER_EXPORT void glFlushMappedBufferRangeEXT(GLenum target, GLintptr offset, GLsizeiptr length)
{
    Recorder::FlushMappedBufferRange(Recorder::Entry::glFlushMappedBufferRangeEXT, target, offset, length);
}

RECORDER_EXPORT GLboolean glUnmapBuffer(GLenum target)
{
    return Recorder::UnmapBuffer(Recorder::Entry::glUnmapBuffer, target);
}

RECORDER_EXPORT GLboolean glUnmapBufferOES(GLenum target)
{
    return Recorder::UnmapBuffer(Recorder::Entry::glUnmapBufferOES, target);
}

RECORDER_EXPORT void glGetBufferPointerv(GLenum target, GLenum pname, void** params)
{
    Recorder::GetBufferPointer(Recorder::Entry::glGetBufferPointerv, target, pname, params);
}

RECORDER_EXPORT void glGetBufferPointervOES(GLenum target, GLenum pname, void** params)
{
    Recorder::GetBufferPointer(Recorder::Entry::glGetBufferPointervOES, target, pname, params);
}

/// A replay writes what changed by glBufferSubData, which the storage of its buffer has to allow.
RECORDER_EXPORT void glBufferStorageEXT(GLenum target, GLsizeiptr size, const void* data, GLbitfield flags)
{
    using namespace Recorder;
    const auto live = Live<void (*)(GLenum, GLsizeiptr, const void*, GLbitfield)>(Entry::glBufferStorageEXT);
    const GLCall call;
    While(call ? Record::Begin::glBufferStorageEXT(*call, target, size, data, flags) : CallRecord(),
          [&] { live(target, size, data, flags); });
    if (call) {
        const bool isMapped = (flags & GL_MAP_PERSISTENT_BIT_EXT) != 0 && (flags & GL_MAP_WRITE_BIT) != 0;
        Record::glBufferStorageEXT(Capturing(), *call, target, size, data,
                                   flags | (isMapped ? GL_DYNAMIC_STORAGE_BIT_EXT : 0));
    }
}

/// Ends the mappings of the buffers. The names are free for others as soon as the driver has deleted them.
RECORDER_EXPORT void glDeleteBuffers(GLsizei n, const GLuint* buffers)
{
    using namespace Recorder;
    const auto live = Live<void (*)(GLsizei, const GLuint*)>(Entry::glDeleteBuffers);
    const GLCall call;
    if (call) {
        const Capturing capturing;
        for (const GLuint buffer : Data::ObjectNames(n, buffers))
            EndWatch(capturing, *call, buffer);
        Record::glDeleteBuffers(capturing, *call, n, buffers);
    }
    const LastIsOpen open(static_cast<bool>(call));
    live(n, buffers);
}
