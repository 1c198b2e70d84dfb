// Textures of each kind: volumes, cubes, arrays of cubes, ETC2, immutable ones with all of their levels, buffers, and
// copies between them.

#include "Families.h"

namespace {

GLuint SamplingProgram(const char* sampler, const char* expression)
{
    const std::string fragment = std::string("#version 320 es\nprecision highp float; precision highp ") + sampler +
                                 "; in vec2 at; out vec4 result; uniform " + sampler +
                                 " picture; uniform float time; void main() { result = " + expression + "; }";
    return LinkProgram("#version 320 es\nlayout(location = 0) in vec2 position; out vec2 at;"
                       "void main() { at = position * 0.5 + 0.5; gl_Position = vec4(position * 0.9, 0.0, 1.0); }",
                       fragment.c_str());
}

/// Three by three tiles.
void Show(int tile, GLuint program, GLenum target, GLuint texture, int frame)
{
    glViewport(tile % 3 * 85, tile / 3 * 85, 85, 85);
    glBindTexture(target, texture);
    glUseProgram(program);
    glUniform1f(glGetUniformLocation(program, "time"), static_cast<float>(frame) / FrameCount);
    DrawQuad(program);
}

/// Blocks of ETC2; any bytes are a picture.
std::vector<std::uint8_t> Blocks(int bytes, int frame)
{
    std::vector<std::uint8_t> blocks;
    for (int i = 0; i < bytes; ++i)
        blocks.push_back(static_cast<std::uint8_t>(i * 73 + frame * 19 + i / 8 * 31));
    return blocks;
}

} // namespace

