#include "Util/PixelTransfer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

#include <GLES3/gl32.h>
// Needs the types of the header above.
#include <GLES2/gl2ext.h>

namespace Util {

namespace {

/// Component values of a pixel in memory order: normalised to 0..1 (or -1..1), raw for integer formats.
using Components = std::array<double, 4>;

// Sources of an output channel that are no component.
constexpr int Zero = -1;
constexpr int One = -2;

struct Format {
    GLenum format;
    int components;
    /// For red, green, blue and alpha: the index of the component, or Zero or One.
    std::array<int, 4> source;
    /// Values are integers instead of normalised ones.
    bool isInteger;
};

constexpr Format Formats[] = {
    {GL_RED, 1, {0, Zero, Zero, One}, false},
    {GL_RG, 2, {0, 1, Zero, One}, false},
    {GL_RGB, 3, {0, 1, 2, One}, false},
    {GL_RGBA, 4, {0, 1, 2, 3}, false},
    {GL_BGRA_EXT, 4, {2, 1, 0, 3}, false},
    {GL_ALPHA, 1, {Zero, Zero, Zero, 0}, false},
    {GL_LUMINANCE, 1, {0, 0, 0, One}, false},
    {GL_LUMINANCE_ALPHA, 2, {0, 0, 0, 1}, false},
    {GL_RED_INTEGER, 1, {0, Zero, Zero, One}, true},
    {GL_RG_INTEGER, 2, {0, 1, Zero, One}, true},
    {GL_RGB_INTEGER, 3, {0, 1, 2, One}, true},
    {GL_RGBA_INTEGER, 4, {0, 1, 2, 3}, true},
    {GL_DEPTH_COMPONENT, 1, {0, 0, 0, One}, false},
    {GL_DEPTH_STENCIL, 2, {0, 0, 0, One}, false},
    {GL_STENCIL_INDEX, 1, {0, 0, 0, One}, true},
};

/// A type that holds all components of a pixel in one word (two for the last one).
struct PackedType {
    GLenum type;
    std::uint32_t bytes;
    int components;
};

constexpr PackedType PackedTypes[] = {
    {GL_UNSIGNED_SHORT_5_6_5, 2, 3},
    {GL_UNSIGNED_SHORT_4_4_4_4, 2, 4},
    {GL_UNSIGNED_SHORT_5_5_5_1, 2, 4},
    {GL_UNSIGNED_INT_2_10_10_10_REV, 4, 4},
    {GL_UNSIGNED_INT_10F_11F_11F_REV, 4, 3},
    {GL_UNSIGNED_INT_5_9_9_9_REV, 4, 3},
    {GL_UNSIGNED_INT_24_8, 4, 2},
    {GL_FLOAT_32_UNSIGNED_INT_24_8_REV, 8, 2},
};

const Format* FindFormat(GLenum format)
{
    const auto found = std::find_if(std::begin(Formats), std::end(Formats),
                                    [=](const Format& candidate) { return candidate.format == format; });
    return found == std::end(Formats) ? nullptr : found;
}

const PackedType* FindPackedType(GLenum type)
{
    const auto found = std::find_if(std::begin(PackedTypes), std::end(PackedTypes),
                                    [=](const PackedType& candidate) { return candidate.type == type; });
    return found == std::end(PackedTypes) ? nullptr : found;
}

/// Bytes of one component; 0 for packed and unknown types.
std::uint32_t ComponentBytes(GLenum type)
{
    switch (type) {
    case GL_UNSIGNED_BYTE:
    case GL_BYTE:
        return 1;
    case GL_UNSIGNED_SHORT:
    case GL_SHORT:
    case GL_HALF_FLOAT:
    case GL_HALF_FLOAT_OES:
        return 2;
    case GL_UNSIGNED_INT:
    case GL_INT:
    case GL_FLOAT:
        return 4;
    default:
        return 0;
    }
}

template <class T> T Load(const std::uint8_t* from)
{
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

/// Value of an unsigned floating-point number with a 5-bit exponent, as in the 16, 11 and 10-bit formats.
double FromSmallFloat(std::uint32_t bits, int mantissaBits)
{
    const std::uint32_t mantissa = bits & ((1U << mantissaBits) - 1);
    const int exponent = static_cast<int>(bits >> mantissaBits) & 31;
    if (exponent == 31)
        return mantissa ? std::nan("") : HUGE_VAL;
    const double fraction = std::ldexp(mantissa, -mantissaBits);
    return exponent == 0 ? std::ldexp(fraction, -14) : std::ldexp(1.0 + fraction, exponent - 15);
}

} // namespace

double FromHalf(std::uint16_t bits)
{
    const double magnitude = FromSmallFloat(bits & 0x7FFFU, 10);
    return bits & 0x8000U ? -magnitude : magnitude;
}

namespace {

template <class T> double FromInteger(const std::uint8_t* from, bool isInteger)
{
    const double value = Load<T>(from);
    return isInteger ? value : value / static_cast<double>(std::numeric_limits<T>::max());
}

double LoadComponent(const std::uint8_t* from, GLenum type, bool isInteger)
{
    switch (type) {
    case GL_UNSIGNED_BYTE:
        return FromInteger<std::uint8_t>(from, isInteger);
    case GL_BYTE:
        return FromInteger<std::int8_t>(from, isInteger);
    case GL_UNSIGNED_SHORT:
        return FromInteger<std::uint16_t>(from, isInteger);
    case GL_SHORT:
        return FromInteger<std::int16_t>(from, isInteger);
    case GL_UNSIGNED_INT:
        return FromInteger<std::uint32_t>(from, isInteger);
    case GL_INT:
        return FromInteger<std::int32_t>(from, isInteger);
    case GL_FLOAT:
        return Load<float>(from);
    default:
        return FromHalf(Load<std::uint16_t>(from));
    }
}

/// `bits` bits of `word` from bit `shift` on, normalised unless the format is an integer one.
double Field(std::uint32_t word, int shift, int bits, bool isInteger)
{
    const std::uint32_t max = (1U << bits) - 1;
    const double value = (word >> shift) & max;
    return isInteger ? value : value / max;
}

Components LoadPacked(const std::uint8_t* from, GLenum type, bool isInteger)
{
    const auto field = [=](std::uint32_t word, int shift, int bits) { return Field(word, shift, bits, isInteger); };
    if (type == GL_FLOAT_32_UNSIGNED_INT_24_8_REV)
        return {Load<float>(from), field(Load<std::uint32_t>(from + 4), 0, 8)};

    const bool isShort = FindPackedType(type)->bytes == 2;
    const std::uint32_t word = isShort ? Load<std::uint16_t>(from) : Load<std::uint32_t>(from);
    switch (type) {
    case GL_UNSIGNED_SHORT_5_6_5:
        return {field(word, 11, 5), field(word, 5, 6), field(word, 0, 5)};
    case GL_UNSIGNED_SHORT_4_4_4_4:
        return {field(word, 12, 4), field(word, 8, 4), field(word, 4, 4), field(word, 0, 4)};
    case GL_UNSIGNED_SHORT_5_5_5_1:
        return {field(word, 11, 5), field(word, 6, 5), field(word, 1, 5), field(word, 0, 1)};
    case GL_UNSIGNED_INT_2_10_10_10_REV:
        return {field(word, 0, 10), field(word, 10, 10), field(word, 20, 10), field(word, 30, 2)};
    case GL_UNSIGNED_INT_10F_11F_11F_REV:
        return {FromSmallFloat(word & 0x7FF, 6), FromSmallFloat((word >> 11) & 0x7FF, 6),
                FromSmallFloat(word >> 22, 5)};
    case GL_UNSIGNED_INT_5_9_9_9_REV: {
        const int exponent = static_cast<int>(word >> 27) - 15 - 9; // shared bias 15, 9 mantissa bits
        return {std::ldexp(word & 0x1FF, exponent), std::ldexp((word >> 9) & 0x1FF, exponent),
                std::ldexp((word >> 18) & 0x1FF, exponent)};
    }
    default: // GL_UNSIGNED_INT_24_8
        return {field(word, 8, 24), field(word, 0, 8)};
    }
}

std::uint8_t ToByte(double value, bool isInteger)
{
    const double scaled = isInteger ? value : value * 255.0;
    if (!(scaled > 0.0)) // also not-a-number
        return 0;
    return static_cast<std::uint8_t>(std::lround(std::min(scaled, 255.0)));
}

void ConvertPixel(const Components& components, const Format& format, std::uint8_t* rgba)
{
    for (std::size_t channel = 0; channel < 4; ++channel) {
        const int source = format.source[channel];
        rgba[channel] = source == One    ? 255
                        : source == Zero ? 0
                                         : ToByte(components[static_cast<std::size_t>(source)], format.isInteger);
    }
}

} // namespace

std::uint32_t BytesPerPixel(unsigned int format, unsigned int type)
{
    const Format* info = FindFormat(format);
    if (!info)
        return 0;
    if (const PackedType* packed = FindPackedType(type)) {
        const bool holdsDepthStencil = packed->components == 2;
        const bool fits = packed->components == info->components && holdsDepthStencil == (format == GL_DEPTH_STENCIL);
        return fits ? packed->bytes : 0;
    }
    return format == GL_DEPTH_STENCIL ? 0 : ComponentBytes(type) * static_cast<std::uint32_t>(info->components);
}

std::optional<Image> ToImage(std::uint32_t width, std::uint32_t height, const void* data, unsigned int format,
                             unsigned int type)
{
    constexpr std::uint64_t MaxBytes = std::uint64_t{1} << 31;
    const std::uint32_t pixelBytes = BytesPerPixel(format, type);
    // Neither factor has more than 32 bits, so that the product cannot overflow.
    const std::uint64_t pixels = std::uint64_t{width} * height;
    if (pixelBytes == 0 || !data || pixels == 0 || pixels > MaxBytes / 4)
        return std::nullopt;

    Image image{width, height, std::vector<std::uint8_t>(pixels * 4)};
    const auto* from = static_cast<const std::uint8_t*>(data);
    if (format == GL_RGBA && type == GL_UNSIGNED_BYTE) {
        std::memcpy(image.rgba.data(), from, image.rgba.size());
        return image;
    }

    const Format& info = *FindFormat(format);
    const bool isPacked = FindPackedType(type) != nullptr;
    const std::uint32_t componentBytes = ComponentBytes(type);
    for (std::uint64_t pixel = 0; pixel < pixels; ++pixel, from += pixelBytes) {
        Components components = {};
        if (isPacked)
            components = LoadPacked(from, type, info.isInteger);
        else
            for (int i = 0; i < info.components; ++i)
                components[i] = LoadComponent(from + i * componentBytes, type, info.isInteger);
        ConvertPixel(components, info, &image.rgba[pixel * 4]);
    }
    return image;
}

void MakeOpaque(Image& image)
{
    for (std::size_t alpha = 3; alpha < image.rgba.size(); alpha += 4)
        image.rgba[alpha] = 255;
}

} // namespace Util
