#include "Data/Records/MetaDecoder.h"

#include <iterator>

#include "Data/Diagnostics.h"
#include "Data/GLEnums.h"
#include "Data/Records/CallDecoder.h"
#include "Data/State/Sizes.h"

namespace Data {

namespace {

/// Rows without padding.
constexpr PixelStore Packed{.alignment = 1};

/// Captured format of the only images whose planes of colour have as many rows as that of brightness.
constexpr std::uint32_t Format422 = 107;

/// Rows that a plane of an image has.
std::uint32_t PlaneRows(const EGLImageRecord& image, std::uint32_t plane)
{
    return plane == 0 || image.format == Format422 ? image.height : image.height / 2 + image.height % 2;
}

} // namespace

void MetaDecoder::SetThread(std::uint32_t thread)
{
    for (MetaHandler* const handler : m_handlers)
        handler->SetCurrentThread(thread);
}

bool MetaDecoder::Decode(const RecordCursor& record)
{
    const auto id = static_cast<RecordId>(record.Header().id);
    switch (id) {
    case RecordId::TextAscii:
    case RecordId::TextXml:
    case RecordId::TextJson:
    case RecordId::DisplayMessage:
        Text(id, record);
        return true;
    case RecordId::WindowSize:
        WindowSize(record);
        return true;
    case RecordId::ConfigAttribs:
    case RecordId::SurfaceAttribs:
        Attribs(id, record);
        return true;
    case RecordId::EGLImageCreate:
    case RecordId::EGLImageContent:
        Image(id, record);
        return true;
    case RecordId::DefaultColor:
    case RecordId::DefaultDepth:
    case RecordId::DefaultStencil:
        DefaultBuffer(id, record);
        return true;
    case RecordId::MultisampleTexture:
        MultisampleTexture(record);
        return true;
    case RecordId::VertexAttribData:
        m_calls.DecodeVertexAttribData(record.Record());
        return true;
    case RecordId::FlushMappedBufferRange:
    case RecordId::UnmapBuffer:
        m_calls.DecodeMappedData(record.Record());
        return true;
    default:
        return false;
    }
}

bool MetaDecoder::Contents(const char* name, const RecordView& view, const PointerSlot& slot, std::uint64_t needed,
                           const std::uint8_t*& contents)
{
    const bool isInside = view.HasContents(slot);
    contents = isInside ? view.Contents(slot).data() : nullptr;
    // Optional contents are missing altogether.
    const bool isMissing = slot.offset == 0 && slot.bytes == 0;
    if ((isInside || isMissing) && slot.bytes >= needed)
        return true;
    m_diagnostics.Skipped(name, "contents", std::to_string(needed) + " bytes inside the record",
                          std::to_string(slot.bytes) + " at " + std::to_string(slot.offset));
    return false;
}

template <class Upload> void MetaDecoder::UploadPacked(const char* name, Upload upload)
{
    if (m_calls.SkipsGL())
        return;
    GLAdapter& gl = m_calls.GL();
    const PixelStore store = m_calls.Bound().Unpack();
    const std::pair<std::uint32_t, std::int32_t> gaps[] = {{Enum::UnpackRowLength, store.rowLength},
                                                           {Enum::UnpackSkipRows, store.skipRows},
                                                           {Enum::UnpackSkipPixels, store.skipPixels}};
    const std::uint32_t targets[] = {Enum::PixelUnpackBuffer, Enum::ArrayBuffer};
    const std::uint32_t buffers[] = {m_calls.Context().BoundBuffer(targets[0]),
                                     m_calls.Context().BoundBuffer(targets[1])};
    const std::uint32_t vertexArray = m_calls.Context().BoundVertexArray();
    for (const auto& [parameter, value] : gaps)
        if (value != 0)
            gl.Process_glPixelStorei(parameter, 0);
    // What is uploaded, and the quad that may be drawn for it, lie in memory.
    if (vertexArray != 0)
        gl.Process_glBindVertexArray(0);
    for (std::size_t i = 0; i < std::size(targets); ++i)
        if (buffers[i] != 0)
            gl.Process_glBindBuffer(targets[i], 0);
    if (m_calls.TakesPackedMemory())
        upload();
    else
        m_diagnostics.Skipped(name, "upload", "a driver that takes it as it lies in memory", "buffers, rows or arrays");
    for (std::size_t i = 0; i < std::size(targets); ++i)
        if (buffers[i] != 0)
            gl.Process_glBindBuffer(targets[i], buffers[i]);
    if (vertexArray != 0)
        gl.Process_glBindVertexArray(vertexArray);
    for (const auto& [parameter, value] : gaps)
        if (value != 0)
            gl.Process_glPixelStorei(parameter, value);
}

void MetaDecoder::Text(RecordId id, const RecordView& view)
{
    TextRecord record;
    const std::uint8_t* text;
    if (!m_diagnostics.Read("text", view, record) || !Contents("text", view, record.text, 0, text) || !text)
        return;
    if (id == RecordId::DisplayMessage) {
        const std::string message(reinterpret_cast<const char*>(text), record.text.bytes);
        for (MetaHandler* const handler : m_handlers)
            handler->ProcessDisplayMessageCommand(message);
        return;
    }
    for (MetaHandler* const handler : m_handlers)
        if (id == RecordId::TextAscii)
            handler->ProcessTextAscii(text, record.text.bytes);
        else if (id == RecordId::TextXml)
            handler->ProcessTextXML(text, record.text.bytes);
        else
            handler->ProcessTextJSON(text, record.text.bytes);
}

void MetaDecoder::WindowSize(const RecordView& view)
{
    WindowSizeRecord record;
    if (!m_diagnostics.Read("window size", view, record))
        return;
    for (MetaHandler* const handler : m_handlers)
        handler->ProcessSetWindowSizeCommand(record.display, record.surface, record.width, record.height);
}

void MetaDecoder::Attribs(RecordId id, const RecordView& view)
{
    const bool isConfig = id == RecordId::ConfigAttribs;
    const char* const name = isConfig ? "config attributes" : "surface attributes";
    AttribsRecord record;
    const std::uint8_t* contents;
    if (!m_diagnostics.Read(name, view, record) ||
        !Contents(name, view, record.attribs, sizeof(std::int32_t), contents))
        return;
    const auto* const attribs = reinterpret_cast<const std::int32_t*>(contents);
    const std::uint32_t count = record.attribs.bytes / sizeof(std::int32_t);
    std::uint32_t end = 0;
    while (end < count && attribs[end] != Enum::EglNone)
        end += 2;
    if (end >= count) {
        m_diagnostics.Skipped(name, "the list", "a closing EGL_NONE", "none in " + std::to_string(count) + " values");
        return;
    }
    for (MetaHandler* const handler : m_handlers)
        if (isConfig)
            handler->ProcessEGLConfigStateDesc(record.display, record.object, attribs, count);
        else
            handler->ProcessEGLSurfaceStateDesc(record.display, record.object, attribs, count);
}

void MetaDecoder::Image(RecordId id, const RecordView& view)
{
    constexpr const char* Name = "EGLImage";
    EGLImageRecord record;
    if (!m_diagnostics.Read(Name, view, record))
        return;
    if (record.planeCount > MaxImagePlanes) {
        m_diagnostics.Skipped(Name, "planes", "at most " + std::to_string(MaxImagePlanes),
                              std::to_string(record.planeCount));
        return;
    }
    EGLImagePlane planes[MaxImagePlanes] = {};
    for (std::uint32_t i = 0; i < record.planeCount; ++i) {
        const ImagePlaneSlot& slot = record.planes[i];
        const std::uint8_t* contents;
        if (!Contents(Name, view, slot.data, slot.data.offset != 0 ? slot.size : 0, contents))
            return;
        // A plane is copied to the image in rows of its stride, or in one piece.
        const std::uint32_t rows = PlaneRows(record, i);
        if (contents && slot.size > std::uint64_t{slot.stride} * rows) {
            m_diagnostics.Skipped(Name, "plane " + std::to_string(i),
                                  "at most " + std::to_string(rows) + " rows of " + Bytes(slot.stride),
                                  Bytes(slot.size));
            return;
        }
        planes[i] = {slot.stride, slot.size, slot.offset, contents};
    }
    const EGLImageData data{record.width, record.height, record.format, record.bpp, record.planeCount, planes};
    for (MetaHandler* const handler : m_handlers)
        if (id == RecordId::EGLImageCreate)
            handler->ProcessCreateEGLImageBufferCommand(record.display, record.image, &data);
        else
            handler->ProcessSetEGLImageContentCommand(record.image, &data);
}

void MetaDecoder::DefaultBuffer(RecordId id, const RecordView& view)
{
    constexpr const char* Name = "default framebuffer";
    DefaultBufferRecord record;
    const std::uint8_t* contents;
    if (!m_diagnostics.Read(Name, view, record))
        return;
    const auto needed =
        static_cast<std::uint64_t>(ImageBytes(Packed, record.width, record.height, record.format, record.type));
    if (!Contents(Name, view, record.data, needed, contents))
        return;
    const auto process = id == RecordId::DefaultColor   ? &MetaHandler::ProcessDefaultColorBuffer
                         : id == RecordId::DefaultDepth ? &MetaHandler::ProcessDefaultDepthBuffer
                                                        : &MetaHandler::ProcessDefaultStencilBuffer;
    UploadPacked(Name, [&] {
        for (MetaHandler* const handler : m_handlers)
            (handler->*process)(record.display, record.surface, record.width, record.height, record.format, record.type,
                                record.data.bytes, contents);
    });
}

void MetaDecoder::MultisampleTexture(const RecordView& view)
{
    constexpr const char* Name = "multisample texture";
    MultisampleTextureRecord record;
    const std::uint8_t* contents;
    if (!m_diagnostics.Read(Name, view, record))
        return;
    const auto layer =
        static_cast<std::uint64_t>(ImageBytes(Packed, record.width, record.height, record.format, record.type));
    // Layer i is read at i * layerBytes; a texture that is no array has one.
    const std::uint32_t layersBehind = record.depth > 1 ? record.depth - 1 : 0;
    if (layer == 0 || (layersBehind > 0 && record.layerBytes < layer)) {
        m_diagnostics.Skipped(Name, "layers", std::to_string(layer) + " bytes each", std::to_string(record.layerBytes));
        return;
    }
    if (!Contents(Name, view, record.data, std::uint64_t{layersBehind} * record.layerBytes + layer, contents))
        return;
    UploadPacked(Name, [&] {
        for (MetaHandler* const handler : m_handlers)
            handler->ProcessMultiSampleTexture(record.target, record.texture, record.width, record.height, record.depth,
                                               record.internalFormat, record.format, record.type, record.layerBytes,
                                               record.data.bytes, contents);
    });
}

} // namespace Data
