#include "Probe/Contents/DisplayShader.h"

#include <optional>
#include <string_view>

#include "Probe/Contents/TexelPass.h"
#include "Probe/LiveGL.h"

namespace Probe {

namespace {

/// How pixels get into a texture, and how they are sampled.
struct Upload {
    const char* components;
    GLenum internalFormat;
    GLenum format;
    GLenum type;
    const char* sampler;
};

constexpr Upload Uploads[] = {
    {"unorm8", GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE, "sampler2D"},
    {"snorm8", GL_RGBA8_SNORM, GL_RGBA, GL_BYTE, "sampler2D"},
    {"float", GL_RGBA32F, GL_RGBA, GL_FLOAT, "sampler2D"},
    {"int", GL_RGBA32I, GL_RGBA_INTEGER, GL_INT, "isampler2D"},
    {"uint", GL_RGBA32UI, GL_RGBA_INTEGER, GL_UNSIGNED_INT, "usampler2D"},
    {"depthfloat", GL_R32F, GL_RED, GL_FLOAT, "sampler2D"},
    {"stencil8", GL_R8UI, GL_RED_INTEGER, GL_UNSIGNED_BYTE, "usampler2D"},
};

const Upload* FindUpload(std::string_view components)
{
    for (const Upload& upload : Uploads)
        if (components == upload.components)
            return &upload;
    return nullptr;
}

} // namespace

Contents ApplyDisplayShader(const Contents& image, const std::string& shader)
{
    const Contents contents = WithFloatDepth(image);
    const Upload* const upload = FindUpload(contents.components);
    if (!upload || contents.data.empty())
        return {.problem = contents.problem.empty() ? "this is no image" : contents.problem};
    Core::TakeErrors(GL());
    GLuint texture = 0;
    GL().glGenTextures(1, &texture);
    const auto bound = Core::BindScoped(GL(), GL().glBindTexture, Core::Texture2D, texture);
    const auto width = static_cast<GLsizei>(contents.width);
    const auto height = static_cast<GLsizei>(contents.height);
    {
        const Core::PackedRows rows(GL(), Core::PixelTransfer::Upload, Core::GetVersion(GL()));
        GL().glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(upload->internalFormat), width, height, 0,
                          upload->format, upload->type, contents.data.data());
    }
    Contents shown = {.problem = "the driver has no texture of this size"};
    if (Core::TakeErrors(GL()) == GL_NO_ERROR)
        shown = RunTexelPass({.fragment = std::string("#version 300 es\nprecision highp float;\nprecision highp int;\n"
                                                      "uniform highp ") +
                                          upload->sampler + " image;\nout vec4 color;\n#line 1\n" + shader +
                                          "\nvoid main() { color = show(ivec2(gl_FragCoord.xy)); }\n",
                              .texture = texture,
                              .target = GL_TEXTURE_2D,
                              .width = width,
                              .height = height,
                              .isForPeople = true});
    GL().glDeleteTextures(1, &texture);
    return shown;
}

} // namespace Probe
