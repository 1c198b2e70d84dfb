#include "Textures/KtxFile.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace Textures {

namespace {

constexpr std::string_view Identifier = "\xABKTX 11\xBB\r\n\x1A\n";
/// Read back as 0x01020304 by a machine of the other byte order.
constexpr std::uint32_t Endianness = 0x04030201;
/// Rows of uncompressed images, images, and pairs of key and value begin at multiples of this many bytes.
constexpr std::size_t Alignment = 4;

/// After the identifier.
struct Header {
    std::uint32_t endianness = Endianness;
    std::uint32_t glType;
    std::uint32_t glTypeSize;
    std::uint32_t glFormat;
    std::uint32_t glInternalFormat;
    std::uint32_t glBaseInternalFormat;
    std::uint32_t pixelWidth;
    std::uint32_t pixelHeight;
    std::uint32_t pixelDepth;
    std::uint32_t numberOfArrayElements;
    std::uint32_t numberOfFaces;
    std::uint32_t numberOfMipmapLevels;
    std::uint32_t bytesOfKeyValueData;
};
static_assert(sizeof(Header) == 52);

std::size_t Padded(std::size_t bytes)
{
    return (bytes + Alignment - 1) / Alignment * Alignment;
}

void Append(std::string& file, const void* data, std::size_t bytes)
{
    file.append(static_cast<const char*>(data), bytes);
}

void AppendNumber(std::string& file, std::size_t number)
{
    const auto value = static_cast<std::uint32_t>(number);
    Append(file, &value, sizeof value);
}

void Pad(std::string& file)
{
    file.resize(Padded(file.size()));
}

/// What counts as the size of a level: of a cube map that is no array, one face.
std::size_t BytesOfLevel(const KtxTexture& texture, const std::vector<KtxTexture::Image>& level)
{
    std::size_t bytes = 0;
    for (const KtxTexture::Image& image : level) {
        const std::size_t row = image.bytes.size() / image.rows;
        bytes += (texture.format != 0 ? Padded(row) : row) * image.rows;
        if (texture.faces > 1 && texture.elements == 0)
            break;
    }
    return bytes;
}

} // namespace

std::string EncodeKtx(const KtxTexture& texture)
{
    std::size_t keyValueBytes = 0;
    for (const std::string_view pair : texture.keyValues)
        keyValueBytes += sizeof(std::uint32_t) + Padded(pair.size());
    const Header header = {.glType = texture.type,
                           .glTypeSize = texture.typeBytes,
                           .glFormat = texture.format,
                           .glInternalFormat = texture.internalFormat,
                           .glBaseInternalFormat = texture.baseFormat,
                           .pixelWidth = texture.width,
                           .pixelHeight = texture.height,
                           .pixelDepth = texture.depth,
                           .numberOfArrayElements = texture.elements,
                           .numberOfFaces = texture.faces,
                           .numberOfMipmapLevels = static_cast<std::uint32_t>(texture.levels.size()),
                           .bytesOfKeyValueData = static_cast<std::uint32_t>(keyValueBytes)};
    std::string file(Identifier);
    Append(file, &header, sizeof header);
    for (const std::string_view pair : texture.keyValues) {
        AppendNumber(file, pair.size());
        file += pair;
        Pad(file);
    }
    for (const std::vector<KtxTexture::Image>& level : texture.levels) {
        AppendNumber(file, BytesOfLevel(texture, level));
        for (const KtxTexture::Image& image : level) {
            const std::size_t row = image.bytes.size() / image.rows;
            for (std::size_t i = 0; i < image.rows; ++i) {
                Append(file, image.bytes.data() + i * row, row);
                Pad(file);
            }
        }
    }
    return file;
}

std::string WriteKtx(const std::string& path, const Upload& upload)
{
    KtxTexture texture = {.type = upload.type,
                          .format = upload.format,
                          .internalFormat = upload.internalFormat,
                          .baseFormat = upload.format ? upload.format : upload.internalFormat,
                          .width = upload.width,
                          .height = upload.height};
    texture.levels = {{{upload.data, upload.format ? upload.height : 1U}}};
    const std::string bytes = EncodeKtx(texture);
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    return file ? "" : std::strerror(errno);
}

} // namespace Textures
