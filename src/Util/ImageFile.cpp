#include "Util/ImageFile.h"

#include <algorithm>
#include <cstdio>
#include <initializer_list>

#include <png.h>

#include "Util/OutputFile.h"

namespace Util {

namespace {

/// Appends numbers in little-endian order, whatever the machine.
class Header {
public:
    Header& Text(const char* characters)
    {
        m_bytes += characters;
        return *this;
    }
    Header& U16(std::initializer_list<std::uint16_t> values)
    {
        for (const std::uint16_t value : values)
            Append(value, 2);
        return *this;
    }
    Header& U32(std::initializer_list<std::uint32_t> values)
    {
        for (const std::uint32_t value : values)
            Append(value, 4);
        return *this;
    }
    Header& Zeros(std::size_t count)
    {
        m_bytes.append(count, '\0');
        return *this;
    }
    void Write(std::FILE* file) const { std::fwrite(m_bytes.data(), 1, m_bytes.size(), file); }

private:
    void Append(std::uint32_t value, int bytes)
    {
        for (int i = 0; i < bytes; ++i)
            m_bytes += static_cast<char>(value >> (8 * i));
    }

    std::string m_bytes;
};

// Masks of the four channels in a little-endian 32-bit pixel whose bytes are red, green, blue, alpha.
constexpr std::uint32_t RedMask = 0x000000FF;
constexpr std::uint32_t GreenMask = 0x0000FF00;
constexpr std::uint32_t BlueMask = 0x00FF0000;
constexpr std::uint32_t AlphaMask = 0xFF000000;

/// BITMAPFILEHEADER and BITMAPV4HEADER with bit fields, since the older headers have no alpha. Rows stand bottom first.
void WriteBmp(std::FILE* file, const Image& image)
{
    constexpr std::uint32_t FileHeaderBytes = 14;
    constexpr std::uint32_t V4HeaderBytes = 108;
    constexpr std::uint32_t BitFields = 3;
    constexpr std::uint32_t PixelsPerMetre = 2835; // 72 dots an inch
    constexpr std::uint32_t Srgb = 0x73524742;     // LCS_sRGB; the colour end points and gamma after it are unused
    const auto pixelBytes = static_cast<std::uint32_t>(image.rgba.size());

    Header header;
    header.Text("BM").U32({FileHeaderBytes + V4HeaderBytes + pixelBytes, 0, FileHeaderBytes + V4HeaderBytes});
    header.U32({V4HeaderBytes, image.width, image.height}).U16({1, 32});
    header.U32({BitFields, pixelBytes, PixelsPerMetre, PixelsPerMetre, 0, 0});
    header.U32({RedMask, GreenMask, BlueMask, AlphaMask, Srgb}).Zeros(36 + 12);
    header.Write(file);
    std::fwrite(image.rgba.data(), 1, image.rgba.size(), file);
}

/// An uncompressed A8B8G8R8 surface without mipmaps. Rows stand top first.
void WriteDds(std::FILE* file, const Image& image)
{
    constexpr std::uint32_t HeaderBytes = 124;
    constexpr std::uint32_t PixelFormatBytes = 32;
    constexpr std::uint32_t CapsHeightWidthPitchPixelFormat = 0x1 | 0x2 | 0x4 | 0x8 | 0x1000;
    constexpr std::uint32_t RgbWithAlpha = 0x40 | 0x1;
    constexpr std::uint32_t Texture = 0x1000;
    const std::uint32_t pitch = image.width * 4;

    Header header;
    header.Text("DDS ").U32({HeaderBytes, CapsHeightWidthPitchPixelFormat, image.height, image.width, pitch, 0, 0});
    header.Zeros(11 * 4);
    header.U32({PixelFormatBytes, RgbWithAlpha, 0, 32, RedMask, GreenMask, BlueMask, AlphaMask});
    header.U32({Texture, 0, 0, 0, 0});
    header.Write(file);
    for (std::size_t row = image.height; row-- > 0;)
        std::fwrite(image.rgba.data() + row * pitch, 1, pitch, file);
}

png_image DescribePng(const Image& image)
{
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    png.width = image.width;
    png.height = image.height;
    png.format = PNG_FORMAT_RGBA;
    png.flags = PNG_IMAGE_FLAG_FAST;
    return png;
}

/// The stride of a picture's rows, negative since the bottom row comes first.
png_int_32 BottomFirst(const Image& image)
{
    return -static_cast<png_int_32>(image.width * 4);
}

/// Empty on success.
std::string WritePng(std::FILE* file, const Image& image)
{
    png_image png = DescribePng(image);
    return png_image_write_to_stdio(&png, file, 0, image.rgba.data(), BottomFirst(image), nullptr) ? "" : png.message;
}

} // namespace

const char* FileExtension(ImageFormat format)
{
    switch (format) {
    case ImageFormat::Png:
        return ".png";
    case ImageFormat::Dds:
        return ".dds";
    default:
        return ".bmp";
    }
}

std::string WriteImageFile(const std::string& path, ImageFormat format, const Image& image)
{
    OutputFile file(path);
    if (!file.Open())
        return file.Reason();
    std::string error;
    switch (format) {
    case ImageFormat::Bmp:
        WriteBmp(file.Stream(), image);
        break;
    case ImageFormat::Png:
        error = WritePng(file.Stream(), image);
        break;
    case ImageFormat::Dds:
        WriteDds(file.Stream(), image);
        break;
    }
    // Errors of the file itself are told by Commit, in the words of the system.
    if (!error.empty() && std::ferror(file.Stream()) == 0)
        return error;
    file.Commit();
    return file.Reason();
}

std::vector<std::uint8_t> EncodePng(const Image& image)
{
    png_image png = DescribePng(image);
    png_alloc_size_t bytes = 0;
    std::vector<std::uint8_t> file;
    if (png_image_write_to_memory(&png, nullptr, &bytes, 0, image.rgba.data(), BottomFirst(image), nullptr)) {
        file.resize(bytes);
        if (!png_image_write_to_memory(&png, file.data(), &bytes, 0, image.rgba.data(), BottomFirst(image), nullptr))
            file.clear();
    }
    return file;
}

std::optional<Image> DecodePng(std::span<const std::uint8_t> file)
{
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&png, file.data(), file.size()))
        return std::nullopt;
    png.format = PNG_FORMAT_RGBA;
    Image image = {png.width, png.height, {}};
    constexpr std::uint64_t MostBytes = std::uint64_t{1} << 31;
    if (std::uint64_t{png.width} * png.height * 4 > MostBytes) {
        png_image_free(&png);
        return std::nullopt;
    }
    image.rgba.resize(PNG_IMAGE_SIZE(png));
    if (!png_image_finish_read(&png, nullptr, image.rgba.data(), BottomFirst(image), nullptr))
        return std::nullopt;
    return image;
}

