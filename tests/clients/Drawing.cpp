#include "Drawing.h"

#include <cstring>

#include "Shaders.h"
#include "Stage.h"

namespace {

const char* const pictureFragment = "#version 300 es\nprecision mediump float; in vec2 at; out vec4 result;"
                                    "uniform sampler2D picture; void main() { result = texture(picture, at); }";

} // namespace

const char* const flatVertex =
    "#version 300 es\nlayout(location = 0) in vec2 position; layout(location = 1) in vec4 colour; out vec4 shade;"
    "void main() { shade = colour; gl_Position = vec4(position * 0.9, 0.0, 1.0); }";
const char* const flatFragment = "#version 300 es\nprecision mediump float; in vec4 shade; out vec4 result;"
                                 "void main() { result = shade; }";
const char* const pictureVertex =
    "#version 300 es\nlayout(location = 0) in vec2 position; out vec2 at;"
    "void main() { at = position * 0.5 + 0.5; gl_Position = vec4(position * 0.9, 0.0, 1.0); }";
const float quad[8] = {-1, -1, 1, -1, -1, 1, 1, 1};

void WriteQuad(void* to, float scale)
{
    float corners[8];
    for (int i = 0; i < 8; ++i)
        corners[i] = quad[i] * scale;
    std::memcpy(to, corners, sizeof corners);
}

const void* At(std::size_t offset)
{
    return reinterpret_cast<const void*>(offset);
}

std::uint8_t Wave(int value)
{
    return static_cast<std::uint8_t>(128 + 127 * (value * 37 % 64 - 32) / 32);
}

std::vector<std::uint8_t> Pattern(int width, int height, int frame)
{
    std::vector<std::uint8_t> pixels;
    for (int i = 0; i < width * height; ++i)
        pixels.insert(pixels.end(), {Wave(i % width + frame), Wave(i / width * 3), Wave(i), 255});
    return pixels;
}

GLuint MakeBuffer(GLenum target, std::size_t bytes, const void* data)
{
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    glBindBuffer(target, buffer);
    glBufferData(target, static_cast<GLsizeiptr>(bytes), data, GL_DYNAMIC_DRAW);
    return buffer;
}

void* MapForGood(GLenum target, GLsizeiptr bytes, GLbitfield storage, GLbitfield access)
{
    static const auto bufferStorage = Load<PFNGLBUFFERSTORAGEEXTPROC>("glBufferStorageEXT");
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    glBindBuffer(target, buffer);
    bufferStorage(target, bytes, nullptr, storage);
    void* const memory = glMapBufferRange(target, 0, bytes, access);
    if (!memory)
        Stage::Fail("mapping a buffer for good");
    return memory;
}

GLuint MakeTexture(GLenum target)
{
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(target, texture);
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    return texture;
}

GLuint MakeStorage(int side, GLenum format)
{
    const GLuint texture = MakeTexture(GL_TEXTURE_2D);
    glTexStorage2D(GL_TEXTURE_2D, 1, format, side, side);
    return texture;
}

GLuint MakeFramebuffer(GLuint texture, GLenum target)
{
    GLuint framebuffer = 0;
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, target, texture, 0);
    return framebuffer;
}

GLuint PictureProgram()
{
    static const GLuint program = LinkProgram(pictureVertex, pictureFragment);
    return program;
}

GLuint FlatProgram()
{
    static const GLuint program = LinkProgram(flatVertex, flatFragment);
    return program;
}

void DrawQuad(GLuint program)
{
    glUseProgram(program);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, quad);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}
