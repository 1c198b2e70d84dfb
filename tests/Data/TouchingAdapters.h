// Stand-ins for the engine and its driver that use every byte of every argument.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "Data/Capture/CaptureFile.h"
#include "Data/Records/CallDecoder.h"

namespace Data {

/// Reads and writes memory as a driver would. Under the address sanitizer each byte that the reader should not have let
/// through is found.
class TouchedMemory {
public:
    void Read(const PointerData* pointer, std::int64_t count, std::uint32_t elementBytes)
    {
        if (count > 0 && pointer->GetPointer())
            ReadBytes(pointer->As<const std::uint8_t>(), static_cast<std::uint64_t>(count) * elementBytes);
    }
    /// Grows the array first, as the engine does for some calls.
    void Write(PointerData* pointer, std::int64_t count, std::uint32_t elementBytes)
    {
        if (count <= 0 || !pointer->GetPointer())
            return;
        if (pointer->GetCount() < count)
            pointer->ResizeArray(static_cast<std::uint32_t>(count));
        std::memset(pointer->GetPointer(), 0xA5, static_cast<std::uint64_t>(count) * elementBytes);
    }
    void Text(const PointerData* pointer)
    {
        if (pointer->GetPointer())
            ReadBytes(pointer->As<const std::uint8_t>(), std::strlen(pointer->As<const char>()) + 1);
    }
    void Characters(const PointerData* pointer, std::int64_t length)
    {
        if (length < 0)
            Text(pointer);
        else
            Read(pointer, length, 1);
    }
    void Strings(const PointerData* pointer, std::int64_t count, const PointerData* lengths)
    {
        const auto* const strings = pointer->As<const char* const>();
        for (std::int64_t i = 0; strings && i < count; ++i) {
            const auto* const known = lengths ? lengths->As<const std::int32_t>() : nullptr;
            const std::size_t length =
                known && known[i] >= 0 ? static_cast<std::size_t>(known[i]) : std::strlen(strings[i]) + 1;
            ReadBytes(reinterpret_cast<const std::uint8_t*>(strings[i]), length);
        }
    }
    void Lists(const PointerData* pointer, std::int64_t count, const PointerData* lengths, std::int64_t elementBytes)
    {
        const auto* const lists = pointer->As<const std::uint8_t* const>();
        for (std::int64_t i = 0; lists && i < count; ++i) {
            const std::int64_t bytes = lengths->As<const std::int32_t>()[i] * elementBytes;
            ReadBytes(lists[i], static_cast<std::uint64_t>(bytes > 0 ? bytes : 0));
        }
    }
    void Attribs(const PointerData* pointer, std::int32_t terminator)
    {
        // The engine's copy of a list has room for 64 values.
        std::array<std::int32_t, 64> copy;
        std::size_t at = 0;
        const auto* const list = pointer->As<const std::int32_t>();
        for (; list && list[at] != terminator; at += 2) {
            copy.at(at) = list[at];
            copy.at(at + 1) = list[at + 1];
        }
        copy.at(at + 2) = terminator;
        Keep(static_cast<std::uint32_t>(copy[0]));
    }
    void Attribs64(const PointerData* pointer)
    {
        const auto* const list = pointer->As<const std::int64_t>();
        for (std::size_t at = 0; list && list[at] != Enum::EglNone; at += 2)
            Keep(static_cast<std::uint64_t>(list[at + 1]));
    }

    void Point(std::uint32_t index, std::int32_t size, std::uint32_t type, std::int32_t stride,
               const std::uint8_t* data)
    {
        m_attribs.at(index) = {reinterpret_cast<std::uintptr_t>(data), static_cast<std::uint32_t>(stride),
                               VertexElementBytes(size, type)};
    }
    /// Reads what a draw reads from client memory.
    void Vertices(const ContextState& context, const DrawRange& range)
    {
        for (std::uint32_t rest = context.ClientAttribs(); rest != 0; rest &= rest - 1) {
            const auto index = static_cast<std::uint32_t>(std::countr_zero(rest));
            const DrawRange read = context.AttribRange(index, range);
            for (std::uint32_t i = 0; i < read.count; ++i)
                ReadBytes(reinterpret_cast<const std::uint8_t*>(
                              m_attribs[index].base + (std::uintptr_t{read.first} + i) * m_attribs[index].stride),
                          m_attribs[index].bytes);
        }
    }
    void ReadBytes(const std::uint8_t* data, std::uint64_t bytes)
    {
        std::uint64_t sum = 0;
        for (std::uint64_t i = 0; i < bytes; ++i)
            sum += data[i];
        Keep(sum);
    }

private:
    /// Keeps the reads that gave this value from being optimised away.
    static void Keep(std::uint64_t value) { asm volatile("" : : "r"(value)); }

    struct Attrib {
        std::uintptr_t base = 0;
        std::uint32_t stride = 0;
        std::uint32_t bytes = 0;
    };
    std::array<Attrib, MaxVertexAttribs> m_attribs = {};
};

class TouchingGLAdapter : public GLNullAdapter {
public:
    explicit TouchingGLAdapter(CallDecoder& decoder) : m_decoder(decoder) {}

