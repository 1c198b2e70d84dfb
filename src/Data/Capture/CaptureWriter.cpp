#include "Data/Capture/CaptureWriter.h"

#include <algorithm>
#include <ctime>

#include "Data/Capture/ChunkSink.h"
#include "Data/Records/CallTable.h"

namespace Data {

namespace {

/// A frame end closes a chunk that has this many bytes or is this old, so that frames are found quickly.
constexpr std::ptrdiff_t FrameEndChunkBytes = 1 << 20;
/// The same of a chunk that is contents for the most part: those of one frame are often much like those of the next.
constexpr std::ptrdiff_t FrameEndContentsBytes = 3 << 20;
constexpr std::uint64_t FrameEndChunkAgeUs = 500'000;

std::uint64_t TimeUsBy(clockid_t clock)
{
    timespec now = {};
    clock_gettime(clock, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 + static_cast<std::uint64_t>(now.tv_nsec) / 1000;
}

} // namespace

std::uint64_t MonotonicUs() noexcept
{
    return TimeUsBy(CLOCK_MONOTONIC);
}

std::uint64_t RealTimeUs() noexcept
{
    return TimeUsBy(CLOCK_REALTIME);
}

std::unique_ptr<CaptureWriter> CaptureWriter::Create(const std::string& path, const CaptureHeader& header,
                                                     std::string& error) noexcept
{
    try {
        std::unique_ptr<ChunkSink> sink = ChunkSink::Open(path, header, error);
        if (!sink)
            return nullptr;
        std::unique_ptr<CaptureWriter> writer(new CaptureWriter(std::move(sink)));
        if (!writer->WriteCallTable()) {
            writer->Finish(error);
            return nullptr;
        }
        return writer;
    } catch (...) {
        // Short enough to need no memory itself.
        error = "no memory";
        return nullptr;
    }
}

CaptureWriter::CaptureWriter(std::unique_ptr<ChunkSink> sink)
    : m_chunk(std::make_unique<ChunkBuffer>()), m_startUs(MonotonicUs()), m_sink(std::move(sink))
{
}

CaptureWriter::~CaptureWriter()
{
    std::string error;
    Finish(error);
}

bool CaptureWriter::WriteCallTable()
{
    std::uint64_t bytes = 0;
    for (const CallDescription& call : callTable)
        bytes += RoundUp8(sizeof(CallTableEntry) + std::strlen(call.name) + std::strlen(call.signature) + 2);
    ChunkBuffer chunk = m_sink->Take(bytes);
    if (!chunk.memory)
        return false;
    chunk.kind = ChunkKind::CallTable;
    for (std::size_t id = 0; id < callTable.size(); ++id) {
        const std::size_t nameBytes = std::strlen(callTable[id].name) + 1;
        const std::size_t signatureBytes = std::strlen(callTable[id].signature) + 1;
        const std::uint64_t entryBytes = RoundUp8(sizeof(CallTableEntry) + nameBytes + signatureBytes);
        std::uint8_t* const at = PlaceAt(chunk.memory.get() + chunk.used, static_cast<std::uint32_t>(id), entryBytes);
        std::memcpy(at + sizeof(CallTableEntry), callTable[id].name, nameBytes);
        std::memcpy(at + sizeof(CallTableEntry) + nameBytes, callTable[id].signature, signatureBytes);
        chunk.used += entryBytes;
    }
    m_sink->Put(std::move(chunk));
    return true;
}

void CaptureWriter::UpdateHeader(const CaptureHeader& header) noexcept
{
    m_sink->UpdateHeader(header);
}

std::uint8_t* CaptureWriter::PlaceElsewhere(std::uint32_t id, std::uint64_t bytes)
{
    // What goes with the call goes along to its chunk.
    std::uint8_t* const tail = m_ahead ? m_ahead : m_at;
    const auto tailBytes = static_cast<std::uint64_t>(m_at - tail);
    const std::uint64_t needed = sizeof(ThreadRecord) + tailBytes + bytes;
    if (bytes > MaxChunkBytes || needed > MaxChunkBytes || !m_sink)
        return nullptr;
    ChunkBuffer chunk = m_sink->Take(needed);
    if (!chunk.memory) {
        m_begin = m_at = m_end = m_ahead = nullptr;
        return nullptr;
    }
    std::uint8_t* const begin = chunk.memory.get();
    const ThreadRecord thread{{sizeof(ThreadRecord), static_cast<std::uint32_t>(RecordId::Thread)}, m_thread, 0};
    std::memcpy(begin, &thread, sizeof thread);
    if (tailBytes > 0)
        std::memcpy(begin + sizeof thread, tail, tailBytes);
    if (m_begin)
        CloseChunk(tail);
    m_ahead = tailBytes > 0 ? begin + sizeof thread : nullptr;
    m_begin = begin;
    m_at = begin + sizeof thread + tailBytes;
    m_end = begin + chunk.capacity;
    m_chunkFrames = m_frames;
    m_chunkOpenedUs = TimeUs();
    *m_chunk = std::move(chunk);
    return PlaceAt(m_at, id, bytes);
}

std::uint64_t CaptureWriter::TimeUs() const
{
    return m_givenTimeUs ? *m_givenTimeUs : MonotonicUs() - m_startUs;
}

void CaptureWriter::CloseChunk(std::uint8_t* end)
{
    m_chunk->used = static_cast<std::size_t>(end - m_begin);
    m_chunk->framesBefore = m_chunkFrames;
    m_chunk->frames = m_frames - m_chunkFrames;
    m_chunk->timeUs = TimeUs();
    m_chunk->isContents = IsContents();
    m_chunk->differences = m_similar.EndChunk();
    m_sink->Put(std::move(*m_chunk));
    m_begin = m_at = m_end = m_ahead = nullptr;
}

void CaptureWriter::ChangeThread(std::uint32_t thread)
{
    m_thread = thread;
    // A new chunk begins with its thread.
    if (m_begin)
        Thread(thread);
}

void CaptureWriter::FrameEnd()
{
    FrameEnd(TimeUs());
}

void CaptureWriter::FrameEnd(std::uint64_t timeUs)
{
    PutFrameEnd(timeUs);
    if (!m_begin)
        return;
    ++m_frames;
    if (IsChunkLarge() || TimeUs() - m_chunkOpenedUs >= FrameEndChunkAgeUs)
        CloseChunk(m_at);
}

bool CaptureWriter::IsContents() const
{
    return static_cast<std::ptrdiff_t>(m_similar.Bytes()) > (m_at - m_begin) / 2;
}

bool CaptureWriter::IsChunkLarge() const
{
    return m_at - m_begin >= (IsContents() ? FrameEndContentsBytes : FrameEndChunkBytes);
}

void CaptureWriter::Copy(const std::uint8_t* record)
{
    RecordHeader header;
    std::memcpy(&header, record, sizeof header);
    std::uint8_t* const at = Place(header.id, header.bytes);
    m_ahead = at && GoesWithNextCall(header.id) ? (m_ahead ? m_ahead : m_at) : nullptr;
    if (at) {
        CopyContents(record, header, at);
        End();
    }
}

void CaptureWriter::CopyContents(const std::uint8_t* record, const RecordHeader& header, std::uint8_t* at)
{
    try {
        // What goes with the next call may have to go along to the next chunk, as it is.
        if (header.bytes >= SimilarContents::LeastBytes && !GoesWithNextCall(header.id)) {
            m_similar.Copy(record, at, m_begin);
            return;
        }
    } catch (...) {
        // Without memory to compare with, the record is copied as it is.
    }
    std::memcpy(at, record, header.bytes);
}

void CaptureWriter::CopyAll(const std::uint8_t* records, std::uint64_t bytes)
{
    // Room is made as for one record.
    if (std::uint8_t* const at = Begin(0, bytes)) {
        std::memcpy(at, records, bytes);
        m_at += bytes;
    }
}

bool CaptureWriter::Failed() const
{
    return !m_sink || m_sink->Failed();
}

const char* CaptureWriter::Error() const
{
    return m_sink ? m_sink->Error() : "";
}

void CaptureWriter::Flush() noexcept
{
    if (m_begin)
        CloseChunk(m_at);
}

bool CaptureWriter::Finish(std::string& error) noexcept
{
    if (!m_sink)
        return true;
    Flush();
    const bool written = m_sink->Finish(error);
    m_sink.reset();
    return written;
}

void CaptureWriter::Abandon() noexcept
{
    if (m_sink)
        m_sink->Abandon();
    m_sink.release();
    m_begin = m_at = m_end = m_ahead = nullptr;
}

} // namespace Data
