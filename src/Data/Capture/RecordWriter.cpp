#include "Data/Capture/RecordWriter.h"

#include <algorithm>

namespace Data {

template <class Record> void RecordWriter::Put(RecordId id, Record record)
{
    if (std::uint8_t* const at = Begin(static_cast<std::uint32_t>(id), sizeof record)) {
        std::memcpy(&record.header, at, sizeof record.header);
        std::memcpy(at, &record, sizeof record);
        End();
    }
}

template <class Record>
void RecordWriter::Put(RecordId id, Record record, PointerSlot Record::*slot, const void* data, std::uint64_t bytes)
{
    if (bytes > MaxChunkBytes)
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

void RecordWriter::Thread(std::uint32_t thread)
{
    Put(RecordId::Thread, ThreadRecord{{}, thread, 0});
}

void RecordWriter::BlockStart(std::uint32_t type)
{
    Put(RecordId::BlockStart, BlockRecord{{}, type, 0});
}

void RecordWriter::BlockEnd(std::uint32_t type)
{
    Put(RecordId::BlockEnd, BlockRecord{{}, type, 0});
}

void RecordWriter::PutFrameEnd(std::uint64_t timeUs)
{
    Put(RecordId::FrameEnd, FrameEndRecord{{}, timeUs});
}

void RecordWriter::PutFrameHash(std::uint32_t frame, std::uint32_t surface, std::uint32_t width, std::uint32_t height,
                                std::uint64_t hash)
{
    Put(RecordId::FrameHash, FrameHashRecord{{}, frame, surface, width, height, hash});
}

void RecordWriter::PutFramePicture(const FramePictureRecord& picture)
{
    Put(RecordId::FramePicture, picture);
}

void RecordWriter::ReferenceDriver(std::uint32_t driver, std::string_view renderer, std::string_view version)
{
    ReferenceDriverRecord record = {{}, driver, 0, {}, {}};
    renderer = renderer.substr(0, MaxDriverTextBytes);
    version = version.substr(0, MaxDriverTextBytes);
    const auto versionAt = static_cast<std::uint32_t>(sizeof record + RoundUp8(renderer.size()));
    record.renderer = {0, static_cast<std::uint32_t>(renderer.size()), sizeof record};
    record.version = {0, static_cast<std::uint32_t>(version.size()), versionAt};
    if (std::uint8_t* const at =
            Begin(static_cast<std::uint32_t>(RecordId::ReferenceDriver), versionAt + version.size())) {
        std::memcpy(&record.header, at, sizeof record.header);
        std::memset(at + sizeof record.header, 0, versionAt - sizeof record.header);
        std::memcpy(at, &record, sizeof record);
        std::memcpy(at + sizeof record, renderer.data(), renderer.size());
        std::memcpy(at + versionAt, version.data(), version.size());
        End();
    }
}

void RecordWriter::PutReferenceHash(const ReferenceHashRecord& hash)
{
    Put(RecordId::ReferenceHash, hash);
}

void RecordWriter::ReferencePicture(const ReferencePictureRecord& fields, std::span<const std::uint8_t> png)
{
    Put(RecordId::ReferencePicture, fields, &ReferencePictureRecord::picture, png.data(), png.size());
}

std::uint8_t* RecordWriter::BeginVertexAttribData(const VertexAttribDataRecord& fields, std::uint32_t dataBytes)
{
    std::uint8_t* const at = Place(static_cast<std::uint32_t>(RecordId::VertexAttribData),
                                   RoundUp8(sizeof fields + std::uint64_t{dataBytes}));
    if (!at)
        return nullptr;
    if (!m_ahead)
        m_ahead = m_at;
    VertexAttribDataRecord record = fields;
    std::memcpy(&record.header, at, sizeof record.header);
    record.data = {fields.data.value, dataBytes, sizeof record};
    std::memcpy(at, &record, sizeof record);
    return at + sizeof record;
}

void RecordWriter::FlushMappedBufferRange(std::uint32_t target, std::uint32_t offset, const void* data,
                                          std::uint32_t bytes)
{
    Put(RecordId::FlushMappedBufferRange, MappedDataRecord{{}, target, offset, {}}, &MappedDataRecord::data, data,
        bytes);
}

void RecordWriter::UnmapBuffer(std::uint32_t target, const void* data, std::uint32_t bytes)
{
    Put(RecordId::UnmapBuffer, MappedDataRecord{{}, target, 0, {}}, &MappedDataRecord::data, data, bytes);
}

void RecordWriter::Unfinished(const void* records, std::uint32_t bytes)
{
    Put(RecordId::Unfinished, UnfinishedRecord{}, &UnfinishedRecord::records, records, bytes);
}

void RecordWriter::ProgramEnd(ProgramEndKind kind, std::uint32_t value)
{
    Put(RecordId::ProgramEnd, ProgramEndRecord{{}, kind, value});
}

void RecordWriter::Note(const char* text, std::uint64_t count)
{
    Put(RecordId::Note, TextRecord{{}, count, {}}, &TextRecord::text, text, std::strlen(text));
}

void RecordWriter::Module(const ModuleRecord& fields, std::span<const std::uint8_t> buildId, std::string_view path)
{
    ModuleRecord record = fields;
    const auto idBytes = static_cast<std::uint32_t>(std::min<std::size_t>(buildId.size(), MaxBuildIdBytes));
    const auto pathBytes = static_cast<std::uint32_t>(std::min<std::size_t>(path.size(), MaxPathBytes));
    const auto pathAt = static_cast<std::uint32_t>(sizeof record + RoundUp8(idBytes));
    record.buildId = {0, idBytes, idBytes > 0 ? std::uint32_t{sizeof record} : 0};
    record.path = {0, pathBytes, pathAt};
    if (std::uint8_t* const at = Begin(static_cast<std::uint32_t>(RecordId::Module), pathAt + pathBytes)) {
        std::memcpy(&record.header, at, sizeof record.header);
        std::memcpy(at, &record, sizeof record);
        std::memset(at + sizeof record, 0, pathAt - sizeof record);
        std::memcpy(at + sizeof record, buildId.data(), idBytes);
        std::memcpy(at + pathAt, path.data(), pathBytes);
        End();
    }
}

void RecordWriter::Stack(std::uint32_t stack, std::span<const StackFrame> frames)
{
    Put(RecordId::Stack, StackRecord{{}, stack, 0, {}}, &StackRecord::frames, frames.data(), frames.size_bytes());
}

void RecordWriter::CallStack(std::uint32_t stack)
{
    std::uint8_t* const at = Place(static_cast<std::uint32_t>(RecordId::CallStack), sizeof(CallStackRecord));
    if (!at)
        return;
    m_ahead = m_ahead ? m_ahead : m_at;
    std::memcpy(at + sizeof(RecordHeader), &stack, sizeof stack);
    End();
}

void RecordWriter::Text(RecordId kind, const char* text)
{
    Put(kind, TextRecord{}, &TextRecord::text, text, std::strlen(text));
}

void RecordWriter::WindowSize(std::uint32_t display, std::uint32_t surface, std::uint32_t width, std::uint32_t height)
{
    Put(RecordId::WindowSize, WindowSizeRecord{{}, display, surface, width, height});
}

void RecordWriter::ConfigAttribs(std::uint32_t display, std::uint32_t config, const std::int32_t* attribs,
                                 std::uint32_t count)
{
    Put(RecordId::ConfigAttribs, AttribsRecord{{}, display, config, {}}, &AttribsRecord::attribs, attribs,
        std::uint64_t{count} * sizeof *attribs);
}

void RecordWriter::SurfaceAttribs(std::uint32_t display, std::uint32_t surface, const std::int32_t* attribs,
                                  std::uint32_t count)
{
    Put(RecordId::SurfaceAttribs, AttribsRecord{{}, display, surface, {}}, &AttribsRecord::attribs, attribs,
        std::uint64_t{count} * sizeof *attribs);
}

void RecordWriter::DefaultBuffer(RecordId kind, const DefaultBufferRecord& fields, const void* data,
                                 std::uint32_t bytes)
{
    Put(kind, fields, &DefaultBufferRecord::data, data, bytes);
}

void RecordWriter::MultisampleTexture(const MultisampleTextureRecord& fields, const void* data, std::uint32_t bytes)
{
    Put(RecordId::MultisampleTexture, fields, &MultisampleTextureRecord::data, data, bytes);
}

void RecordWriter::EGLImage(RecordId kind, const EGLImageRecord& fields, const void* const (&planeData)[MaxImagePlanes])
{
    EGLImageRecord record = fields;
    record.planeCount = std::min(fields.planeCount, MaxImagePlanes);
    std::uint64_t bytes = sizeof record;
    for (std::uint32_t i = 0; i < record.planeCount; ++i) {
        ImagePlaneSlot& plane = record.planes[i];
        plane.data = {};
        if (planeData[i] && plane.size > 0 && plane.size <= MaxChunkBytes) {
            plane.data = {0, static_cast<std::uint32_t>(plane.size), static_cast<std::uint32_t>(bytes)};
            bytes = RoundUp8(bytes + plane.size);
            if (bytes > MaxChunkBytes)
                return;
        }
    }
    if (std::uint8_t* const at = Begin(static_cast<std::uint32_t>(kind), bytes)) {
        std::memcpy(&record.header, at, sizeof record.header);
        std::memcpy(at, &record, sizeof record);
        for (std::uint32_t i = 0; i < record.planeCount; ++i) {
            const PointerSlot& data = record.planes[i].data;
            if (data.offset != 0) {
                std::memset(at + data.offset + RoundUp8(data.bytes) - 8, 0, 8);
                std::memcpy(at + data.offset, planeData[i], data.bytes);
            }
        }
        End();
    }
}

} // namespace Data
