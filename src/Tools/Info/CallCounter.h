#pragma once

#include <bit>
#include <initializer_list>
#include <span>
#include <type_traits>

#include "Data/ContextState.h"
#include "Data/Sizes.h"
#include "Interfaces/EGLAdapter.h"
#include "Interfaces/GLAdapter.h"
#include "Tools/Info/Statistics.h"

namespace Data {
class CallDecoder;
} // namespace Data

namespace Tools {

/// Counts the calls of a capture in the place of a replay. What follows from the description of a call is generated
/// (tools/apigen/emit_info.py); handlers that need more are written by hand and call the generated Count_NAME.
class CallCounter final : public Data::GLNullAdapter, public Data::EGLNullAdapter {
public:
    /// The decoder that drives the counter.
    explicit CallCounter(Data::CallDecoder& decoder) : m_decoder(decoder) {}

    /// What was counted since the last call of this.
    FrameStatistics Take();

    void SetCurrentThread(std::uint32_t thread) override { m_state.SetCurrentThread(thread); }
    void ProcessVertexAttribData(std::uint32_t index, std::int32_t size, std::uint32_t type, std::uint32_t normalized,
                                 std::int32_t stride, std::uint8_t* data, std::uint32_t first,
                                 std::uint32_t count) override;
    void ProcessVertexAttribIData(std::uint32_t index, std::int32_t size, std::uint32_t type, std::int32_t stride,
                                  std::uint8_t* data, std::uint32_t first, std::uint32_t count) override;
    void ProcessFlushMappedBufferRange(std::uint32_t target, std::uint32_t offset, std::uint32_t length,
                                       std::uint8_t* data) override;
    void ProcessUnmapBuffer(std::uint32_t target, std::uint32_t length, std::uint8_t* data) override;

private:
    using CallId = Data::CallId;
    static constexpr std::uint32_t queryResult = 0x8866;

// Most handlers; the others are declared.
#include "Tools/Info/EGLCalls.inc"
#include "Tools/Info/GLCalls.inc"

    void Draw(CallId call, std::int32_t vertices, std::int32_t instances);
    void DrawIndirect(CallId call, const Data::PointerData& indirect);
    /// The unsigned numbers that lie at an offset of the buffer bound to `target`; empty when they are not known.
    std::span<const std::uint32_t> Parameters(std::uint32_t target, std::uint64_t offset, std::size_t count) const;

    void UploadBuffer(const Data::PointerData& data, std::int64_t bytes);
    void UploadTexture(const Data::PointerData& data, std::int64_t bytes);
    void UploadMapped(std::uint32_t length);
    void UploadVertices(std::int32_t size, std::uint32_t type, std::uint32_t count);
    /// Bytes of the pixels alone, whatever lies between rows in the program's memory; 0 when the format is not known.
    static std::int64_t PackedBytes(std::int32_t width, std::int32_t height, std::int32_t depth, std::uint32_t format,
                                    std::uint32_t type);

    void Create(ObjectKind kind, std::uint32_t name, std::uint32_t display = 0);
    void Create(ObjectKind kind, const Data::PointerData& names, std::int32_t count);
    void Delete(ObjectKind kind, std::uint32_t name, std::uint32_t display = 0);
    void Delete(ObjectKind kind, const Data::PointerData& names, std::int32_t count);

    void ReadPixels(CallId call, std::int64_t bytes);

    /// Counts a call that set states, by what RecordedState::Set said of each.
    void Changed(CallId call, std::initializer_list<bool> changes);
    void Uniform(CallId call, std::uint32_t program, std::int32_t location, std::int32_t count, std::uint32_t transpose,
                 const WordList& words);

    /// Also of an address: those of programs fit into a double.
    template <class T>
    requires std::is_arithmetic_v<T>
    static std::uint64_t Word(T value)
    {
        return std::bit_cast<std::uint64_t>(static_cast<double>(value));
    }
    template <class... T> static WordList Words(T... values)
    {
        return {Word(values)...};
    }
    static WordList Words(WordList words)
    {
        return words;
    }
    /// All elements of an array; none where it has no contents.
    template <class T> static WordList Elements(const Data::PointerData& array)
    {
        WordList words;
        for (std::int32_t i = 0; array.HasData() && i < array.GetCount(); ++i)
            words.push_back(Word(array.As<const T>()[i]));
        return words;
    }
    /// An attribute's value of four.
    static WordList Vector(const Data::PointerData& values);
    static std::int32_t VertexStride(std::int32_t size, std::uint32_t type, std::int32_t stride)
    {
        return stride != 0 ? stride : static_cast<std::int32_t>(Data::VertexElementBytes(size, type));
    }
    static Indexes FacesOf(std::uint32_t face);
    static Indexes FramebuffersOf(std::uint32_t target);

    Data::CallDecoder& m_decoder;
    RecordedState m_state;
    FrameStatistics m_frame;
};

} // namespace Tools
