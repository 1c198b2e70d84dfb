#include "Probe/Contents/Contents.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include <GLES3/gl32.h>
#include <xxhash.h>

#include "Probe/Contents/Numbers.h"

namespace Probe {

namespace {

constexpr PixelKind Kinds[] = {
    {"unorm8", GL_RGBA, GL_UNSIGNED_BYTE, 4, true},
    {"snorm8", GL_RGBA, GL_BYTE, 4, true},
    {"float", GL_RGBA, GL_FLOAT, 4, false},
    {"int", GL_RGBA_INTEGER, GL_INT, 4, false},
    {"uint", GL_RGBA_INTEGER, GL_UNSIGNED_INT, 4, false},
    {"depth16", GL_DEPTH_COMPONENT, GL_UNSIGNED_SHORT, 1, true},
    {"depth32", GL_DEPTH_COMPONENT, GL_UNSIGNED_INT, 1, true},
    {"depthfloat", GL_DEPTH_COMPONENT, GL_FLOAT, 1, false},
    {"stencil8", GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, 1, false},
    {"bytes", GL_NONE, GL_UNSIGNED_BYTE, 1, false},
};

} // namespace

const PixelKind* FindKind(std::string_view name)
{
    const auto* const kind = std::ranges::find(Kinds, name, &PixelKind::name);
    return kind != std::end(Kinds) ? kind : nullptr;
}

std::uint64_t Contents::Hash() const
{
    return data.empty() ? 0 : XXH3_64bits(data.data(), data.size());
}

Contents ToContents(Util::FramebufferReader::Result result)
{
    Contents contents;
    contents.problem = std::move(result.error);
    if (result.pixels) {
        for (const PixelKind& kind : Kinds)
            if (kind.format == result.pixels->format && kind.type == result.pixels->type)
                contents.components = kind.name;
        contents.width = result.pixels->width;
        contents.height = result.pixels->height;
        contents.data = std::move(result.pixels->data);
    }
    return contents;
}

Contents WithFloatDepth(const Contents& image)
{
    if (image.components != "depth16" && image.components != "depth32")
        return image;
    Contents contents = {"depthfloat", image.width, image.height, {}, {}};
    const auto [bytes, one, load] = DescribeNumber(FindKind(image.components)->type);
    contents.data.resize(image.data.size() / bytes * sizeof(float));
    for (std::size_t i = 0; i < image.data.size() / bytes; ++i) {
        const auto depth = static_cast<float>(load(&image.data[i * bytes]) / one);
        std::memcpy(&contents.data[i * sizeof depth], &depth, sizeof depth);
    }
    return contents;
}

} // namespace Probe
