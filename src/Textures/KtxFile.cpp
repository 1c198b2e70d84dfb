#include "Textures/KtxFile.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace Textures {

namespace {

constexpr char Identifier[] = "\xABKTX 11\xBB\r\n\x1A\n";
/// Read back as 0x01020304 by a machine of the other byte order.
constexpr std::uint32_t Endianness = 0x04030201;
/// Rows of uncompressed images, and images, begin at multiples of this many bytes.
constexpr std::size_t Alignment = 4;

/// Behind the identifier.
struct Header {
    std::uint32_t endianness = Endianness;
    std::uint32_t glType;
    /// Bytes that would have to be swapped for the other byte order; 1 for none.
    std::uint32_t glTypeSize = 1;
    std::uint32_t glFormat;
    std::uint32_t glInternalFormat;
    std::uint32_t glBaseInternalFormat;
    std::uint32_t pixelWidth;
    std::uint32_t pixelHeight;
    std::uint32_t pixelDepth = 0;
    std::uint32_t numberOfArrayElements = 0;
    std::uint32_t numberOfFaces = 1;
    std::uint32_t numberOfMipmapLevels = 1;
    std::uint32_t bytesOfKeyValueData = 0;
};
static_assert(sizeof(Header) == 52);

void Write(std::ofstream& file, const void* data, std::size_t bytes)
{
    file.write(static_cast<const char*>(data), static_cast<std::streamsize>(bytes));
}

} // namespace

std::string WriteKtx(const std::string& path, const Upload& upload)
{
    constexpr std::array<char, Alignment> Padding = {};
    const Header header = {.glType = upload.type,
                           .glFormat = upload.format,
                           .glInternalFormat = upload.internalFormat,
                           .glBaseInternalFormat = upload.format ? upload.format : upload.internalFormat,
                           .pixelWidth = upload.width,
                           .pixelHeight = upload.height};
    const std::size_t rows = upload.format ? upload.height : 1;
    const std::size_t rowBytes = upload.data.size() / rows;
    const std::size_t paddingBytes = (Alignment - rowBytes % Alignment) % Alignment;
    const auto imageBytes = static_cast<std::uint32_t>(rows * (rowBytes + (upload.format ? paddingBytes : 0)));

    std::ofstream file(path, std::ios::binary);
    Write(file, Identifier, sizeof Identifier - 1);
    Write(file, &header, sizeof header);
    Write(file, &imageBytes, sizeof imageBytes);
    for (std::size_t row = 0; row < rows; ++row) {
        Write(file, upload.data.data() + row * rowBytes, rowBytes);
        Write(file, Padding.data(), paddingBytes);
    }
    file.close();
    return file ? "" : std::strerror(errno);
}

} // namespace Textures
