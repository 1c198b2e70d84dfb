#include "Data/Capture/CaptureWriter.h"

#include <algorithm>
#include <ctime>

#include "Data/Capture/ChunkSink.h"
#include "Data/Records/CallTable.h"

namespace Data {

namespace {

/// A frame end closes a chunk that has this many bytes or is this old, so that a program that is killed loses little.
constexpr std::ptrdiff_t frameEndChunkBytes = 1 << 20;
constexpr std::uint64_t frameEndChunkAgeUs = 500'000;

std::uint64_t NowUs()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 + static_cast<std::uint64_t>(now.tv_nsec) / 1000;
}

} // namespace

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
    : m_chunk(std::make_unique<ChunkBuffer>()), m_startUs(NowUs()), m_sink(std::move(sink))
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
        const RecordHeader header{
            static_cast<std::uint32_t>(RoundUp8(sizeof(CallTableEntry) + nameBytes + signatureBytes)),
            static_cast<std::uint32_t>(id)};
        std::uint8_t* const at = chunk.memory.get() + chunk.used;
        std::memcpy(at, &header, sizeof header);
        std::memcpy(at + sizeof header, callTable[id].name, nameBytes);
        std::memcpy(at + sizeof header + nameBytes, callTable[id].signature, signatureBytes);
        chunk.used += header.bytes;
    }
    m_sink->Put(std::move(chunk));
    return true;
}

void CaptureWriter::UpdateHeader(const CaptureHeader& header) noexcept
{
    m_sink->UpdateHeader(header);
}

bool CaptureWriter::MakeRoom(std::uint64_t bytes)
{
    // Vertex data goes along to the chunk of its draw.
    std::uint8_t* const tail = m_vertexData ? m_vertexData : m_at;
    const auto tailBytes = static_cast<std::uint64_t>(m_at - tail);
    const std::uint64_t needed = sizeof(ThreadRecord) + tailBytes + bytes;
    if (bytes > maxChunkBytes || needed > maxChunkBytes || !m_sink)
        return false;
    ChunkBuffer chunk = m_sink->Take(needed);
    if (!chunk.memory) {
        m_begin = m_at = m_end = m_vertexData = nullptr;
        return false;
    }
    std::uint8_t* const begin = chunk.memory.get();
    const ThreadRecord thread{{sizeof(ThreadRecord), static_cast<std::uint32_t>(RecordId::Thread)}, m_thread, 0};
    std::memcpy(begin, &thread, sizeof thread);
    if (tailBytes > 0)
        std::memcpy(begin + sizeof thread, tail, tailBytes);
    if (m_begin)
        CloseChunk(tail);
    m_vertexData = tailBytes > 0 ? begin + sizeof thread : nullptr;
    m_begin = begin;
    m_at = begin + sizeof thread + tailBytes;
    m_end = begin + chunk.capacity;
    m_chunkFrames = m_frames;
    m_chunkOpenedUs = TimeUs();
    *m_chunk = std::move(chunk);
    return true;
}

std::uint64_t CaptureWriter::TimeUs() const
{
    return m_givenTimeUs ? *m_givenTimeUs : NowUs() - m_startUs;
}

void CaptureWriter::CloseChunk(std::uint8_t* end)
{
    m_chunk->used = static_cast<std::size_t>(end - m_begin);
    m_chunk->framesBefore = m_chunkFrames;
    m_chunk->frames = m_frames - m_chunkFrames;
    m_chunk->timeUs = TimeUs();
    m_sink->Put(std::move(*m_chunk));
    m_begin = m_at = m_end = m_vertexData = nullptr;
}

void CaptureWriter::ChangeThread(std::uint32_t thread)
{
    m_thread = thread;
    // A new chunk begins with its thread.
    if (m_begin)
        Put(RecordId::Thread, ThreadRecord{{}, thread, 0});
}

template <class Record> void CaptureWriter::Put(RecordId id, Record record)
{
    if (std::uint8_t* const at = Begin(static_cast<std::uint32_t>(id), sizeof record)) {
        std::memcpy(&record.header, at, sizeof record.header);
        std::memcpy(at, &record, sizeof record);
        End();
    }
}

template <class Record>
void CaptureWriter::Put(RecordId id, Record record, PointerSlot Record::*slot, const void* data, std::uint64_t bytes)
{
    if (bytes > maxChunkBytes)
        return;
    record.*slot = {reinterpret_cast<std::uintptr_t>(data), static_cast<std::uint32_t>(bytes), sizeof record};
    if (std::uint8_t* const at = Begin(static_cast<std::uint32_t>(id), sizeof record + bytes)) {
        std::memcpy(&record.header, at, sizeof record.header);
        std::memcpy(at, &record, sizeof record);
        if (bytes > 0)
            std::memcpy(at + sizeof record, data, bytes);
        End();
    }
}

void CaptureWriter::BlockStart(std::uint32_t type)
{
    Put(RecordId::BlockStart, BlockRecord{{}, type, 0});
}

void CaptureWriter::BlockEnd(std::uint32_t type)
{
    Put(RecordId::BlockEnd, BlockRecord{{}, type, 0});
}

