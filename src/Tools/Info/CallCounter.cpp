#include "Tools/Info/CallCounter.h"

#include <algorithm>
#include <utility>

#include "Data/GLEnums.h"
#include "Data/Records/CallDecoder.h"

namespace Tools {

namespace {

constexpr std::uint32_t MapReadBit = 1;

std::uint64_t Positive(std::int64_t value)
{
    return value > 0 ? static_cast<std::uint64_t>(value) : 0;
}

} // namespace

CallCounter::CallCounter(Data::CallDecoder& decoder) : m_decoder(decoder)
{
    decoder.SetStateModel(&m_state);
}

FrameStatistics CallCounter::Take()
{
    m_frame.objects = m_state.Objects();
    m_state.BeginFrame();
    return std::exchange(m_frame, {});
}

void CallCounter::ProcessVertexAttribData(std::uint32_t /*index*/, std::int32_t size, std::uint32_t type,
                                          std::uint32_t /*normalized*/, std::int32_t /*stride*/, std::uint8_t* /*data*/,
                                          std::uint32_t /*first*/, std::uint32_t count)
{
    UploadVertices(size, type, count);
}

void CallCounter::ProcessVertexAttribIData(std::uint32_t /*index*/, std::int32_t size, std::uint32_t type,
                                           std::int32_t /*stride*/, std::uint8_t* /*data*/, std::uint32_t /*first*/,
                                           std::uint32_t count)
{
    UploadVertices(size, type, count);
}

void CallCounter::ProcessFlushMappedBufferRange(std::uint32_t /*target*/, std::uint32_t /*offset*/,
                                                std::uint32_t length, std::uint8_t* /*data*/)
{
    UploadMapped(length);
}

void CallCounter::ProcessUnmapBuffer(std::uint32_t /*target*/, std::uint32_t length, std::uint8_t* /*data*/)
{
    UploadMapped(length);
}

// Draws and dispatches.

void CallCounter::Draw(CallId call, std::int32_t vertices, std::int32_t instances)
{
    m_frame.draws[call] += {1, Positive(instances), Positive(vertices) * Positive(instances), 0};
}

void CallCounter::DrawMany(CallId call, const Data::PointerData& counts)
{
    std::uint64_t vertices = 0;
    for (const std::int32_t count : std::span(counts.As<const std::int32_t>(), Positive(counts.GetCount())))
        vertices += Positive(count);
    m_frame.draws[call] += {1, 1, vertices, 0};
}

void CallCounter::DrawIndirect(CallId call, const Data::PointerData& indirect)
{
    // Both kinds of draws begin with the number of vertices or indices, and that of instances.
    constexpr std::size_t Used = 2;
    const auto* const memory = indirect.As<const std::uint32_t>();
    const std::span<const std::uint32_t> parameters =
        indirect.HasData() ? std::span(memory, Used)
                           : Parameters(Data::Enum::DrawIndirectBuffer, indirect.GetCapturedPointer(), Used);
    if (parameters.empty())
        DrawUnknown(call);
    else
        m_frame.draws[call] += {1, parameters[1], std::uint64_t{parameters[0]} * parameters[1], 0};
}

std::span<const std::uint32_t> CallCounter::Parameters(std::uint32_t target, std::uint64_t offset,
                                                       std::size_t count) const
{
    const Data::BufferState* const buffer = m_decoder.Context().Buffer(target);
    const auto bytes = static_cast<std::int64_t>(count * sizeof(std::uint32_t));
    const auto begin = static_cast<std::int64_t>(std::min<std::uint64_t>(offset, Data::BufferState::MaxShadowBytes));
    if (!buffer || !buffer->isShadowed || begin % 4 != 0 || !buffer->known.Contains(begin, begin + bytes))
        return {};
    return {reinterpret_cast<const std::uint32_t*>(buffer->shadow.data() + begin), count};
}

void CallCounter::Process_glDispatchCompute(std::uint32_t x, std::uint32_t y, std::uint32_t z)
{
    ++m_frame.dispatches.calls;
    m_frame.dispatches.groups += std::uint64_t{x} * y * z;
}

void CallCounter::Process_glDispatchComputeIndirect(std::int64_t indirect)
{
    ++m_frame.dispatches.calls;
    const auto groups = Parameters(Data::Enum::DispatchIndirectBuffer,
                                   static_cast<std::uint64_t>(std::max<std::int64_t>(indirect, 0)), 3);
    if (groups.empty())
        ++m_frame.dispatches.unknown;
    else
        m_frame.dispatches.groups += std::uint64_t{groups[0]} * groups[1] * groups[2];
}

// Uploads.

void CallCounter::UploadBuffer(const Data::PointerData& data, std::int64_t bytes)
{
    if (data.HasData())
        m_frame.bufferBytes += Positive(bytes);
}

void CallCounter::UploadMapped(std::uint32_t length)
{
    m_frame.bufferBytes += length;
    m_frame.mappedBytes += length;
}

void CallCounter::UploadTexture(const Data::PointerData& data, std::int64_t bytes)
{
    if (data.HasData() || m_decoder.Context().HasUnpackBuffer())
        m_frame.textureBytes += Positive(bytes);
}

void CallCounter::UploadVertices(std::int32_t size, std::uint32_t type, std::uint32_t count)
{
    m_frame.clientArrayBytes += std::uint64_t{Data::VertexElementBytes(size, type)} * count;
}

std::int64_t CallCounter::PackedBytes(std::int32_t width, std::int32_t height, std::int32_t depth, std::uint32_t format,
                                      std::uint32_t type)
{
    // In 128 bits no three sizes overflow; what would is no image.
    const auto pixels = static_cast<__int128>(Positive(width)) * static_cast<__int128>(Positive(height)) *
                        static_cast<__int128>(Positive(depth));
    const __int128 bytes = pixels * Data::PixelBytes(format, type);
    return bytes < Data::UnknownSize ? static_cast<std::int64_t>(bytes) : 0;
}

// Read-backs.

void CallCounter::ReadPixels(CallId call, std::int64_t bytes)
{
    ++m_frame.readBacks[call];
    m_frame.readBytes += Positive(bytes);
    if (m_decoder.Context().HasPackBuffer())
        m_frame.bytesReadToBuffers += Positive(bytes);
}

void CallCounter::Process_glMapBufferRange(Data::PointerData* captured, std::uint32_t /*target*/,
                                           std::int64_t /*offset*/, std::int64_t length, std::uint32_t access)
{
    if ((access & MapReadBit) == 0 || captured->GetCapturedPointer() == 0)
        return;
    ++m_frame.readBacks[CallId::glMapBufferRange];
    m_frame.bytesMappedToRead += Positive(length);
}

// Programs.

void CallCounter::Process_glCreateShader(std::uint32_t captured, std::uint32_t type)
{
    if (captured != 0)
        ++m_frame.shaders[type];
}

void CallCounter::Process_glCreateShaderProgramv(std::uint32_t captured, std::uint32_t type, std::int32_t count,
                                                 Data::PointerData* strings)
{
    Count_glCreateShaderProgramv(captured, type, count, strings);
    if (captured == 0)
        return;
    // The call makes, compiles and forgets a shader, and links the program.
    ++m_frame.shaders[type];
    ++m_frame.shadersCompiled;
    ++m_frame.programsLinked;
}

// State.

void CallCounter::Changed(CallId call)
{
    using Outcome = Data::StateModel::Outcome;
    if (m_state.LastOutcome() == Outcome::SetsNothing)
        return;
    ++m_frame.stateChanges[call];
    if (m_state.LastOutcome() == Outcome::Same)
        ++m_frame.redundantChanges[call];
}

} // namespace Tools
