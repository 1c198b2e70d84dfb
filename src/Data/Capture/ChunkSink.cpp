#include "Data/Capture/ChunkSink.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Data/Capture/Checksum.h"

namespace Data {

namespace {

/// Chunks under way before the recorded program has to wait for the disk.
constexpr unsigned MaxUnderWay = 6;
/// Descriptors are moved here, out of the way of programs that count on low numbers.
constexpr int LowestDescriptor = 500;

/// In large pages where the system has some: a chunk then takes a page fault or two, not a thousand.
std::uint8_t* TakeMemory(std::size_t bytes)
{
    constexpr std::size_t LargePage = 2u << 20;
    const std::size_t whole = (bytes + LargePage - 1) / LargePage * LargePage;
    auto* const memory = static_cast<std::uint8_t*>(std::aligned_alloc(LargePage, whole));
    if (memory)
        madvise(memory, whole, MADV_HUGEPAGE);
    return memory;
}

} // namespace

void ChunkBuffer::Free::operator()(std::uint8_t* memory) const
{
    std::free(memory);
}

std::unique_ptr<ChunkSink> ChunkSink::Open(const std::string& path, const CaptureHeader& header, std::string& error)
{
    std::unique_ptr<ChunkSink> sink(new ChunkSink);
    sink->m_path = path;
    const int low = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (low < 0) {
        error = path + ": cannot create the file: " + std::strerror(errno);
        return nullptr;
    }
    sink->m_fd = fcntl(low, F_DUPFD_CLOEXEC, LowestDescriptor);
    if (sink->m_fd < 0)
        sink->m_fd = low;
    else
        close(low);

    flock(sink->m_fd, LOCK_EX | LOCK_NB);
    struct stat status = {};
    fstat(sink->m_fd, &status);
    sink->m_device = status.st_dev;
    sink->m_inode = status.st_ino;
    sink->m_packer.emplace();
    sink->m_summary.emplace(OwnCalls());
    sink->UpdateHeader(header);
    sink->m_fileBytes = HeaderBytes;
    if (!sink->StartThread())
        sink->Fail("cannot start the writer's thread", ENOMEM);
    if (sink->Failed()) {
        error = sink->m_error;
        return nullptr;
    }
    return sink;
}

ChunkSink::~ChunkSink()
{
    StopThread();
    if (m_fd >= 0)
        close(m_fd);
}

bool ChunkSink::StartThread()
{
    // The program's signals are for its own threads.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    m_running = pthread_create(&m_thread, nullptr, &ChunkSink::ThreadMain, this) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return m_running;
}

void* ChunkSink::ThreadMain(void* self)
{
    static_cast<ChunkSink*>(self)->Run();
    return nullptr;
}

void ChunkSink::Run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stop || !m_queue.empty(); });
        if (m_queue.empty())
            return;
        ChunkBuffer chunk = std::move(m_queue.front());
        m_queue.pop_front();
        lock.unlock();
        if (!Failed())
            WriteChunk(chunk);
        lock.lock();
        Recycle(std::move(chunk));
        m_wake.notify_all();
    }
}

void ChunkSink::StopThread()
{
    if (!m_running)
        return;
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
    pthread_join(m_thread, nullptr);
    m_running = false;
}

ChunkBuffer ChunkSink::Take(std::size_t bytes)
{
    std::unique_lock lock(m_mutex);
    m_wake.wait(lock, [this] { return m_underWay < MaxUnderWay || Failed(); });
    ChunkBuffer chunk;
    if (Failed())
        return chunk;
    if (bytes <= ChunkBytes && !m_spare.empty()) {
        chunk.memory = std::move(m_spare.back().memory);
        chunk.capacity = m_spare.back().capacity;
        m_spare.pop_back();
        chunk.used = 0;
        chunk.kind = ChunkKind::Records;
    } else {
        chunk.capacity = bytes > ChunkBytes ? bytes : ChunkBytes;
        chunk.memory.reset(TakeMemory(chunk.capacity));
        if (!chunk.memory) {
            Fail("no memory for recorded calls", ENOMEM);
            return chunk;
        }
    }
    ++m_underWay;
    return chunk;
}

void ChunkSink::Put(ChunkBuffer chunk)
{
    {
        const std::lock_guard lock(m_mutex);
        try {
            m_queue.push_back(std::move(chunk));
        } catch (...) {
            Fail("no memory for recorded calls", ENOMEM);
        }
    }
    m_wake.notify_all();
}

void ChunkSink::Recycle(ChunkBuffer chunk)
{
    --m_underWay;
    if (chunk.capacity == ChunkBytes) {
        try {
            m_spare.push_back(std::move(chunk));
        } catch (...) {
            // Without room to keep it the buffer is freed, which loses nothing.
        }
    }
}