void CaptureWriter::FrameEnd()
{
    const std::uint64_t now = TimeUs();
    Put(RecordId::FrameEnd, FrameEndRecord{{}, now});
    if (!m_begin)
        return;
    ++m_frames;
    if (m_at - m_begin >= frameEndChunkBytes || now - m_chunkOpenedUs >= frameEndChunkAgeUs)
        CloseChunk(m_at);
}

void CaptureWriter::FrameHash(std::uint32_t surface, std::uint32_t width, std::uint32_t height, std::uint64_t hash)
{
    Put(RecordId::FrameHash, FrameHashRecord{{}, m_frames + 1, surface, width, height, hash});
}

std::uint8_t* CaptureWriter::BeginVertexAttribData(const VertexAttribDataRecord& fields, std::uint32_t dataBytes)
{
    const std::uint64_t bytes = RoundUp8(sizeof fields + std::uint64_t{dataBytes});
    if (bytes > static_cast<std::uint64_t>(m_end - m_at) && !MakeRoom(bytes))
        return nullptr;
    if (!m_vertexData)
        m_vertexData = m_at;
    VertexAttribDataRecord record = fields;
    record.header = {static_cast<std::uint32_t>(bytes), static_cast<std::uint32_t>(RecordId::VertexAttribData)};
    record.data = {fields.data.value, dataBytes, sizeof record};
    std::memcpy(m_at, &record, sizeof record);
    return m_at + sizeof record;
}

void CaptureWriter::FlushMappedBufferRange(std::uint32_t target, std::uint32_t offset, const void* data,
                                           std::uint32_t bytes)
{
    Put(RecordId::FlushMappedBufferRange, MappedDataRecord{{}, target, offset, {}}, &MappedDataRecord::data, data,
        bytes);
}

void CaptureWriter::UnmapBuffer(std::uint32_t target, const void* data, std::uint32_t bytes)
{
    Put(RecordId::UnmapBuffer, MappedDataRecord{{}, target, 0, {}}, &MappedDataRecord::data, data, bytes);
}

void CaptureWriter::Note(const char* text, std::uint64_t count)
{
    Put(RecordId::Note, TextRecord{{}, count, {}}, &TextRecord::text, text, std::strlen(text));
}

void CaptureWriter::Text(RecordId kind, const char* text)
{
    Put(kind, TextRecord{}, &TextRecord::text, text, std::strlen(text));
}

void CaptureWriter::WindowSize(std::uint32_t display, std::uint32_t surface, std::uint32_t width, std::uint32_t height)
{
    Put(RecordId::WindowSize, WindowSizeRecord{{}, display, surface, width, height});
}

void CaptureWriter::ConfigAttribs(std::uint32_t display, std::uint32_t config, const std::int32_t* attribs,
                                  std::uint32_t count)
{
    Put(RecordId::ConfigAttribs, AttribsRecord{{}, display, config, {}}, &AttribsRecord::attribs, attribs,
        std::uint64_t{count} * sizeof *attribs);
}

void CaptureWriter::SurfaceAttribs(std::uint32_t display, std::uint32_t surface, const std::int32_t* attribs,
                                   std::uint32_t count)
{
    Put(RecordId::SurfaceAttribs, AttribsRecord{{}, display, surface, {}}, &AttribsRecord::attribs, attribs,
        std::uint64_t{count} * sizeof *attribs);
}

void CaptureWriter::DefaultBuffer(RecordId kind, const DefaultBufferRecord& fields, const void* data,
                                  std::uint32_t bytes)
{
    Put(kind, fields, &DefaultBufferRecord::data, data, bytes);
}

void CaptureWriter::MultisampleTexture(const MultisampleTextureRecord& fields, const void* data, std::uint32_t bytes)
{
    Put(RecordId::MultisampleTexture, fields, &MultisampleTextureRecord::data, data, bytes);
}

void CaptureWriter::EGLImage(RecordId kind, const EGLImageRecord& fields,
                             const void* const (&planeData)[maxImagePlanes])
{
    EGLImageRecord record = fields;
    record.planeCount = std::min(fields.planeCount, maxImagePlanes);
    std::uint64_t bytes = sizeof record;
    for (std::uint32_t i = 0; i < record.planeCount; ++i) {
        ImagePlaneSlot& plane = record.planes[i];
        plane.data = {};
        if (planeData[i] && plane.size > 0 && plane.size <= maxChunkBytes) {
            plane.data = {0, static_cast<std::uint32_t>(plane.size), static_cast<std::uint32_t>(bytes)};
            bytes = RoundUp8(bytes + plane.size);
            if (bytes > maxChunkBytes)
                return;
        }
    }
    if (std::uint8_t* const at = Begin(static_cast<std::uint32_t>(kind), bytes)) {
        std::memcpy(&record.header, at, sizeof record.header);
        std::memcpy(at, &record, sizeof record);
        for (std::uint32_t i = 0; i < record.planeCount; ++i) {
            if (record.planes[i].data.offset != 0)
                std::memcpy(at + record.planes[i].data.offset, planeData[i], record.planes[i].data.bytes);
        }
        End();
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
    m_begin = m_at = m_end = m_vertexData = nullptr;
}

} // namespace Data
