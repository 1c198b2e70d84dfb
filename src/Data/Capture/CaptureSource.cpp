#include "Data/Capture/CaptureSource.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>

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

/// Leaves out the records up to the end of a frame: `frames` frames end in them. False when there are less.
bool LeaveOut(Chunk& chunk, std::uint32_t frames)
{
    ThreadRecord thread{{sizeof(ThreadRecord), static_cast<std::uint32_t>(RecordId::Thread)}, 1, 0};
    RecordCursor record(chunk);
    while (frames > 0) {
        if (!record.Next())
            return false;
        if (record.Is(RecordId::Thread) && !record.Read(thread))
            return false;
        frames -= record.Is(RecordId::FrameEnd) ? 1 : 0;
    }
    // A chunk begins with its thread, for which there is room where the last frame ended.
    if (!record.Record() || record.Header().bytes != sizeof thread)
        return false;
    const auto rest = static_cast<std::size_t>(chunk.Data() + chunk.bytes - record.Record());
    std::memcpy(record.Record(), &thread, sizeof thread);
    std::memmove(chunk.Data(), record.Record(), rest);
    chunk.bytes = static_cast<std::uint32_t>(rest);
    return true;
}

void Renumber(const Chunk& chunk, const std::vector<std::uint32_t>& calls)
{
    for (RecordCursor record(chunk); record.Next();) {
        RecordHeader header = record.Header();
        if (header.id >= FirstBuiltInId)
            continue;
        header.id = header.id < calls.size() ? calls[header.id] : MaxCalls - 1;
        std::memcpy(record.Record(), &header, sizeof header);
    }
}

bool IsRecords(const ChunkHeader& header)
{
    const auto kind = static_cast<ChunkKind>(header.kind);
    return kind == ChunkKind::Records || kind == ChunkKind::PackedRecords || kind == ChunkKind::RepeatedRecords;
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
    const std::size_t storedBytes = sizeof header + header.storedBytes;
    std::uint8_t* const stored = m_stored.Take(storedBytes);
    if (!ReadAt(stored, storedBytes, offset))
        return std::string("cannot be read: ") + std::strerror(errno);
    if (ChunkChecksum(stored, header.storedBytes) != header.checksum)
        return "the chunk is damaged: its checksum does not match";
    const bool isOne = kind == ChunkKind::Records ? IsRecords(header) : header.kind == static_cast<std::uint32_t>(kind);
    if (!isOne)
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
    trouble = m_unpacker.Unpack({stored + sizeof header, header.storedBytes}, static_cast<ChunkKind>(header.kind),
                                {chunk.Data(), header.rawBytes});
    return trouble.empty() ? trouble : "the chunk is damaged: " + trouble;
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
    while (ReadChunkHeader(offset, header).empty() && IsRecords(header)) {
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

std::uint64_t CaptureSource::NextBegin() const
{
    return m_continuations.empty() ? m_fileBytes
                                   : m_continuations.back().begin + m_continuations.back().source->FileBytes();
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
    const std::uint64_t begin = NextBegin();
    for (const IndexEntry& chunk : next->m_chunks)
        m_chunks.push_back({begin + chunk.fileOffset, frames + chunk.framesBefore, chunk.frames});
    m_isComplete = m_isComplete && next->m_isComplete;
    const auto shiftUs = static_cast<std::int64_t>(next->m_header.startTimeUs - m_header.startTimeUs);
    m_continuations.push_back({std::move(next), begin, shiftUs});
    return {};
}

std::unique_ptr<CaptureSource> CaptureSource::OpenAt(const std::string& snapshot, const std::string& capture,
                                                     std::string& error)
{
    std::unique_ptr<CaptureSource> whole = Open(capture, error);
    std::unique_ptr<CaptureSource> source = whole ? Open(snapshot, error) : nullptr;
    if (!source)
        return nullptr;
    if (const std::string trouble = source->GoOnIn(std::move(whole)); !trouble.empty()) {
        error = snapshot + ": " + trouble;
        return nullptr;
    }
    return source;
}

std::string CaptureSource::GoOnIn(std::unique_ptr<CaptureSource> capture)
{
    const std::uint32_t first = std::max<std::uint32_t>(capture->m_header.originFrame, 1);
    if (m_header.originFrame < first || FrameCount() != 1 || m_header.originFrame - first >= capture->FrameCount())
        return "is no snapshot of a capture of " + std::to_string(capture->FrameCount()) + " frames";
    m_framesBefore = m_header.originFrame - first;
    for (IndexEntry& chunk : m_chunks)
        chunk.framesBefore += m_framesBefore;
    const std::uint32_t frames = m_framesBefore + 1;
    const std::size_t begin = capture->ChunkOfFrame(frames + 1);
    const std::vector<IndexEntry>& chunks = capture->m_chunks;
    Continuation next = {nullptr, NextBegin(), 0, frames - chunks[begin].framesBefore, CallsBy(capture->m_calls)};
    for (std::size_t i = begin; i < chunks.size(); ++i)
        m_chunks.push_back({next.begin + chunks[i].fileOffset, chunks[i].framesBefore, chunks[i].frames});
    m_isComplete = m_isComplete && capture->m_isComplete;
    next.source = std::move(capture);
    m_continuations.push_back(std::move(next));
    return {};
}

std::vector<std::uint32_t> CaptureSource::CallsBy(const std::vector<FileCall>& others) const
{
    std::vector<std::uint32_t> calls;
    if (others == m_calls)
        return calls;
    for (const FileCall& other : others) {
        const auto found = std::ranges::find(m_calls, other.known, &FileCall::known);
        const bool isKnown = other.known < callCount && found != m_calls.end();
        calls.push_back(isKnown ? static_cast<std::uint32_t>(found - m_calls.begin()) : MaxCalls - 1);
    }
    return calls;
}

std::string CaptureSource::ReadContinued(const Continuation& next, const IndexEntry& entry, Chunk& chunk)
{
    std::string trouble =
        next.source->ReadChunk({entry.fileOffset - next.begin, entry.framesBefore, entry.frames}, chunk);
    if (!trouble.empty())
        return trouble;
    if (next.shiftUs != 0)
        ShiftTimes(chunk, next.shiftUs);
    const auto first =
        std::ranges::find_if(m_chunks, [&](const IndexEntry& one) { return one.fileOffset >= next.begin; });
    if (next.skippedFrames > 0 && first->fileOffset == entry.fileOffset && !LeaveOut(chunk, next.skippedFrames))
        return "the index is damaged: " + std::to_string(next.skippedFrames) + " frames expected in the chunk";
    if (!next.calls.empty())
        Renumber(chunk, next.calls);
    return {};
}

std::string CaptureSource::ReadChunk(const IndexEntry& entry, Chunk& chunk)
{
    const auto found = std::find_if(m_continuations.rbegin(), m_continuations.rend(),
                                    [&](const Continuation& next) { return next.begin <= entry.fileOffset; });
    if (found != m_continuations.rend())
        return ReadContinued(*found, entry, chunk);
    ChunkHeader header = {};
    return ReadChunkAt(entry.fileOffset, ChunkKind::Records, chunk, header);
}

std::uint64_t CaptureSource::ChunkTimeUs(const IndexEntry& entry) const
{
    ChunkHeader header = {};
    return ReadChunkHeader(entry.fileOffset, header).empty() ? header.timeUs : 0;
}

} // namespace Data
