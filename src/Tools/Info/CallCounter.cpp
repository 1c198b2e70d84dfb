#include "Tools/Info/CallCounter.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "Data/CallDecoder.h"
#include "Data/GLEnums.h"

namespace Tools {

namespace {

constexpr std::uint32_t front = 0x0404;
constexpr std::uint32_t back = 0x0405;
constexpr std::uint32_t readFramebuffer = 0x8CA8;
constexpr std::uint32_t drawFramebuffer = 0x8CA9;
constexpr std::uint32_t mapReadBit = 1;

std::uint64_t Positive(std::int64_t value)
{
    return value > 0 ? static_cast<std::uint64_t>(value) : 0;
}

/// Object names in captured memory; only those that were captured.
std::span<const std::uint32_t> Names(const Data::PointerData& names, std::int32_t count)
{
    if (!names.HasData())
        return {};
    return Data::ObjectNames(std::min(count, names.GetCount()), names.GetPointer());
}

} // namespace

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

void CallCounter::DrawIndirect(CallId call, const Data::PointerData& indirect)
{
    // Both kinds of draws begin with the number of vertices or indices, and that of instances.
    constexpr std::size_t used = 2;
    const auto* const memory = indirect.As<const std::uint32_t>();
    const std::span<const std::uint32_t> parameters =
        indirect.HasData() ? std::span(memory, used)
                           : Parameters(Data::Enum::DrawIndirectBuffer, indirect.GetCapturedPointer(), used);
    if (parameters.empty())
        m_frame.draws[call] += {1, 0, 0, 1};
    else
        m_frame.draws[call] += {1, parameters[1], std::uint64_t{parameters[0]} * parameters[1], 0};
}

std::span<const std::uint32_t> CallCounter::Parameters(std::uint32_t target, std::uint64_t offset,
                                                       std::size_t count) const
{
    const Data::BufferState* const buffer = m_decoder.Context().Buffer(target);
    const auto bytes = static_cast<std::int64_t>(count * sizeof(std::uint32_t));
    const auto begin = static_cast<std::int64_t>(std::min<std::uint64_t>(offset, Data::BufferState::maxShadowBytes));
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
    return bytes < Data::unknownSize ? static_cast<std::int64_t>(bytes) : 0;
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
    if ((access & mapReadBit) == 0 || captured->GetCapturedPointer() == 0)
        return;
    ++m_frame.readBacks[CallId::glMapBufferRange];
    m_frame.bytesMappedToRead += Positive(length);
}

// Objects.

void CallCounter::Create(ObjectKind kind, std::uint32_t name, std::uint32_t display)
{
    m_state.Create(kind, name, display);
    if (kind == ObjectKind::Program && name != 0)
        ++m_frame.programs;
}

void CallCounter::Create(ObjectKind kind, const Data::PointerData& names, std::int32_t count)
{
    for (const std::uint32_t name : Names(names, count))
        Create(kind, name);
}

void CallCounter::Delete(ObjectKind kind, std::uint32_t name, std::uint32_t display)
{
    m_state.Delete(kind, name, display);
}

void CallCounter::Delete(ObjectKind kind, const Data::PointerData& names, std::int32_t count)
{
    for (const std::uint32_t name : Names(names, count))
        Delete(kind, name);
}

void CallCounter::Process_glCreateShader(std::uint32_t captured, std::uint32_t type)
{
    Count_glCreateShader(captured, type);
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

// A program that is linked or loaded starts with all uniforms as new.

void CallCounter::Process_glLinkProgram(std::uint32_t program)
{
    Count_glLinkProgram(program);
    m_state.ForgetValues(ObjectKind::Program, program);
}

void CallCounter::Process_glProgramBinary(std::uint32_t program, std::uint32_t /*format*/,
                                          Data::PointerData* /*binary*/, std::int32_t /*length*/)
{
    m_state.ForgetValues(ObjectKind::Program, program);
}

void CallCounter::Process_glProgramBinaryOES(std::uint32_t program, std::uint32_t format, Data::PointerData* binary,
                                             std::int32_t length)
{
    Count_glProgramBinaryOES(program, format, binary, length);
    m_state.ForgetValues(ObjectKind::Program, program);
}

// Contexts.

void CallCounter::Process_eglCreateContext(std::uint32_t captured, std::uint32_t dpy, std::uint32_t config,
                                           std::uint32_t share_context, Data::PointerData* attrib_list)
{
    Count_eglCreateContext(captured, dpy, config, share_context, attrib_list);
    m_state.CreateContext(captured, dpy, share_context);
}

void CallCounter::Process_eglMakeCurrent(std::int32_t captured, std::uint32_t /*dpy*/, std::uint32_t /*draw*/,
                                         std::uint32_t /*read*/, std::uint32_t ctx)
{
    if (captured != 0)
        m_state.MakeCurrent(ctx);
}

void CallCounter::Process_eglDestroyContext(std::int32_t captured, std::uint32_t dpy, std::uint32_t ctx)
{
    Count_eglDestroyContext(captured, dpy, ctx);
    if (captured != 0)
        m_state.DestroyContext(ctx);
}

void CallCounter::Process_eglReleaseThread(std::int32_t captured)
{
    if (captured != 0)
        m_state.MakeCurrent(0);
}

void CallCounter::Process_eglTerminate(std::int32_t captured, std::uint32_t dpy)
{
    if (captured != 0)
        m_state.Terminate(dpy);
}

// State.

void CallCounter::Changed(CallId call, std::initializer_list<bool> changes)
{
    ++m_frame.stateChanges[call];
    if (std::ranges::none_of(changes, std::identity()))
        ++m_frame.redundantChanges[call];
}

void CallCounter::Process_glBindBuffer(std::uint32_t target, std::uint32_t buffer)
{
    // The buffer of indices belongs to the vertex array object.
    Changed(CallId::glBindBuffer, {target == Data::Enum::ElementArrayBuffer
                                       ? m_state.Set(State::ElementBuffer, m_state.BoundVertexArray(), 0, Words(buffer))
                                       : m_state.Set(State::Buffer, target, 0, Words(buffer))});
}

void CallCounter::Uniform(CallId call, std::uint32_t program, std::int32_t location, std::int32_t count,
                          std::uint32_t transpose, const WordList& words)
{
    // Location -1 stands for a uniform that the compiler left out: nothing is set.
    if (program == 0 || location < 0 || count <= 0 || words.size() < static_cast<std::size_t>(count))
        return;
    const std::size_t each = words.size() / static_cast<std::size_t>(count);
    bool isChanged = false;
    // The elements of an array have consecutive locations.
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        WordList element(words.begin() + static_cast<std::ptrdiff_t>(i * each),
                         words.begin() + static_cast<std::ptrdiff_t>((i + 1) * each));
        if (transpose != 0)
            element.push_back(Word(1));
        isChanged |= m_state.Set(State::Uniform, program,
                                 static_cast<std::uint32_t>(location) + static_cast<std::uint32_t>(i), element);
    }
    Changed(call, {isChanged});
}

WordList CallCounter::Vector(const Data::PointerData& values)
{
    WordList words = Elements<float>(values);
    for (std::size_t i = words.size(); i < 4; ++i)
        words.push_back(Word(i == 3 ? 1 : 0));
    return words;
}

Indexes CallCounter::FacesOf(std::uint32_t face)
{
    return face == front ? Indexes{0, 1} : face == back ? Indexes{1, 1} : Indexes{0, 2};
}

Indexes CallCounter::FramebuffersOf(std::uint32_t target)
{
    return target == readFramebuffer ? Indexes{0, 1} : target == drawFramebuffer ? Indexes{1, 1} : Indexes{0, 2};
}

} // namespace Tools
