#include "Inspect/Picture.h"

#include "Compare/Image.h"
#include "Inspect/Error.h"
#include "Util/ImageFile.h"

namespace Inspect {

std::string EncodePicture(const Json& description, const std::vector<std::uint8_t>& contents)
{
    const Compare::Image image = {Compare::FindPixelKind(description.value("components", "")),
                                  description.value("width", 0U), description.value("height", 0U), contents};
    if (!image.IsWhole() || image.data.empty())
        throw Error(Error::Kind::Request, description.value("problem", "this is no picture"));
    const std::vector<std::uint8_t> png = Util::EncodePng(Compare::ToPicture(image));
    return {png.begin(), png.end()};
}

} // namespace Inspect
