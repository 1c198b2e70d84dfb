// How much memory lies behind a pointer argument. One set of rules for the recorder, which copies that much, and the
// reader, which refuses less. Nothing overflows: counts below 0 count as 0, sizes saturate at `unknownSize`.
#pragma once

#include <cstdint>
#include <limits>

namespace Data {

/// A size that cannot be told; no memory satisfies it.
inline constexpr std::int64_t UnknownSize = std::numeric_limits<std::int64_t>::max();

/// What glPixelStorei set for one direction. In pixels, rows and images; the start values are those of OpenGL ES.
struct PixelStore {
    std::int32_t alignment = 4;
    std::int32_t rowLength = 0;
    std::int32_t imageHeight = 0;
    std::int32_t skipPixels = 0;
    std::int32_t skipRows = 0;
    std::int32_t skipImages = 0;
};

/// Bytes of one pixel in a transfer; 0 when the combination is not known.
std::uint32_t PixelBytes(std::uint32_t format, std::uint32_t type);

/// Bytes from the start of the pixel pointer to the end of the last pixel of a two-dimensional transfer.
std::int64_t ImageBytes(const PixelStore& store, std::int64_t width, std::int64_t height, std::uint32_t format,
                        std::uint32_t type);
/// The same for a three-dimensional one, for which image height and skipped images count.
std::int64_t ImageBytes(const PixelStore& store, std::int64_t width, std::int64_t height, std::int64_t depth,
                        std::uint32_t format, std::uint32_t type);

/// Bytes of one texel that a clear takes its value from, whatever the pixel store says.
std::int64_t TexelBytes(std::int64_t format, std::int64_t type);

/// Bytes of an index; 0 for a type that is none.
std::int64_t IndexSize(std::uint32_t type);

/// Bytes of one element of a vertex attribute, packed; 0 when the type is not known.
std::uint32_t VertexElementBytes(std::int32_t size, std::uint32_t type);

/// Values that parameter `pname` of a get or set call has; 0 for the lists whose length only the driver knows.
std::int64_t ParameterCount(std::uint32_t pname);

/// The length of a text of which 0, too, says that it ends at its zero byte; below 0 for that.
constexpr std::int64_t TextLength(std::int64_t length)
{
    return length != 0 ? length : -1;
}

/// Values that glClearBuffer reads for this buffer.
std::int64_t ClearValues(std::uint32_t buffer);

/// Longest attribute list that a call may carry, in values in front of the closing one.
inline constexpr std::uint32_t MaxAttribs = 60;

} // namespace Data
