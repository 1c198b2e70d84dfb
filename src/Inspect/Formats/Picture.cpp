#include "Inspect/Formats/Picture.h"

#include <algorithm>
#include <iterator>

#include "Inspect/Error.h"
#include "Util/ImageFile.h"

namespace Inspect {

namespace {

struct Color {
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
};

// As src/Inspect/page/output/overlay.js has them.
constexpr Color TestColors[] = {{0, 158, 115}, {213, 59, 40}, {240, 200, 40}};
constexpr Color OneColor = {255, 0, 200};
/// Of 1, 2, 3 ... fragments; the last one of all that are more.
constexpr Color CountColors[] = {{40, 80, 220},  {30, 150, 220}, {30, 190, 130}, {150, 200, 50},
                                 {235, 200, 40}, {240, 140, 30}, {225, 70, 40},  {200, 20, 90}};

Color ColorOf(const std::string& kind, std::uint8_t value)
{
    if (kind == "depth" || kind == "stencil" || kind == "scissor")
        return TestColors[std::min<std::size_t>(value, std::size(TestColors)) - 1];
    if (kind == "overdraw")
        return CountColors[std::min<std::size_t>(value, std::size(CountColors)) - 1];
    return OneColor;
}

Util::Image PictureOf(const ReplayAnswer& answer)
{
    const Compare::Image image = ImageOf(answer);
    if (!image.IsWhole() || image.data.empty())
        throw RequestError(answer.json.value("problem", "this is no picture"));
    return Compare::ToPicture(image);
}

std::string ToText(const std::vector<std::uint8_t>& bytes)
{
    return {bytes.begin(), bytes.end()};
}

} // namespace

Compare::Image ImageOf(const ReplayAnswer& answer)
{
    return {Compare::FindPixelKind(answer.json.value("components", "")), answer.json.value("width", 0U),
            answer.json.value("height", 0U), answer.bytes};
}

std::string EncodePicture(const ReplayAnswer& answer)
{
    return ToText(Util::EncodePng(PictureOf(answer)));
}

std::string EncodeNothing()
{
    return ToText(Util::EncodePng({1, 1, {0, 0, 0, 0}}));
}

std::string EncodeThumbnail(const ReplayAnswer& answer, std::uint32_t side)
{
    Util::Image picture = Util::Shrink(PictureOf(answer), side);
    Util::MakeOpaque(picture);
    return ToText(Util::EncodePng(picture));
}

std::string EncodeOverlay(const std::string& kind, const ReplayAnswer& answer)
{
    Util::Image picture = {answer.json.value("width", 0U), answer.json.value("height", 0U), {}};
    if (answer.bytes.empty() || answer.bytes.size() != std::size_t{picture.width} * picture.height)
        throw RequestError(answer.json.value("problem", "this is no overlay"));
    constexpr std::uint8_t Opaque = 255;
    for (const std::uint8_t value : answer.bytes) {
        const Color color = value != 0 ? ColorOf(kind, value) : Color{};
        picture.rgba.insert(picture.rgba.end(),
                            {color.red, color.green, color.blue, value != 0 ? Opaque : std::uint8_t{0}});
    }
    return ToText(Util::EncodePng(picture));
}

} // namespace Inspect