bool ChunkSink::WriteChunk(ChunkBuffer& chunk)
{
    const bool isRecords = chunk.kind == ChunkKind::Records;
    if (isRecords)
        CountChunk(chunk);
    try {
        const ChunkPacker::Body body = m_packer->Pack(
            {{chunk.memory.get(), chunk.used}, chunk.kind, chunk.isContents, std::move(chunk.differences)}, m_stored,
            sizeof(ChunkHeader));
        ChunkHeader header = {};
        header.magic = ChunkMagic;
        header.kind = static_cast<std::uint32_t>(body.kind);
        header.rawBytes = static_cast<std::uint32_t>(chunk.used);
        header.storedBytes = static_cast<std::uint32_t>(body.bytes);
        header.framesBefore = chunk.framesBefore;
        header.frames = chunk.frames;
        header.timeUs = chunk.timeUs;
        std::uint8_t* const stored = m_stored.Take(sizeof header + body.bytes);
        std::memcpy(stored, &header, sizeof header);
        header.checksum = ChunkChecksum(stored, body.bytes);
        std::memcpy(stored, &header, sizeof header);

        if (isRecords)
            m_index.push_back({m_fileBytes, chunk.framesBefore, chunk.frames});
        if (!WriteAt(stored, sizeof header + body.bytes, m_fileBytes))
            return false;
        m_fileBytes += sizeof header + body.bytes;
        return true;
    } catch (...) {
        return Fail("no memory to compress recorded calls", ENOMEM);
    }
}

void ChunkSink::CountChunk(const ChunkBuffer& chunk)
{
    try {
        if (m_summary)
            m_summary->CountChunk({chunk.memory.get(), chunk.used});
    } catch (...) {
        m_summary.reset();
    }
}

bool ChunkSink::WriteSummary()
{
    try {
        const std::vector<std::uint8_t> summary =
            m_summary ? EncodeSummary(m_summary->Counts()) : std::vector<std::uint8_t>();
        return summary.empty() || WriteBody(ChunkKind::Summary, summary);
    } catch (...) {
        return true;
    }
}

bool ChunkSink::WriteIndex()
{
    const Trailer trailer{m_fileBytes, TrailerMagic};
    const auto* const entries = reinterpret_cast<const std::uint8_t*>(m_index.data());
    return WriteBody(ChunkKind::Index, {entries, m_index.size() * sizeof(IndexEntry)}) &&
           WriteAt(&trailer, sizeof trailer, m_fileBytes);
}

bool ChunkSink::WriteBody(ChunkKind kind, std::span<const std::uint8_t> body)
{
    ChunkBuffer chunk;
    chunk.kind = kind;
    chunk.used = body.size();
    chunk.memory.reset(static_cast<std::uint8_t*>(std::malloc(chunk.used + 1)));
    if (!chunk.memory)
        return Fail("no memory for the end of the capture", ENOMEM);
    if (!body.empty())
        std::memcpy(chunk.memory.get(), body.data(), body.size());
    if (!m_index.empty())
        chunk.framesBefore = m_index.back().framesBefore + m_index.back().frames;
    return WriteChunk(chunk);
}

/// The header of a capture that is finished says how many calls are in it.
void ChunkSink::WriteCounts()
{
    if (!m_summary)
        return;
    const std::vector<std::uint64_t>& calls = m_summary->Counts().callsById;
    for (std::size_t id = 0; id < calls.size(); ++id) {
        m_header.calls += calls[id];
        m_header.eglCalls += IsEGL(static_cast<CallId>(id)) ? calls[id] : 0;
    }
    UpdateHeader(m_header);
}

void ChunkSink::UpdateHeader(const CaptureHeader& header)
{
    m_header = header;
    std::uint8_t bytes[HeaderBytes];
    EncodeHeader(header, bytes);
    WriteAt(bytes, sizeof bytes, 0);
}

bool ChunkSink::WriteAt(const void* data, std::size_t bytes, std::uint64_t offset)
{
    struct stat status = {};
    if (fstat(m_fd, &status) != 0 || status.st_dev != m_device || status.st_ino != m_inode)
        return Fail("the program closed the capture's descriptor", EBADF);
    const auto* at = static_cast<const std::uint8_t*>(data);
    while (bytes > 0) {
        const ssize_t written = pwrite(m_fd, at, bytes, static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return Fail("cannot write", written < 0 ? errno : ENOSPC);
        at += written;
        bytes -= static_cast<std::size_t>(written);
        offset += static_cast<std::uint64_t>(written);
    }
    return true;
}

bool ChunkSink::Finish(std::string& error)
{
    StopThread();
    if (!Failed() && WriteSummary() && WriteIndex())
        WriteCounts();
    if (m_fd >= 0 && close(m_fd) != 0)
        Fail("cannot write", errno);
    m_fd = -1;
    error = m_error;
    return !Failed();
}

void ChunkSink::Abandon()
{
    m_running = false;
    close(m_fd);
    m_fd = -1;
}

bool ChunkSink::Fail(const char* what, int errorNumber)
{
    // The first failure is the one to report; later ones follow from it.
    if (!m_failing.exchange(true)) {
        try {
            m_error = m_path + ": " + what + ": " + std::strerror(errorNumber);
        } catch (...) {
            m_error.clear();
        }
        m_failed.store(true, std::memory_order_release);
    }
    return false;
}

} // namespace Data
