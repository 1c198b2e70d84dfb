#include "Compare/Image.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <utility>

namespace Compare {

namespace {

constexpr PixelKind Kinds[] = {
    {"unorm8", 4, 1, 255},
    {"snorm8", 4, 1, 127},
    {"float", 4, 4, 1},
    {"int", 4, 4, 0},
    {"uint", 4, 4, 0},
    {"depth16", 1, 2, 65535},
    {"depth32", 1, 4, 4294967295.0},
    {"depthfloat", 1, 4, 1},
    {"stencil8", 1, 1, 0},
    {"bytes", 1, 1, 0},
};

template <class T> double Read(const std::uint8_t* at)
{
    T value;
    std::memcpy(&value, at, sizeof value);
    return static_cast<double>(value);
}

/// A component as the driver gave it.
double RawComponent(const PixelKind& kind, const std::uint8_t* at)
{
    if (kind.name == "float" || kind.name == "depthfloat")
        return Read<float>(at);
    if (kind.name == "int")
        return Read<std::int32_t>(at);
    if (kind.name == "snorm8")
        return Read<std::int8_t>(at);
    return kind.componentBytes == 1   ? Read<std::uint8_t>(at)
           : kind.componentBytes == 2 ? Read<std::uint16_t>(at)
                                      : Read<std::uint32_t>(at);
}

/// How far apart the pixels are, in their components furthest apart.
double Distance(const Image& a, const Image& b, std::size_t pixel)
{
    double most = 0;
    for (std::uint32_t i = 0; i < a.kind->components; ++i) {
        const double one = a.Component(pixel, i);
        const double other = b.Component(pixel, i);
        const bool isSame = one == other || (std::isnan(one) && std::isnan(other));
        const double distance = isSame ? 0 : std::abs(one - other);
        most = std::max(most, std::isnan(distance) ? std::numeric_limits<double>::infinity() : distance);
    }
    return most;
}

std::uint8_t ToByte(double steps)
{
    return std::isnan(steps) ? 255 : static_cast<std::uint8_t>(std::lround(std::clamp(steps, 0.0, 255.0)));
}

std::string Size(const Image& image)
{
    return std::to_string(image.width) + "x" + std::to_string(image.height) + " " +
           std::string(image.kind ? image.kind->name : "nothing");
}

} // namespace

const PixelKind* FindPixelKind(std::string_view name)
{
    const auto* const found = std::ranges::find(Kinds, name, &PixelKind::name);
    return found != std::end(Kinds) ? found : nullptr;
}

double Image::Component(std::size_t pixel, std::uint32_t component) const
{
    const std::size_t at = (pixel * kind->components + component) * kind->componentBytes;
    const double raw = RawComponent(*kind, data.data() + at);
    return kind->one == 0 ? raw : raw / kind->one * 255;
}

bool Image::IsWhole() const
{
    return kind && data.size() == std::size_t{width} * height * kind->components * kind->componentBytes;
}

Difference Difference::Mismatch(std::string reason)
{
    return {.mismatch = std::move(reason), .isOver = true};
}

std::string Difference::Text() const
{
    if (!mismatch.empty())
        return mismatch;
    if (pixels == 0 && most == 0)
        return "no pixel differs";
    std::array<char, 200> text = {};
    std::snprintf(text.data(), text.size(),
                  "%llu of %llu pixels (%.3g %%) differ by up to %.4g steps, within %ux%u at %u,%u",
                  static_cast<unsigned long long>(pixels), static_cast<unsigned long long>(allPixels),
                  100.0 * static_cast<double>(pixels) / static_cast<double>(allPixels), most, width, height, x, y);
    std::string all = text.data();
    if (perceptual) {
        std::snprintf(text.data(), text.size(), ", Butteraugli distance %.3g", *perceptual);
        all += text.data();
    }
    return all;
}

Difference Measure(const Image& expected, const Image& found, const Tolerance& tolerance)
{
    Difference difference;
    difference.allPixels = std::uint64_t{expected.width} * expected.height;
    if (expected.kind != found.kind || expected.width != found.width || expected.height != found.height ||
        !expected.IsWhole() || !found.IsWhole()) {
        difference.mismatch = "expected " + Size(expected) + ", found " + Size(found);
        difference.isOver = true;
        return difference;
    }
    std::uint32_t right = 0;
    std::uint32_t top = 0;
    difference.x = difference.y = std::numeric_limits<std::uint32_t>::max();
    const std::size_t pixelBytes = std::size_t{expected.kind->components} * expected.kind->componentBytes;
    for (std::size_t pixel = 0; pixel < difference.allPixels; ++pixel) {
        if (std::memcmp(&expected.data[pixel * pixelBytes], &found.data[pixel * pixelBytes], pixelBytes) == 0)
            continue;
        const double distance = Distance(expected, found, pixel);
        difference.most = std::max(difference.most, distance);
        if (distance <= tolerance.steps)
            continue;
        ++difference.pixels;
        const auto x = static_cast<std::uint32_t>(pixel % expected.width);
        const auto y = static_cast<std::uint32_t>(pixel / expected.width);
        difference.x = std::min(difference.x, x);
        difference.y = std::min(difference.y, y);
        right = std::max(right, x + 1);
        top = std::max(top, y + 1);
    }
    if (difference.pixels == 0)
        difference.x = difference.y = 0;
    difference.width = right - std::min(right, difference.x);
    difference.height = top - std::min(top, difference.y);
    difference.isOver =
        static_cast<double>(difference.pixels) > tolerance.pixels * static_cast<double>(difference.allPixels);
    return difference;
}

Util::Image ToPicture(const Image& image)
{
    Util::Image picture = {image.width, image.height, {}};
    picture.rgba.reserve(std::size_t{image.width} * image.height * 4);
    for (std::size_t pixel = 0; pixel < std::size_t{image.width} * image.height; ++pixel) {
        for (std::uint32_t i = 0; i < 4; ++i) {
            const bool isGrey = image.kind->components == 1;
            picture.rgba.push_back(isGrey && i == 3 ? 255 : ToByte(image.Component(pixel, isGrey ? 0 : i)));
        }
    }
    return picture;
}

Image FromPicture(Util::Image picture)
{
    return {FindPixelKind("unorm8"), picture.width, picture.height, std::move(picture.rgba)};
}

Util::Image DifferencePicture(const Image& expected, const Image& found, double steps)
{
    Util::Image picture = ToPicture(expected);
    for (std::size_t pixel = 0; pixel < std::size_t{expected.width} * expected.height; ++pixel) {
        std::uint8_t* const rgba = &picture.rgba[pixel * 4];
        const double distance = Distance(expected, found, pixel);
        // A difference of one step is to be seen, and a larger one is to be brighter.
        const std::uint8_t bright = ToByte(128 + distance / 2);
        const auto grey = static_cast<std::uint8_t>((rgba[0] + rgba[1] + rgba[2]) / 12);
        const bool isOver = distance > steps;
        rgba[0] = isOver ? 255 : distance > 0 ? bright : grey;
        rgba[1] = isOver ? ToByte(255 - distance) : distance > 0 ? bright : grey;
        rgba[2] = isOver ? rgba[1] : distance > 0 ? bright : grey;
        rgba[3] = 255;
    }
    return picture;
}

std::vector<std::pair<std::string, Util::Image>> PicturesOf(const Image& expected, const Image& found,
                                                            const Tolerance& tolerance)
{
    const auto isThere = [](const Image& image) { return image.IsWhole() && !image.data.empty(); };
    std::vector<std::pair<std::string, Util::Image>> pictures;
    if (isThere(expected))
        pictures.emplace_back("expected", ToPicture(expected));
    if (isThere(found))
        pictures.emplace_back("found", ToPicture(found));
    if (pictures.size() == 2 && expected.kind == found.kind && expected.width == found.width &&
        expected.height == found.height)
        pictures.emplace_back("difference", DifferencePicture(expected, found, tolerance.steps));
    return pictures;
}

} // namespace Compare
