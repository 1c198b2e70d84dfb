#include "Probe/Contents/Contents.h"

#include <cstring>

#include <GLES3/gl32.h>
#include <xxhash.h>

namespace Probe {

namespace {

const char* ComponentsOf(const Util::Pixels& pixels)
{
    switch (pixels.format) {
    case GL_DEPTH_COMPONENT:
        return pixels.type == GL_UNSIGNED_SHORT ? "depth16" : pixels.type == GL_FLOAT ? "depthfloat" : "depth32";
    case GL_STENCIL_INDEX:
        return "stencil8";
    case GL_RGBA_INTEGER:
        return pixels.type == GL_INT ? "int" : "uint";
    default:
        return pixels.type == GL_FLOAT ? "float" : pixels.type == GL_BYTE ? "snorm8" : "unorm8";
    }
}

template <class T> std::vector<std::uint8_t> Normalized(const std::vector<std::uint8_t>& data, double one)
{
    std::vector<std::uint8_t> floats(data.size() / sizeof(T) * sizeof(float));
    for (std::size_t i = 0; i < data.size() / sizeof(T); ++i) {
        T value;
        std::memcpy(&value, &data[i * sizeof value], sizeof value);
        const auto number = static_cast<float>(static_cast<double>(value) / one);
        std::memcpy(&floats[i * sizeof number], &number, sizeof number);
    }
    return floats;
}

} // namespace

std::uint64_t Contents::Hash() const
{
    return data.empty() ? 0 : XXH3_64bits(data.data(), data.size());
}

Contents ToContents(Util::FramebufferReader::Result result)
{
    Contents contents;
    contents.problem = std::move(result.error);
    if (result.pixels) {
        contents.components = ComponentsOf(*result.pixels);
        contents.width = result.pixels->width;
        contents.height = result.pixels->height;
        contents.data = std::move(result.pixels->data);
    }
    return contents;
}

Contents WithFloatDepth(const Contents& image)
{
    Contents contents = image;
    if (image.components == "depth16")
        contents.data = Normalized<std::uint16_t>(image.data, 65535);
    else if (image.components == "depth32")
        contents.data = Normalized<std::uint32_t>(image.data, 4294967295.0);
    else
        return contents;
    contents.components = "depthfloat";
    return contents;
}

} // namespace Probe
