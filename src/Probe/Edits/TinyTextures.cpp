#include "Probe/Edits/TinyTextures.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <vector>

#include "Probe/LiveGL.h"
#include "Replay/Driver/Programs.h"

namespace Probe {

namespace {

constexpr Core::BindingPoint Targets[] = {{GL_TEXTURE_2D, GL_TEXTURE_BINDING_2D},
                                          {GL_TEXTURE_CUBE_MAP, GL_TEXTURE_BINDING_CUBE_MAP},
                                          {GL_TEXTURE_3D, GL_TEXTURE_BINDING_3D},
                                          {GL_TEXTURE_2D_ARRAY, GL_TEXTURE_BINDING_2D_ARRAY},
                                          {GL_TEXTURE_CUBE_MAP_ARRAY, GL_TEXTURE_BINDING_CUBE_MAP_ARRAY}};

struct Format {
    GLenum internal;
    GLenum transfer;
    GLenum type;
};
constexpr Format Formats[] = {{GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE},
                              {GL_RGBA8I, GL_RGBA_INTEGER, GL_BYTE},
                              {GL_RGBA8UI, GL_RGBA_INTEGER, GL_UNSIGNED_BYTE},
                              {GL_DEPTH_COMPONENT16, GL_DEPTH_COMPONENT, GL_UNSIGNED_SHORT}};

/// What a sampler of this type may look into.
GLenum FormatOf(GLenum sampler)
{
    switch (sampler) {
    case GL_INT_SAMPLER_2D:
    case GL_INT_SAMPLER_3D:
    case GL_INT_SAMPLER_CUBE:
    case GL_INT_SAMPLER_2D_ARRAY:
    case GL_INT_SAMPLER_CUBE_MAP_ARRAY:
        return GL_RGBA8I;
    case GL_UNSIGNED_INT_SAMPLER_2D:
    case GL_UNSIGNED_INT_SAMPLER_3D:
    case GL_UNSIGNED_INT_SAMPLER_CUBE:
    case GL_UNSIGNED_INT_SAMPLER_2D_ARRAY:
    case GL_UNSIGNED_INT_SAMPLER_CUBE_MAP_ARRAY:
        return GL_RGBA8UI;
    case GL_SAMPLER_2D_SHADOW:
    case GL_SAMPLER_CUBE_SHADOW:
    case GL_SAMPLER_2D_ARRAY_SHADOW:
    case GL_SAMPLER_CUBE_MAP_ARRAY_SHADOW:
        return GL_DEPTH_COMPONENT16;
    default:
        return GL_RGBA8;
    }
}

/// A level of the bound texture, `size` texels wide.
void Fill(GLenum target, GLint level, GLsizei size, const Format& format)
{
    // Light and dark by turns: 4 bytes a texel at most, 6 layers of a cube map array.
    constexpr std::size_t Texels = 24;
    std::array<std::uint8_t, Texels* 4> bytes = {};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const bool isAlpha = i % 4 == 3;
        const std::size_t texel = i / 4;
        const bool isLight = (texel % 2 == 0) == (texel / 2 % 2 == 0);
        bytes[i] = isAlpha ? 255 : isLight ? 176 : 80;
    }
    const bool isOld = Core::GetVersion(GL()) < 30;
    const auto internal = static_cast<GLint>(isOld ? format.transfer : format.internal);
    const auto flat = [&](GLenum face) {
        GL().glTexImage2D(face, level, internal, size, size, 0, format.transfer, format.type, bytes.data());
    };
    if (target == GL_TEXTURE_2D) {
        flat(target);
    } else if (target == GL_TEXTURE_CUBE_MAP) {
        for (GLenum face = 0; face < 6; ++face)
            flat(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face);
    } else {
        const GLsizei depth = target == GL_TEXTURE_3D ? size : target == GL_TEXTURE_2D_ARRAY ? 1 : 6;
        GL().glTexImage3D(target, level, internal, size, size, depth, 0, format.transfer, format.type, bytes.data());
    }
}

} // namespace

void TinyTextures::Bind(const void* group, unsigned int program, Undo& undo)
{
    const auto active = static_cast<GLenum>(Core::GetInteger(GL(), GL_ACTIVE_TEXTURE));
    undo.Add([active] { GL().glActiveTexture(active); });
    for (const Replay::ActiveVariable& uniform : Replay::ActiveUniforms(program)) {
        const auto* const point =
            std::ranges::find(Targets, Replay::DescribeType(uniform.type).target, &Core::BindingPoint::target);
        const auto units = point != std::end(Targets) ? Replay::ValuesOf(program, uniform) : std::nullopt;
        for (const double unit : units.value_or(std::vector<double>{})) {
            const GLenum texture = GL_TEXTURE0 + static_cast<GLenum>(unit);
            GL().glActiveTexture(texture);
            const auto before = static_cast<GLuint>(Core::GetInteger(GL(), point->query));
            undo.Add([texture, before, target = point->target] {
                GL().glActiveTexture(texture);
                GL().glBindTexture(target, before);
            });
            GL().glBindTexture(point->target, Find(group, point->target, FormatOf(uniform.type)));
        }
    }
    GL().glActiveTexture(active);
}

/// Left bound where it is new.
unsigned int TinyTextures::Find(const void* group, unsigned int target, unsigned int format)
{
    const auto [entry, isNew] = m_textures.try_emplace({group, target, format});
    if (!isNew)
        return entry->second;
    GL().glGenTextures(1, &entry->second);
    GL().glBindTexture(target, entry->second);
    const Core::PackedRows packed(GL(), Core::PixelTransfer::Upload, Core::GetVersion(GL()));
    const Format& found = *std::ranges::find(Formats, format, &Format::internal);
    Fill(target, 0, 2, found);
    Fill(target, 1, 1, found);
    GL().glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_NEAREST_MIPMAP_NEAREST);
    GL().glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    if (format == GL_DEPTH_COMPONENT16)
        GL().glTexParameteri(target, GL_TEXTURE_COMPARE_MODE, GL_COMPARE_REF_TO_TEXTURE);
    return entry->second;
}

} // namespace Probe
