#include "Inspect/Formats/TextureFile.h"

#include <algorithm>
#include <string_view>

#include "Inspect/Error.h"
#include "Textures/KtxFile.h"

#include <GLES3/gl32.h>
// Needs the types of the header above.
#include <GLES2/gl2ext.h>

namespace Inspect {

namespace {

/// How OpenGL ES calls the pixels that playback-probe reads.
struct PixelFormat {
    std::string_view kind;
    std::uint32_t type;
    std::uint32_t format;
    std::uint32_t internalFormat;
};
constexpr PixelFormat PixelFormats[] = {
    {"unorm8", GL_UNSIGNED_BYTE, GL_RGBA, GL_RGBA8},
    {"snorm8", GL_BYTE, GL_RGBA, GL_RGBA8_SNORM},
    {"float", GL_FLOAT, GL_RGBA, GL_RGBA32F},
    {"int", GL_INT, GL_RGBA_INTEGER, GL_RGBA32I},
    {"uint", GL_UNSIGNED_INT, GL_RGBA_INTEGER, GL_RGBA32UI},
    {"depth16", GL_UNSIGNED_SHORT, GL_DEPTH_COMPONENT, GL_DEPTH_COMPONENT16},
    {"depth32", GL_UNSIGNED_INT, GL_DEPTH_COMPONENT, GL_DEPTH_COMPONENT32_OES},
    {"depthfloat", GL_FLOAT, GL_DEPTH_COMPONENT, GL_DEPTH_COMPONENT32F},
    {"stencil8", GL_UNSIGNED_BYTE, GL_STENCIL_INDEX, GL_STENCIL_INDEX8},
};

void CheckLevels(const TextureImages& texture, std::size_t perLevel)
{
    const Compare::Image& base = texture.images.front().image;
    for (std::size_t i = 0; i < texture.images.size(); ++i) {
        const auto& [level, image] = texture.images[i];
        const std::uint32_t width = std::max(base.width >> level, 1U);
        const std::uint32_t height = std::max(base.height >> level, 1U);
        if (!image.IsWhole() || image.data.empty())
            throw RequestError("level " + std::to_string(level) + " of the texture cannot be read");
        const bool isInPlace = texture.target == GL_TEXTURE_3D || level == i / perLevel;
        if (image.width != width || image.height != height || image.kind != base.kind || !isInPlace)
            throw RequestError("level " + std::to_string(level) +
                               " of the texture does not go with level 0: expected " + std::to_string(width) + "x" +
                               std::to_string(height) + ", found " + std::to_string(image.width) + "x" +
                               std::to_string(image.height));
    }
}

/// Images that follow one another in each level: layers, faces, or both.
void SetParts(std::uint32_t target, std::uint32_t count, Textures::KtxTexture& file)
{
    constexpr std::uint32_t CubeFaces = 6;
    if (target == GL_TEXTURE_3D)
        file.depth = count;
    else if (target == GL_TEXTURE_2D_ARRAY)
        file.elements = count;
    else if (target == GL_TEXTURE_CUBE_MAP || target == GL_TEXTURE_CUBE_MAP_ARRAY)
        file.faces = CubeFaces;
    if (target == GL_TEXTURE_CUBE_MAP_ARRAY)
        file.elements = count / CubeFaces;
}

} // namespace

std::string ToKtx(const TextureImages& texture)
{
    if (texture.images.empty())
        throw RequestError("the texture has no image");
    const auto ofFirst = [](const TextureImages::One& one) { return one.level == 0; };
    const auto first = static_cast<std::uint32_t>(std::ranges::count_if(texture.images, ofFirst));
    CheckLevels(texture, std::max(first, 1U));
    const Compare::Image& base = texture.images.front().image;
    const auto* const format = std::ranges::find(PixelFormats, base.kind->name, &PixelFormat::kind);
    if (format == std::end(PixelFormats))
        throw RequestError("the texture holds no pixels");
    using namespace std::string_view_literals;
    const bool isSrgb = texture.format == GL_SRGB8 || texture.format == GL_SRGB8_ALPHA8;
    Textures::KtxTexture file = {.type = format->type,
                                 .typeBytes = base.kind->componentBytes,
                                 .format = format->format,
                                 .internalFormat = isSrgb ? GL_SRGB8_ALPHA8 : format->internalFormat,
                                 .baseFormat = format->format == GL_RGBA_INTEGER ? GL_RGBA : format->format,
                                 .width = base.width,
                                 .height = base.height};
    file.keyValues = {"KTXorientation\0S=r,T=u\0"sv};
    SetParts(texture.target, first, file);
    file.levels.resize(texture.images.back().level + 1);
    for (const auto& [level, image] : texture.images)
        file.levels[level].push_back({image.data, image.height});
    return Textures::EncodeKtx(file);
}

} // namespace Inspect