FAMILY("textures", stage)
{
    const GLuint volumeProgram = SamplingProgram("sampler3D", "texture(picture, vec3(at, time))");
    const GLuint cubeProgram =
        SamplingProgram("samplerCube", "texture(picture, vec3(at * 2.0 - 1.0, 1.5 - 3.0 * time))");
    const GLuint cubesProgram =
        SamplingProgram("samplerCubeArray", "texture(picture, vec4(0.7, at * 2.0 - 1.0, floor(time * 1.9)))");
    const GLuint arrayProgram = SamplingProgram("sampler2DArray", "texture(picture, vec3(at, floor(at.x * 3.0)))");
    const GLuint levelProgram = SamplingProgram("sampler2D", "textureLod(picture, at, floor(at.y * 5.0))");
    const GLuint bufferProgram = SamplingProgram("samplerBuffer", "texelFetch(picture, int(at.x * 16.0))");
    const GLuint integerProgram = SamplingProgram("usampler2D", "vec4(texture(picture, at)) / 1000.0");

    const GLuint volume = MakeTexture(GL_TEXTURE_3D);
    glTexImage3D(GL_TEXTURE_3D, 0, GL_RGBA8, 8, 8, 8, 0, GL_RGBA, GL_UNSIGNED_BYTE, Pattern(8, 64, 1).data());
    const GLuint cube = MakeTexture(GL_TEXTURE_CUBE_MAP);
    for (GLuint face = 0; face < 6; ++face) {
        glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0, GL_RGBA8, 8, 8, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                     Pattern(8, 8, static_cast<int>(face) * 5).data());
    }
    const GLuint cubes = MakeTexture(GL_TEXTURE_CUBE_MAP_ARRAY);
    glTexStorage3D(GL_TEXTURE_CUBE_MAP_ARRAY, 1, GL_RGBA8, 4, 4, 12);
    glTexSubImage3D(GL_TEXTURE_CUBE_MAP_ARRAY, 0, 0, 0, 0, 4, 4, 12, GL_RGBA, GL_UNSIGNED_BYTE,
                    Pattern(4, 48, 2).data());
    const GLuint etc = MakeTexture(GL_TEXTURE_2D);
    glCompressedTexImage2D(GL_TEXTURE_2D, 0, GL_COMPRESSED_RGB8_ETC2, 16, 16, 0, 128, Blocks(128, 0).data());
    const GLuint layers = MakeTexture(GL_TEXTURE_2D_ARRAY);
    glTexStorage3D(GL_TEXTURE_2D_ARRAY, 1, GL_COMPRESSED_RGBA8_ETC2_EAC, 8, 8, 3);
    const GLuint levels = MakeTexture(GL_TEXTURE_2D);
    glTexStorage2D(GL_TEXTURE_2D, 5, GL_RGB565, 16, 16);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST_MIPMAP_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_R, GL_BLUE);
    const GLuint texels = MakeBuffer(GL_TEXTURE_BUFFER, 64, nullptr);
    const GLuint buffered = MakeTexture(GL_TEXTURE_2D);
    GLuint bufferTexture = 0;
    glGenTextures(1, &bufferTexture);
    glBindTexture(GL_TEXTURE_BUFFER, bufferTexture);
    glTexBuffer(GL_TEXTURE_BUFFER, GL_RGBA8, texels);
    const GLuint integers = MakeTexture(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, buffered);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 85, 85, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    const GLuint mixed = MakeStorage(8);
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT);
        glBindTexture(GL_TEXTURE_3D, volume);
        // Out of the middle of a larger picture.
        const std::pair<GLenum, GLint> unpack[] = {{GL_UNPACK_ROW_LENGTH, 9},
                                                   {GL_UNPACK_IMAGE_HEIGHT, 7},
                                                   {GL_UNPACK_SKIP_PIXELS, 3},
                                                   {GL_UNPACK_SKIP_ROWS, 2},
                                                   {GL_UNPACK_SKIP_IMAGES, 1}};
        for (const auto& [parameter, value] : unpack)
            glPixelStorei(parameter, value);
        glTexSubImage3D(GL_TEXTURE_3D, 0, 1, 2, frame % 7, 4, 4, 2, GL_RGBA, GL_UNSIGNED_BYTE,
                        Pattern(9, 3 * 7, 9 * frame).data());
        for (const auto& [parameter, value] : unpack)
            glPixelStorei(parameter, 0);
        Show(0, volumeProgram, GL_TEXTURE_3D, volume, frame);
        Show(1, cubeProgram, GL_TEXTURE_CUBE_MAP, cube, frame);
        Show(2, cubesProgram, GL_TEXTURE_CUBE_MAP_ARRAY, cubes, frame);

        glBindTexture(GL_TEXTURE_2D, etc);
        glCompressedTexSubImage2D(GL_TEXTURE_2D, 0, 4, 8, 8, 8, GL_COMPRESSED_RGB8_ETC2, 32, Blocks(32, frame).data());
        Show(3, PictureProgram(), GL_TEXTURE_2D, etc, frame);
        glBindTexture(GL_TEXTURE_2D_ARRAY, layers);
        glCompressedTexSubImage3D(GL_TEXTURE_2D_ARRAY, 0, 0, 0, frame % 3, 8, 8, 1, GL_COMPRESSED_RGBA8_ETC2_EAC, 64,
                                  Blocks(64, frame).data());
        Show(4, arrayProgram, GL_TEXTURE_2D_ARRAY, layers, frame);

        glBindTexture(GL_TEXTURE_2D, levels);
        std::vector<std::uint16_t> pixels(16 * 16);
        for (std::size_t i = 0; i < pixels.size(); ++i)
            pixels[i] = static_cast<std::uint16_t>(i * 257u * static_cast<unsigned>(frame));
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 16, 16, GL_RGB, GL_UNSIGNED_SHORT_5_6_5, pixels.data());
        glGenerateMipmap(GL_TEXTURE_2D);
        glTexSubImage2D(GL_TEXTURE_2D, 2, 1, 1, 2, 3, GL_RGB, GL_UNSIGNED_SHORT_5_6_5, pixels.data());
        Show(5, levelProgram, GL_TEXTURE_2D, levels, frame);

        glBindBuffer(GL_TEXTURE_BUFFER, texels);
        glBufferSubData(GL_TEXTURE_BUFFER, 0, 64, Pattern(16, 1, frame).data());
        Show(6, bufferProgram, GL_TEXTURE_BUFFER, bufferTexture, frame);

        // A tile of the picture so far, and a mixture of two textures.
        glBindTexture(GL_TEXTURE_2D, buffered);
        glCopyTexSubImage2D(GL_TEXTURE_2D, 0, frame, 0, 40, 40, 60, 85);
        glCopyImageSubData(volume, GL_TEXTURE_3D, 0, 0, 0, frame % 8, mixed, GL_TEXTURE_2D, 0, 0, 0, 0, 8, 4, 1);
        glCopyImageSubData(cube, GL_TEXTURE_CUBE_MAP, 0, 0, 0, frame % 6, mixed, GL_TEXTURE_2D, 0, 0, 4, 0, 8, 4, 1);
        Show(7, PictureProgram(), GL_TEXTURE_2D, frame % 2 == 0 ? buffered : mixed, frame);

        glBindTexture(GL_TEXTURE_2D, integers);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA16UI, 4, 4, 0, GL_RGBA_INTEGER, GL_UNSIGNED_SHORT, pixels.data());
        Show(8, integerProgram, GL_TEXTURE_2D, integers, frame);
        EndFrame(stage);
    }
}
