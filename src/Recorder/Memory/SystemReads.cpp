// The kernel writes to no protected memory: where the program has it read into a mapped buffer that is watched, it
// reads into memory of the library's own, from which the bytes are copied as the program itself would write them.

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <memory>
#include <new>
#include <sys/socket.h>
#include <unistd.h>

#include "Recorder/Memory/WatchedBuffers.h"
#include "Recorder/Symbols/Export.h"
#include "Recorder/Symbols/LiveFunctions.h"

namespace Recorder {
namespace {

/// The C library's function of this name and type.
template <class Function> Function* Next(const char* name)
{
    return reinterpret_cast<Function*>(RealDlsym()(RTLD_NEXT, name));
}

/// Calls read(memory), which writes to `bytes` bytes and answers how many, for the program's memory.
template <class Read> auto ReadInto(void* memory, std::size_t bytes, Read read)
{
    if (!IsInWatched(memory, bytes)) [[likely]]
        return read(memory);
    const std::unique_ptr<char[]> own(new (std::nothrow) char[bytes]);
    if (own == nullptr)
        return read(memory);
    const auto count = read(own.get());
    if (count > 0) {
        const int savedErrno = errno;
        std::memcpy(memory, own.get(), std::min(static_cast<std::size_t>(count), bytes));
        errno = savedErrno;
    }
    return count;
}

} // namespace
} // namespace Recorder

RECORDER_EXPORT ssize_t read(int file, void* memory, std::size_t bytes)
{
    static auto* const next = Recorder::Next<decltype(::read)>("read");
    return Recorder::ReadInto(memory, bytes, [&](void* to) { return next(file, to, bytes); });
}

RECORDER_EXPORT ssize_t pread(int file, void* memory, std::size_t bytes, off_t offset)
{
    static auto* const next = Recorder::Next<decltype(::pread)>("pread");
    return Recorder::ReadInto(memory, bytes, [&](void* to) { return next(file, to, bytes, offset); });
}

RECORDER_EXPORT ssize_t pread64(int file, void* memory, std::size_t bytes, off64_t offset)
{
    static auto* const next = Recorder::Next<decltype(::pread64)>("pread64");
    return Recorder::ReadInto(memory, bytes, [&](void* to) { return next(file, to, bytes, offset); });
}

RECORDER_EXPORT ssize_t recv(int socket, void* memory, std::size_t bytes, int flags)
{
    static auto* const next = Recorder::Next<decltype(::recv)>("recv");
    return Recorder::ReadInto(memory, bytes, [&](void* to) { return next(socket, to, bytes, flags); });
}

RECORDER_EXPORT ssize_t recvfrom(int socket, void* memory, std::size_t bytes, int flags, sockaddr* from,
                                 socklen_t* fromBytes)
{
    static auto* const next = Recorder::Next<decltype(::recvfrom)>("recvfrom");
    return Recorder::ReadInto(memory, bytes, [&](void* to) { return next(socket, to, bytes, flags, from, fromBytes); });
}

RECORDER_EXPORT std::size_t fread(void* memory, std::size_t size, std::size_t count, FILE* file)
{
    static auto* const next = Recorder::Next<decltype(::fread)>("fread");
    if (!Recorder::IsInWatched(memory, size * count)) [[likely]]
        return next(memory, size, count, file);
    // A part of an element at the end of the file is written too.
    const std::size_t bytes =
        Recorder::ReadInto(memory, size * count, [&](void* to) { return next(to, 1, size * count, file); });
    return bytes / size;
}
