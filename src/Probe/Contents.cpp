#include "Probe/Contents.h"

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

} // namespace Probe
