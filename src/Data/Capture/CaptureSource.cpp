#include "Data/Capture/CaptureSource.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>

#include <zstd.h>

#include "Data/Capture/Checksum.h"
#include "Data/Records/RecordCursor.h"

namespace Data {

namespace {

void ShiftTimes(const Chunk& chunk, std::int64_t shiftUs)
{
    RecordCursor record(chunk);
    FrameEndRecord end;
    while (record.Next()) {
        if (record.Is(RecordId::FrameEnd) && record.Read(end)) {
            end.timeUs += static_cast<std::uint64_t>(shiftUs);
            std::memcpy(record.Record(), &end, sizeof end);
        }
    }
}

} // namespace

std::unique_ptr<CaptureSource> CaptureSource::Open(const std::string& path, std::string& error)
{
    std::unique_ptr<CaptureSource> source(new CaptureSource);
    source->m_fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status = {};
    if (source->m_fd < 0 || fstat(source->m_fd, &status) != 0) {
        error = path + ": cannot be opened: " + std::strerror(errno);
        return nullptr;
    }
    if (!S_ISREG(status.st_mode)) {
        error = path + ": is not a file";
        return nullptr;
    }
    source->m_fileBytes = static_cast<std::uint64_t>(status.st_size);
    source->m_decompressor = ZSTD_createDCtx();
    std::string trouble = source->ReadHeader();
    if (trouble.empty())
        trouble = source->ReadCallTable();
    if (!trouble.empty()) {
        error = path + ": " + trouble;
        return nullptr;
    }
    source->m_isComplete = source->ReadIndex();
    if (!source->m_isComplete)
        source->FindChunks();
    return source;
}

CaptureSource::~CaptureSource()
{
    ZSTD_freeDCtx(m_decompressor);
    if (m_fd >= 0)
        close(m_fd);
}

bool CaptureSource::ReadAt(void* data, std::size_t bytes, std::uint64_t offset) const
{
    if (offset > m_fileBytes || bytes > m_fileBytes - offset)
        return false;
    auto* at = static_cast<std::uint8_t*>(data);
    while (bytes > 0) {
        const ssize_t got = pread(m_fd, at, bytes, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        at += got;
        bytes -= static_cast<std::size_t>(got);
        offset += static_cast<std::uint64_t>(got);
    }
    return true;
}

std::string CaptureSource::ReadHeader()
{
    std::vector<std::uint8_t> bytes(std::min<std::uint64_t>(m_fileBytes, HeaderBytes));
    if (!ReadAt(bytes.data(), bytes.size(), 0))
        return std::string("cannot be read: ") + std::strerror(errno);
    return DecodeHeader(bytes, m_header);
}

std::string CaptureSource::ReadChunkHeader(std::uint64_t offset, ChunkHeader& header) const
{
    if (!ReadAt(&header, sizeof header, offset))
        return "the file ends in the header of a chunk";
    if (header.magic != ChunkMagic)
        return "there is no chunk";
    if (header.rawBytes > MaxChunkBytes || header.storedBytes > header.rawBytes)
        return "the chunk's sizes are damaged: " + std::to_string(header.storedBytes) + " bytes stored for " +
               std::to_string(header.rawBytes);
    const std::uint64_t left = m_fileBytes - offset - sizeof header;
    if (header.storedBytes > left)
        return "the chunk is cut: expected " + std::to_string(header.storedBytes) + " bytes, found " +
               std::to_string(left);
    return {};
}

std::string CaptureSource::ReadChunkAt(std::uint64_t offset, ChunkKind kind, Chunk& chunk, ChunkHeader& header)
{
    std::string trouble = ReadChunkHeader(offset, header);
    if (!trouble.empty())
        return trouble;
    m_stored.resize(sizeof header + header.storedBytes);
    if (!ReadAt(m_stored.data(), m_stored.size(), offset))
        return std::string("cannot be read: ") + std::strerror(errno);
    if (ChunkChecksum(m_stored.data(), header.storedBytes) != header.checksum)
        return "the chunk is damaged: its checksum does not match";
    if (header.kind != static_cast<std::uint32_t>(kind))
        return "the chunk is of kind " + std::to_string(header.kind) + ", expected " +
               std::to_string(static_cast<std::uint32_t>(kind));

    chunk.bytes = header.rawBytes;
    chunk.fileOffset = offset;
    if (chunk.capacity < header.rawBytes) {
        // What is to be held has been checked against MaxChunkBytes, and the stored part is there.
        chunk.capacity = (std::size_t{header.rawBytes} + 7) / 8 * 8;
        chunk.memory.reset();
        chunk.memory = std::make_unique_for_overwrite<std::uint64_t[]>(chunk.capacity / 8);
    }
    const std::uint8_t* const body = m_stored.data() + sizeof header;
    if (header.storedBytes == header.rawBytes) {
        if (header.rawBytes > 0)
            std::memcpy(chunk.Data(), body, header.rawBytes);
        return {};
    }
    const std::size_t bytes =
        ZSTD_decompressDCtx(m_decompressor, chunk.Data(), header.rawBytes, body, header.storedBytes);
    if (ZSTD_isError(bytes) || bytes != header.rawBytes)
        return "the chunk is damaged: it cannot be decompressed to " + std::to_string(header.rawBytes) + " bytes";
    return {};
}

std::string CaptureSource::ReadCallTable()
{
    Chunk chunk;
    ChunkHeader header = {};
    const std::string trouble = ReadChunkAt(HeaderBytes, ChunkKind::CallTable, chunk, header);
    if (!trouble.empty())
        return "the call table cannot be read: " + trouble;
    m_recordsOffset = HeaderBytes + sizeof header + header.storedBytes;

    std::unordered_map<std::string_view, std::uint32_t> known;
    for (std::uint32_t id = 0; id < callCount; ++id)
        known.emplace(callTable[id].name, id);

    std::uint32_t at = 0;
    while (at < chunk.bytes) {
        const std::uint8_t* const record = chunk.Data() + at;
        RecordHeader entry = {};
        if (chunk.bytes - at >= sizeof entry)
            std::memcpy(&entry, record, sizeof entry);
        const bool fits = entry.bytes >= sizeof entry && entry.bytes % 8 == 0 && entry.bytes <= chunk.bytes - at;
        const std::string_view text(reinterpret_cast<const char*>(record) + sizeof entry,
                                    fits ? entry.bytes - sizeof entry : 0);
        const std::size_t nameEnd = text.find('\0');
        const std::size_t end = nameEnd == std::string_view::npos ? nameEnd : text.find('\0', nameEnd + 1);
        if (end == std::string_view::npos || entry.id >= MaxCalls)
            return "the call table is damaged: entry at " + std::to_string(at) + " is no call";
        if (m_calls.size() <= entry.id)
            m_calls.resize(entry.id + 1);
        FileCall& call = m_calls[entry.id];
        call.name = text.substr(0, nameEnd);
        call.signature = text.substr(nameEnd + 1, end - nameEnd - 1);
        const auto found = known.find(call.name);
        if (found != known.end() && call.signature == callTable[found->second].signature)
            call.known = found->second;
        at += entry.bytes;
    }
    return {};
}

bool CaptureSource::ReadIndex()
{
    Trailer trailer = {};
    if (m_fileBytes < m_recordsOffset + sizeof trailer ||
        !ReadAt(&trailer, sizeof trailer, m_fileBytes - sizeof trailer) || trailer.magic != TrailerMagic)
        return false;
    Chunk chunk;
    ChunkHeader header = {};
    if (trailer.indexOffset < m_recordsOffset ||
        !ReadChunkAt(trailer.indexOffset, ChunkKind::Index, chunk, header).empty() ||
        chunk.bytes % sizeof(IndexEntry) != 0)
        return false;
    m_chunks.resize(chunk.bytes / sizeof(IndexEntry));
    if (!m_chunks.empty())
        std::memcpy(m_chunks.data(), chunk.Data(), chunk.bytes);
    m_indexOffset = trailer.indexOffset;
    return true;
}

bool CaptureSource::ReadSummary(Chunk& chunk, std::string& trouble)
{
    ChunkHeader header = {};
    std::uint64_t offset = m_chunks.empty() ? m_recordsOffset : m_chunks.back().fileOffset;
    while (m_isComplete && offset < m_indexOffset) {
        trouble = ReadChunkHeader(offset, header);
        const bool isSummary = header.kind == static_cast<std::uint32_t>(ChunkKind::Summary);
        if (trouble.empty() && isSummary)
            trouble = ReadChunkAt(offset, ChunkKind::Summary, chunk, header);
        if (!trouble.empty() || isSummary)
            return trouble.empty();
        offset += sizeof header + header.storedBytes;
    }
    return false;
}

void CaptureSource::FindChunks()
{
    std::uint64_t offset = m_recordsOffset;
    ChunkHeader header = {};
    m_chunks.clear();
    while (ReadChunkHeader(offset, header).empty() && header.kind == static_cast<std::uint32_t>(ChunkKind::Records)) {
        m_chunks.push_back({offset, header.framesBefore, header.frames});
        offset += sizeof header + header.storedBytes;
    }
}

std::uint32_t CaptureSource::FrameCount() const
{
    return m_chunks.empty() ? 0 : m_chunks.back().framesBefore + m_chunks.back().frames;
}

std::size_t CaptureSource::ChunkOfFrame(std::uint32_t frame) const
{
    std::uint32_t frames = 0;
    for (std::size_t i = 0; i < m_chunks.size() && m_chunks[i].framesBefore == frames; ++i) {
        frames += m_chunks[i].frames;
        if (frames >= frame - 1)
            return i;
    }
    return 0;
}

std::string CaptureSource::Continue(const std::string& path)
{
    std::string error;
    std::unique_ptr<CaptureSource> next = Open(path, error);
    if (!next)
        return error;
    const std::uint32_t frames = FrameCount();
    const std::uint32_t expected = std::max<std::uint32_t>(m_header.originFrame, 1) + frames;
    if (next->m_header.originFrame != expected) {
        return path + ": does not continue the file in front of it: expected a capture from frame " +
               std::to_string(expected) + " on, found one from " + std::to_string(next->m_header.originFrame);
    }
    if (next->m_calls != m_calls)
        return path + ": does not continue the file in front of it: it has other calls";
    const std::uint64_t begin = m_continuations.empty()
                                    ? m_fileBytes
                                    : m_continuations.back().begin + m_continuations.back().source->FileBytes();
    for (const IndexEntry& chunk : next->m_chunks)
        m_chunks.push_back({begin + chunk.fileOffset, frames + chunk.framesBefore, chunk.frames});
    m_isComplete = m_isComplete && next->m_isComplete;
    const auto shiftUs = static_cast<std::int64_t>(next->m_header.startTimeUs - m_header.startTimeUs);
    m_continuations.push_back({std::move(next), begin, shiftUs});
    return {};
}

std::string CaptureSource::ReadChunk(const IndexEntry& entry, Chunk& chunk)
{
    const auto found = std::find_if(m_continuations.rbegin(), m_continuations.rend(),
                                    [&](const Continuation& next) { return next.begin <= entry.fileOffset; });
    if (found != m_continuations.rend()) {
        std::string trouble =
            found->source->ReadChunk({entry.fileOffset - found->begin, entry.framesBefore, entry.frames}, chunk);
        if (trouble.empty())
            ShiftTimes(chunk, found->shiftUs);
        return trouble;
    }
    ChunkHeader header = {};
    return ReadChunkAt(entry.fileOffset, ChunkKind::Records, chunk, header);
}

std::uint64_t CaptureSource::ChunkTimeUs(const IndexEntry& entry) const
{
    ChunkHeader header = {};
    return ReadChunkHeader(entry.fileOffset, header).empty() ? header.timeUs : 0;
}

} // namespace Data
