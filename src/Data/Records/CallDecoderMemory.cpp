// The part of CallDecoder that is about memory which belongs to no argument: vertices for draws, mapped buffers.
#include <algorithm>
#include <bit>

#include "Data/Diagnostics.h"
#include "Data/Records/CallDecoder.h"

namespace Data {

namespace {

/// Bytes that vertex 0 may lie in front of the first vertex delivered; drivers count such offsets in 32 bits.
constexpr std::uint64_t MaxVertexOffset = 1u << 30;

} // namespace

const CallDecoder::Delivery* CallDecoder::FindDelivery(std::uint32_t index)
{
    const VertexAttribState& attrib = Bound().Attrib(index);
    const VertexAttribState& binding = Bound().Binding(index);
    // The last one that came for the attribute.
    for (std::uint32_t i = m_delivered; i-- > 0;) {
        const Delivery& delivery = m_deliveries[i];
        // The driver has locations of its own; there, an attribute is known by what it points at.
        const bool isRead = HasDriver() ? delivery.pointer == binding.pointer && delivery.stride == binding.stride &&
                                              attrib.relativeOffset == 0 &&
                                              delivery.elementBytes == VertexElementBytes(attrib.size, attrib.type)
                                        : delivery.index == index;
        if (isRead)
            return &delivery;
    }
    return nullptr;
}

bool CallDecoder::HasIndices(std::uint32_t parameter)
{
    return !HasDriver() || Bound().HasIndexStorage() ||
           Refuse(parameter, "indices in the element array buffer", "no storage");
}

bool CallDecoder::IndexOffsets(std::uint32_t parameter, std::uint32_t at, std::int64_t count, std::int64_t elementBytes)
{
    if (!Input(parameter, at, sizeof(std::uint64_t), count) || !HasIndices(parameter))
        return false;
    const auto* const offsets = m_pointers[parameter].As<const std::uint64_t>();
    for (std::int64_t i = 0; i < count && elementBytes > 0; ++i)
        if (offsets[i] % static_cast<std::uint64_t>(elementBytes) != 0)
            return Refuse(parameter, "multiples of " + std::to_string(elementBytes), std::to_string(offsets[i]));
    return true;
}

void CallDecoder::KeepPromise(const DrawRange& indices, std::uint32_t& start, std::uint32_t& end)
{
    if (indices.count == 0)
        return;
    const std::uint32_t last = indices.first + indices.count - 1;
    if (indices.first >= start && last <= end)
        return;
    m_diagnostics.Changed(NameOf(m_call), "indices", std::to_string(start) + " to " + std::to_string(end),
                          std::to_string(indices.first) + " to " + std::to_string(last));
    start = std::min(start, indices.first);
    end = std::max(end, last);
}

bool CallDecoder::CoversDraw(const DrawRange& range)
{
    for (std::uint32_t rest = Bound().ClientAttribs(); rest != 0; rest &= rest - 1) {
        const auto index = static_cast<std::uint32_t>(std::countr_zero(rest));
        const DrawRange needed = Bound().AttribRange(index, range);
        const char* const name = NameOf(m_call);
        if (needed.isKnown && needed.count == 0)
            continue;
        const Delivery* const delivery = FindDelivery(index);
        if (needed.isKnown && delivery && needed.first >= delivery->first &&
            std::uint64_t{needed.first} + needed.count <= std::uint64_t{delivery->first} + delivery->count)
            continue;
        const std::string what = "client memory of attribute " + std::to_string(index);
        if (!needed.isKnown)
            m_diagnostics.Skipped(name, what, "indices that were captured", "none");
        else
            m_diagnostics.Skipped(
                name, what, std::to_string(needed.count) + " vertices from " + std::to_string(needed.first),
                delivery ? std::to_string(delivery->count) + " from " + std::to_string(delivery->first) : "none");
        return false;
    }
    return true;
}

bool CallDecoder::TakesPackedMemory() const
{
    if (!HasDriver())
        return true;
    const ContextState& state = **m_driver;
    const PixelStore& unpack = state.Unpack();
    return unpack.rowLength == 0 && unpack.skipRows == 0 && unpack.skipPixels == 0 && !state.HasUnpackBuffer() &&
           state.BoundBuffer(Enum::ArrayBuffer) == 0 && state.BoundVertexArray() == 0;
}

void CallDecoder::DecodeVertexAttribData(std::uint8_t* record)
{
    const RecordView view(record);
    constexpr const char* Name = "vertex data";
    VertexAttribDataRecord data;
    if (m_skipsGL || !m_diagnostics.Read(Name, view, data))
        return;
    const std::uint32_t elementBytes = VertexElementBytes(data.size, data.type);
    if (data.index >= MaxVertexAttribs || elementBytes == 0 || data.stride <= 0 || data.count == 0) {
        m_diagnostics.Skipped(Name, "attribute " + std::to_string(data.index), "a known format and a stride",
                              "type " + std::to_string(data.type) + ", stride " + std::to_string(data.stride));
        return;
    }
    const std::uint64_t needed =
        (std::uint64_t{data.count} - 1) * static_cast<std::uint32_t>(data.stride) + elementBytes;
    const std::uint64_t inFront = std::uint64_t{data.first} * static_cast<std::uint32_t>(data.stride);
    if (inFront > MaxVertexOffset) {
        m_diagnostics.Skipped(Name, "attribute " + std::to_string(data.index),
                              "at most " + Bytes(MaxVertexOffset) + " in front of the first vertex", Bytes(inFront));
        return;
    }
    if (!view.HasContents(data.data, sizeof data) || data.data.bytes < needed) {
        m_diagnostics.Skipped(Name, "attribute " + std::to_string(data.index), Bytes(needed) + " inside the record",
                              Bytes(data.data.bytes) + " at " + std::to_string(data.data.offset));
        return;
    }
    // The driver counts from vertex 0, which lies in front of the contents when the draw does not need it.
    const std::uintptr_t base = reinterpret_cast<std::uintptr_t>(record) + data.data.offset - inFront;
    auto* const vertices = reinterpret_cast<std::uint8_t*>(base);
    // With an array buffer bound, the driver would take the pointer for an offset.
    const std::uint32_t arrayBuffer = Context().BoundBuffer(Enum::ArrayBuffer);
    const bool isBound = Bound().BoundBuffer(Enum::ArrayBuffer) != 0;
    if (isBound)
        m_gl->Process_glBindBuffer(Enum::ArrayBuffer, 0);
    if (m_delivered == m_deliveries.size() || (HasDriver() && Bound().BoundBuffer(Enum::ArrayBuffer) != 0)) {
        m_diagnostics.Skipped(Name, "attribute " + std::to_string(data.index), "no array buffer", "one");
        return;
    }
    if (data.integer != 0)
        m_gl->ProcessVertexAttribIData(data.index, data.size, data.type, data.stride, vertices, data.first, data.count);
    else
        m_gl->ProcessVertexAttribData(data.index, data.size, data.type, data.normalized, data.stride, vertices,
                                      data.first, data.count);
    if (isBound)
        m_gl->Process_glBindBuffer(Enum::ArrayBuffer, arrayBuffer);
    m_deliveries[m_delivered++] = {data.index, data.first, data.count, base, data.stride, elementBytes};
}

void CallDecoder::DecodeMappedData(std::uint8_t* record)
{
    const RecordView view(record);
    const bool isUnmap = view.Is(RecordId::UnmapBuffer);
    const char* const name = isUnmap ? "data of an unmapped buffer" : "data of a flushed range";
    MappedDataRecord data;
    if (m_skipsGL || !m_diagnostics.Read(name, view, data))
        return;
    if (!view.HasContents(data.data, sizeof data)) {
        m_diagnostics.Skipped(name, "contents", "at most " + Bytes(view.Header().bytes) + " inside the record",
                              Bytes(data.data.bytes) + " at " + std::to_string(data.data.offset));
        return;
    }
    const std::int64_t mapped = Context().MappedBytes(data.target);
    if (std::uint64_t{data.offset} + data.data.bytes > static_cast<std::uint64_t>(mapped)) {
        m_diagnostics.Skipped(name, "target " + std::to_string(data.target), "a mapping that holds the data",
                              Bytes(static_cast<std::uint64_t>(mapped)) + " for " + Bytes(data.data.bytes) + " at " +
                                  std::to_string(data.offset));
        return;
    }
    std::uint8_t* const contents = record + data.data.offset;
    if (isUnmap)
        m_gl->ProcessUnmapBuffer(data.target, data.data.bytes, contents);
    else
        m_gl->ProcessFlushMappedBufferRange(data.target, data.offset, data.data.bytes, contents);
}

} // namespace Data