std::optional<Image> ReadPng(const std::string& path)
{
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&png, path.c_str()))
        return std::nullopt;
    png.format = PNG_FORMAT_RGBA;
    Image image = {png.width, png.height, {}};
    image.rgba.resize(PNG_IMAGE_SIZE(png));
    if (!png_image_finish_read(&png, nullptr, image.rgba.data(), BottomFirst(image), nullptr))
        return std::nullopt;
    return image;
}

Image Shrink(const Image& image, std::uint32_t longestSide)
{
    const std::uint32_t longest = std::max(image.width, image.height);
    if (longest <= longestSide)
        return image;
    const auto scaled = [&](std::uint32_t side) {
        return std::max(1u, static_cast<std::uint32_t>(std::uint64_t{side} * longestSide / longest));
    };
    Image small = {scaled(image.width), scaled(image.height), {}};
    for (std::uint64_t y = 0; y < small.height; ++y) {
        for (std::uint64_t x = 0; x < small.width; ++x) {
            std::uint64_t sums[4] = {};
            std::uint64_t count = 0;
            for (std::uint64_t v = y * image.height / small.height; v < (y + 1) * image.height / small.height; ++v) {
                for (std::uint64_t u = x * image.width / small.width; u < (x + 1) * image.width / small.width; ++u) {
                    for (std::size_t channel = 0; channel < 4; ++channel)
                        sums[channel] += image.rgba[(v * image.width + u) * 4 + channel];
                    ++count;
                }
            }
            for (const std::uint64_t sum : sums)
                small.rgba.push_back(static_cast<std::uint8_t>(sum / count));
        }
    }
    return small;
}

} // namespace Util
