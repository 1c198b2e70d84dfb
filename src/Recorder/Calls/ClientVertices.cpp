#include "Recorder/Calls/ClientVertices.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <sys/mman.h>
#include <sys/uio.h>
#include <unistd.h>

#include "Recorder/RecordCalls.h"
#include "Recorder/Symbols/Unrecorded.h"

namespace Recorder {
namespace {

/// Copies the pages that are there, by way of a file: writing to one fails where memory cannot be read.
void CopyThroughFile(std::uint8_t* to, const std::uint8_t* from, std::size_t bytes)
{
    const auto pageBytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const int file = memfd_create("playback-record", MFD_CLOEXEC);
    if (file < 0) {
        std::memcpy(to, from, bytes);
        return;
    }
    std::size_t part = 0;
    for (std::size_t done = 0; done < bytes; done += part) {
        part = std::min(bytes - done, pageBytes - reinterpret_cast<std::uintptr_t>(from + done) % pageBytes);
        if (pwrite(file, from + done, part, 0) == static_cast<ssize_t>(part))
            pread(file, to + done, part, 0);
    }
    close(file);
}

/// Copies as much as there is. Attributes may be enabled that no shader reads, and then point to memory that is long
/// gone: the driver does not mind, and what is written for them does not matter.
void CopyIfThere(std::uint8_t* to, const std::uint8_t* from, std::size_t bytes)
{
    const int savedErrno = errno;
    const iovec target = {to, bytes};
    const iovec source = {const_cast<std::uint8_t*>(from), bytes};
    const ssize_t copied = process_vm_readv(getpid(), &target, 1, &source, 1, 0);
    if (copied < 0 && errno != EFAULT) {
        // Sandboxes forbid the call, and emulators may lack it.
        CopyThroughFile(to, from, bytes);
    }
    errno = savedErrno;
}

void WriteAttrib(const Capturing& capturing, Data::ContextState& state, std::uint32_t index,
                 const Data::DrawRange& drawRange)
{
    const Data::VertexAttribState& attrib = state.Attrib(index);
    const Data::VertexAttribState& binding = state.Binding(index);
    const Data::DrawRange range = state.AttribRange(index, drawRange);
    const std::uint64_t elementBytes = Data::VertexElementBytes(attrib.size, attrib.type);
    if (range.count == 0 || elementBytes == 0 || binding.pointer == 0)
        return;
    const auto stride = static_cast<std::uint64_t>(binding.stride);
    const std::uint64_t bytes = (range.count - 1) * stride + elementBytes;
    if (bytes > static_cast<std::uint64_t>(MaxArgumentBytes)) {
        CountUnrecorded("vertices in client memory, more than a record holds");
        return;
    }
    Data::VertexAttribDataRecord fields = {};
    fields.index = index;
    fields.size = attrib.size;
    fields.type = attrib.type;
    fields.normalized = attrib.normalized;
    fields.integer = attrib.integer;
    fields.stride = binding.stride;
    fields.first = range.first;
    fields.count = range.count;
    fields.data.value = binding.pointer;
    if (std::uint8_t* const to = capturing->BeginVertexAttribData(fields, static_cast<std::uint32_t>(bytes))) {
        CopyIfThere(to, reinterpret_cast<const std::uint8_t*>(binding.pointer) + range.first * stride, bytes);
        capturing->End();
    }
}

} // namespace

void ClientVertices::Begin(const Capturing& capturing, Context& context, const Data::DrawRange& range) noexcept
{
    m_context = &context;
    Data::ContextState& state = context.State();
    if (!range.isKnown) {
        CountUnrecorded("vertices in client memory, drawn with indices that are not known");
        return;
    }
    if (const std::uint32_t bound = state.BoundBuffer(GL_ARRAY_BUFFER)) {
        BindArrayBuffer(capturing, 0);
        m_unbound = bound;
    }
    for (std::uint32_t left = state.ClientAttribs(); left != 0; left &= left - 1)
        WriteAttrib(capturing, state, static_cast<std::uint32_t>(std::countr_zero(left)), range);
}

void ClientVertices::BindArrayBuffer(const Capturing& capturing, std::uint32_t buffer) noexcept
{
    Record::glBindBuffer(capturing, *m_context, GL_ARRAY_BUFFER, buffer);
}

} // namespace Recorder