    void ProcessVertexAttribData(std::uint32_t index, std::int32_t size, std::uint32_t type, std::uint32_t,
                                 std::int32_t stride, std::uint8_t* data, std::uint32_t, std::uint32_t) override
    {
        m_memory.Point(index, size, type, stride, data);
    }
    void ProcessVertexAttribIData(std::uint32_t index, std::int32_t size, std::uint32_t type, std::int32_t stride,
                                  std::uint8_t* data, std::uint32_t, std::uint32_t) override
    {
        m_memory.Point(index, size, type, stride, data);
    }
    void ProcessFlushMappedBufferRange(std::uint32_t, std::uint32_t, std::uint32_t length, std::uint8_t* data) override
    {
        m_memory.ReadBytes(data, length);
    }
    void ProcessUnmapBuffer(std::uint32_t, std::uint32_t length, std::uint8_t* data) override
    {
        m_memory.ReadBytes(data, length);
    }

#include "tests/TouchingGL.inc"

private:
    CallDecoder& m_decoder;
    TouchedMemory m_memory;
};

class TouchingEGLAdapter : public EGLNullAdapter {
public:
    explicit TouchingEGLAdapter(CallDecoder& decoder) : m_decoder(decoder) {}

#include "tests/TouchingEGL.inc"

private:
    [[maybe_unused]] CallDecoder& m_decoder;
    TouchedMemory m_memory;
};

/// Reads all that meta commands bring.
class TouchingMetaHandler : public NullMetaHandler {
public:
    void ProcessTextAscii(const std::uint8_t* text, std::uint64_t length) override { m_memory.ReadBytes(text, length); }
    void ProcessTextXML(const std::uint8_t* text, std::uint64_t length) override { m_memory.ReadBytes(text, length); }
    void ProcessTextJSON(const std::uint8_t* text, std::uint64_t length) override { m_memory.ReadBytes(text, length); }
    void ProcessCreateEGLImageBufferCommand(std::uint32_t, std::uint32_t, const EGLImageData* data) override
    {
        Image(*data);
    }
    void ProcessSetEGLImageContentCommand(std::uint32_t, const EGLImageData* data) override { Image(*data); }
    void ProcessEGLConfigStateDesc(std::uint32_t, std::uint32_t, const std::int32_t* attribs, std::uint64_t) override
    {
        List(attribs);
    }
    void ProcessEGLSurfaceStateDesc(std::uint32_t, std::uint32_t, const std::int32_t* attribs, std::uint64_t) override
    {
        List(attribs);
    }
    void ProcessDefaultColorBuffer(std::uint32_t, std::uint32_t, std::uint32_t width, std::uint32_t height,
                                   std::uint32_t format, std::uint32_t type, std::uint32_t,
                                   const std::uint8_t* data) override
    {
        Pixels(width, height, format, type, data);
    }
    void ProcessDefaultDepthBuffer(std::uint32_t, std::uint32_t, std::uint32_t width, std::uint32_t height,
                                   std::uint32_t format, std::uint32_t type, std::uint32_t,
                                   const std::uint8_t* data) override
    {
        Pixels(width, height, format, type, data);
    }
    void ProcessDefaultStencilBuffer(std::uint32_t, std::uint32_t, std::uint32_t width, std::uint32_t height,
                                     std::uint32_t format, std::uint32_t type, std::uint32_t,
                                     const std::uint8_t* data) override
    {
        Pixels(width, height, format, type, data);
    }
    void ProcessMultiSampleTexture(std::uint32_t, std::uint32_t, std::uint32_t width, std::uint32_t height,
                                   std::uint32_t depth, std::uint32_t, std::uint32_t format, std::uint32_t type,
                                   std::uint32_t layerBytes, std::uint32_t, const std::uint8_t* data) override
    {
        for (std::uint32_t layer = 0; layer < depth; ++layer)
            Pixels(width, height, format, type, data + std::uint64_t{layer} * layerBytes);
    }

private:
    void Pixels(std::uint32_t width, std::uint32_t height, std::uint32_t format, std::uint32_t type,
                const std::uint8_t* data)
    {
        if (data)
            m_memory.ReadBytes(data, std::uint64_t{width} * height * PixelBytes(format, type));
    }
    void Image(const EGLImageData& data)
    {
        for (std::uint32_t i = 0; i < data.planeCount; ++i)
            if (data.planes[i].data)
                m_memory.ReadBytes(data.planes[i].data, data.planes[i].size);
    }
    void List(const std::int32_t* attribs)
    {
        for (std::size_t at = 0; attribs[at] != Enum::EglNone; at += 2)
            m_memory.ReadBytes(reinterpret_cast<const std::uint8_t*>(attribs + at), 8);
    }

    TouchedMemory m_memory;
};

/// Plays all of a capture to adapters and a handler that touch every byte that they are given.
inline void PlayTouching(CaptureFile& capture)
{
    CallDecoder& decoder = capture.GetFrameProcessor()->Calls();
    TouchingGLAdapter gl(decoder);
    TouchingEGLAdapter egl(decoder);
    TouchingMetaHandler meta;
    capture.SetAdapter(&gl);
    capture.SetAdapter(&egl);
    capture.Add(&meta);
    while (capture.GetFrameProcessor()->ProcessNextFrame()) {
    }
}

} // namespace Data
