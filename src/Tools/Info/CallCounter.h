#pragma once

#include <span>

#include "Data/State/StateModel.h"
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
    explicit CallCounter(Data::CallDecoder& decoder);

    /// What was counted since the last call of this.
    FrameStatistics Take();

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
    static constexpr std::uint32_t QueryResult = 0x8866;

// Most handlers; the others are declared.
#include "Tools/Info/EGLCalls.inc"
#include "Tools/Info/GLCalls.inc"

    void Draw(CallId call, std::int32_t vertices, std::int32_t instances);
    /// One call with an array of counts.
    void DrawMany(CallId call, const Data::PointerData& counts);
    void DrawUnknown(CallId call)
    {
        m_frame.draws[call] += {1, 0, 0, 1};
    }
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

    void ReadPixels(CallId call, std::int64_t bytes);

    /// Counts a call that sets values.
    void Changed(CallId call);

    Data::CallDecoder& m_decoder;
    Data::StateModel m_state;
    FrameStatistics m_frame;
};

} // namespace Tools
