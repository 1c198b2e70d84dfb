#include "Probe/Contents/SampledImage.h"

#include <optional>

#include "Probe/Contents/TexelPass.h"
#include "Probe/LiveGL.h"

namespace Probe {

namespace {

/// How the shader finds a texel.
struct SamplerCode {
    const char* sampler;
    const char* texel;
};

std::optional<SamplerCode> CodeOf(GLenum target)
{
    switch (target) {
    case GL_TEXTURE_2D:
        return SamplerCode{"sampler2D", "texelFetch(image, at, 0)"};
    case GL_TEXTURE_3D:
        return SamplerCode{"sampler3D", "texelFetch(image, ivec3(at, layer), 0)"};
    case GL_TEXTURE_2D_ARRAY:
        return SamplerCode{"sampler2DArray", "texelFetch(image, ivec3(at, layer), 0)"};
    default:
        if (target >= GL_TEXTURE_CUBE_MAP_POSITIVE_X && target <= GL_TEXTURE_CUBE_MAP_NEGATIVE_Z)
            return SamplerCode{"samplerCube", "textureLod(image, Direction(), 0.0)"};
        return std::nullopt;
    }
}

/// A direction to the middle of a texel of each face (OpenGL ES 3.2, table 8.19).
constexpr const char* CubeCode = "vec3 Direction() {\n"
                                 "  vec2 p = 2.0 * (vec2(at) + 0.5) / vec2(size) - 1.0;\n"
                                 "  if (layer == 0) return vec3(1.0, -p.y, -p.x);\n"
                                 "  if (layer == 1) return vec3(-1.0, -p.y, p.x);\n"
                                 "  if (layer == 2) return vec3(p.x, 1.0, p.y);\n"
                                 "  if (layer == 3) return vec3(p.x, -1.0, -p.y);\n"
                                 "  if (layer == 4) return vec3(p.x, -p.y, 1.0);\n"
                                 "  return vec3(-p.x, -p.y, -1.0);\n"
                                 "}\n";

std::string FragmentCode(const SamplerCode& code)
{
    return std::string("#version 300 es\nprecision highp float;\nprecision highp int;\nuniform highp ") + code.sampler +
           " image;\nuniform int layer;\nuniform ivec2 size;\nivec2 at;\nout vec4 color;\n" + CubeCode +
           "void main() {\n  at = ivec2(gl_FragCoord.xy);\n  color = " + code.texel + ";\n}\n";
}

GLint SizeOf(const TextureImage& image, GLenum name)
{
    GLint size = 0;
    GL().glGetTexLevelParameteriv(image.target, image.level, name, &size);
    return size;
}

} // namespace

Contents ReadSampled(unsigned int texture, const TextureImage& image)
{
    const std::optional<SamplerCode> code = CodeOf(image.target);
    if (!code || Core::GetVersion(GL()) < 31)
        return {.problem = "images of its kind cannot be attached to a framebuffer"};
    const bool isFace =
        image.target >= GL_TEXTURE_CUBE_MAP_POSITIVE_X && image.target <= GL_TEXTURE_CUBE_MAP_NEGATIVE_Z;
    const Core::BindingPoint binding = BindingOf(image.target);
    const auto bound = Core::BindScoped(GL(), GL().glBindTexture, binding, texture);
    return RunTexelPass(
        {.fragment = FragmentCode(*code),
         .texture = texture,
         .target = binding.target,
         .level = image.level,
         .layer = isFace ? static_cast<GLint>(image.target - GL_TEXTURE_CUBE_MAP_POSITIVE_X) : image.layer,
         .width = SizeOf(image, GL_TEXTURE_WIDTH),
         .height = SizeOf(image, GL_TEXTURE_HEIGHT)});
}

} // namespace Probe
