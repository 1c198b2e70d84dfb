// A picture of eight tiles, each drawn with another feature of OpenGL ES 3.0 that is easy to record or replay wrong.
// Draws the same pixels in every run; a tile that comes out wrong names the feature. What a tile needs it makes when it
// is first drawn.

#include <GLES3/gl3.h>
#include <cstdlib>
#include <vector>

#include "Drawing.h"
#include "Shaders.h"
#include "Stage.h"

namespace {

constexpr int TileSize = 80;
constexpr int Columns = 4;
constexpr int FrameCount = 10;

/// Colours from a range of a uniform buffer; geometry from a vertex array object.
void UniformBlock(int frame)
{
    static const GLuint program =
        LinkProgram("#version 300 es\nlayout(location = 0) in vec2 position;"
                    "void main() { gl_Position = vec4(position * 0.9, 0.0, 1.0); }",
                    "#version 300 es\nprecision mediump float; layout(std140) uniform Paint { vec4 colour[2]; };"
                    "out vec4 result; void main() { result = colour[int(gl_FragCoord.y) / 8 % 2]; }");
    static const GLuint uniforms = MakeBuffer(GL_UNIFORM_BUFFER, 256 + 32, nullptr);
    static GLuint array = 0;
    if (array == 0) {
        glUniformBlockBinding(program, glGetUniformBlockIndex(program, "Paint"), 2);
        glGenVertexArrays(1, &array);
        glBindVertexArray(array);
        MakeBuffer(GL_ARRAY_BUFFER, sizeof quad, quad);
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
        glEnableVertexAttribArray(0);
    }
    const float red = static_cast<float>(frame) / FrameCount;
    const float colours[] = {red, 0.3f, 0.2f, 1, 0.2f, 0.3f, 1 - red, 1};
    glBindBuffer(GL_UNIFORM_BUFFER, uniforms);
    glBufferSubData(GL_UNIFORM_BUFFER, 256, sizeof colours, colours);
    glBindBufferRange(GL_UNIFORM_BUFFER, 2, uniforms, 256, sizeof colours);
    glUseProgram(program);
    glBindVertexArray(array);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    glBindVertexArray(0);
}

/// Vertex colours written through a mapping: in odd frames all of it at unmap, in even ones in flushed pieces.
void MappedBuffer(int frame)
{
    static const GLuint buffer = MakeBuffer(GL_ARRAY_BUFFER, 64 + 16, nullptr);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    const bool flush = frame % 2 == 0;
    const GLbitfield access = GL_MAP_WRITE_BIT | (flush ? GL_MAP_FLUSH_EXPLICIT_BIT : GL_MAP_INVALIDATE_RANGE_BIT);
    auto* colours = static_cast<std::uint8_t*>(glMapBufferRange(GL_ARRAY_BUFFER, 64, 16, access));
    for (int i = 0; i < 16; ++i) {
        colours[i] = i % 4 == 3 ? 255 : Wave(frame + 5 * i);
    }
    if (flush) {
        glFlushMappedBufferRange(GL_ARRAY_BUFFER, 0, 8);
        glFlushMappedBufferRange(GL_ARRAY_BUFFER, 8, 8);
    }
    glUnmapBuffer(GL_ARRAY_BUFFER);
    glVertexAttribPointer(1, 4, GL_UNSIGNED_BYTE, GL_TRUE, 4, At(64));
    glEnableVertexAttribArray(1);
    DrawQuad(FlatProgram());
    glDisableVertexAttribArray(1);
}

/// Instances with integer attributes in client memory, and a palette of unsigned uniforms.
void Instances(int frame)
{
    static const GLuint program =
        LinkProgram("#version 300 es\nlayout(location = 0) in vec2 position; layout(location = 1) in ivec2 place;"
                    "uniform uvec4 palette[3]; out vec4 shade;"
                    "void main() { shade = vec4(palette[gl_InstanceID % 3]) / 255.0;"
                    "  gl_Position = vec4(position * 0.25 + vec2(place) * 0.1, 0.0, 1.0); }",
                    flatFragment);
    const std::int16_t places[] = {-6, -6, 0, -6, 6, -6, -6, 0, 0, 0, 6, 0, -6, 6, 0, 6, 6, 6};
    const GLuint palette[] = {250, 80, 60, 255, 70, 200, 90, 255, 60, 90, 250, 255};
    glUseProgram(program);
    glUniform4uiv(glGetUniformLocation(program, "palette"), 3, palette);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, quad);
    glVertexAttribIPointer(1, 2, GL_SHORT, 0, places);
    glVertexAttribDivisor(1, 1);
    glEnableVertexAttribArray(1);
    glDrawArraysInstanced(GL_TRIANGLE_STRIP, 0, 4, 1 + frame % 9);
    glVertexAttribDivisor(1, 0);
    glDisableVertexAttribArray(1);
}

/// Indices and interleaved vertices in client memory, with a restart index and a range that does not start at 0.
void ClientIndices(int frame)
{
    struct Vertex {
        float x, y;
        std::uint8_t colour[4];
    };
    std::vector<Vertex> vertices(3);
    for (int i = 0; i < 8; ++i) {
        vertices.push_back({(i < 4 ? -1.0f : 0.1f) + 0.9f * static_cast<float>(i % 2),
                            i / 2 % 2 == 0 ? -1.0f : 1.0f,
                            {Wave(frame + i), Wave(7 * i), Wave(3 * frame), 255}});
    }
    const std::uint16_t indices[] = {3, 4, 5, 6, 0xFFFF, 7, 8, 9, 10};
    glUseProgram(FlatProgram());
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, sizeof(Vertex), &vertices[0].x);
    glVertexAttribPointer(1, 4, GL_UNSIGNED_BYTE, GL_TRUE, sizeof(Vertex), vertices[0].colour);
    glEnableVertexAttribArray(1);
    glEnable(GL_PRIMITIVE_RESTART_FIXED_INDEX);
    glDrawRangeElements(GL_TRIANGLE_STRIP, 3, 10, 9, GL_UNSIGNED_SHORT, indices);
    glDisable(GL_PRIMITIVE_RESTART_FIXED_INDEX);
    glDisableVertexAttribArray(1);
}

/// Layers out of the middle of larger ones, by unpack parameters, seen through a sampler object.
void UnpackParameters(int frame)
{
    static const GLuint program =
        LinkProgram(pictureVertex, "#version 300 es\nprecision mediump float; precision mediump sampler2DArray;"
                                   "in vec2 at; out vec4 result; uniform sampler2DArray picture;"
                                   "void main() { result = texture(picture, vec3(at * 2.0, floor(at.y * 2.0))); }");
    static const GLuint texture = MakeTexture(GL_TEXTURE_2D_ARRAY);
    static GLuint sampler = 0;
    if (sampler == 0) {
        glTexStorage3D(GL_TEXTURE_2D_ARRAY, 1, GL_RGBA8, 16, 16, 2);
        glGenSamplers(1, &sampler);
        glSamplerParameteri(sampler, GL_TEXTURE_WRAP_S, GL_MIRRORED_REPEAT);
        glSamplerParameteri(sampler, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    }
    const std::vector<std::uint8_t> pixels = Pattern(40, 3 * 24, frame);
    const GLenum parameters[] = {GL_UNPACK_ROW_LENGTH, GL_UNPACK_IMAGE_HEIGHT, GL_UNPACK_SKIP_PIXELS,
                                 GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_IMAGES};
    const GLint values[] = {40, 24, 11, 5, 1};
    for (std::size_t i = 0; i < std::size(parameters); ++i) {
        glPixelStorei(parameters[i], values[i]);
    }
    glBindTexture(GL_TEXTURE_2D_ARRAY, texture);
    glTexSubImage3D(GL_TEXTURE_2D_ARRAY, 0, 0, 0, 0, 16, 16, 2, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    for (const GLenum parameter : parameters) {
        glPixelStorei(parameter, 0);
    }
    glBindSampler(0, sampler);
    DrawQuad(program);
    glBindSampler(0, 0);
}

/// What was drawn is read into a buffer, and comes back from there as a texture; the program looks at it as well.
void PixelBuffers(int)
{
    constexpr int bytes = TileSize * TileSize * 4;
    static const GLuint buffer = MakeBuffer(GL_PIXEL_PACK_BUFFER, 16 + bytes, nullptr);
    static const GLuint texture = MakeTexture(GL_TEXTURE_2D);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer);
    glReadPixels(0, TileSize, TileSize, TileSize, GL_RGBA, GL_UNSIGNED_BYTE, const_cast<void*>(At(16)));
    if (!glMapBufferRange(GL_PIXEL_PACK_BUFFER, 16, bytes, GL_MAP_READ_BIT)) {
        Stage::Fail("mapping what was read");
    }
    glUnmapBuffer(GL_PIXEL_PACK_BUFFER);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, buffer);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, TileSize, TileSize, 0, GL_RGBA, GL_UNSIGNED_BYTE, At(16));
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    DrawQuad(PictureProgram());
}

/// Vertices computed by one program and caught in a buffer, copied on the driver's side, and drawn by another.
void TransformFeedback(int frame)
{
    constexpr std::size_t bytes = 4 * 6 * sizeof(float);
    static const GLuint move =
        LinkProgram("#version 300 es\nlayout(location = 0) in vec2 position; uniform float scale;"
                    "out vec2 moved; out vec4 paint;"
                    "void main() { moved = position * scale; paint = vec4(abs(position) * scale, 0.5, 1.0); }",
                    "#version 300 es\nvoid main() {}", [](GLuint program) {
                        const char* const varyings[] = {"moved", "paint"};
                        glTransformFeedbackVaryings(program, 2, varyings, GL_INTERLEAVED_ATTRIBS);
                    });
    static const GLuint caught = MakeBuffer(GL_COPY_READ_BUFFER, bytes, nullptr);
    static const GLuint copy = MakeBuffer(GL_COPY_WRITE_BUFFER, bytes, nullptr);
    glUseProgram(move);
    glUniform1f(glGetUniformLocation(move, "scale"), 0.2f + 0.8f * static_cast<float>(frame) / FrameCount);
    glBindBufferBase(GL_TRANSFORM_FEEDBACK_BUFFER, 0, caught);
    glEnable(GL_RASTERIZER_DISCARD);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, quad);
    glBeginTransformFeedback(GL_POINTS);
    glDrawArrays(GL_POINTS, 0, 4);
    glEndTransformFeedback();
    glDisable(GL_RASTERIZER_DISCARD);
    glBindBufferBase(GL_TRANSFORM_FEEDBACK_BUFFER, 0, 0);
    glBindBuffer(GL_COPY_READ_BUFFER, caught);
    glCopyBufferSubData(GL_COPY_READ_BUFFER, GL_COPY_WRITE_BUFFER, 0, 0, bytes);

    glUseProgram(FlatProgram());
    glBindBuffer(GL_ARRAY_BUFFER, copy);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 6 * sizeof(float), nullptr);
    glVertexAttribPointer(1, 4, GL_FLOAT, GL_FALSE, 6 * sizeof(float), At(2 * sizeof(float)));
    glEnableVertexAttribArray(1);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    glDisableVertexAttribArray(1);
}

/// Four samples resolved by a blit, with a query and a fence that the program waits for.
void Multisampled(int frame)
{
    static const GLuint texture = MakeStorage(TileSize);
    static GLuint framebuffers[2] = {}, renderbuffer = 0, query = 0;
    if (renderbuffer == 0) {
        framebuffers[1] = MakeFramebuffer(texture);
        glGenFramebuffers(1, framebuffers);
        glGenRenderbuffers(1, &renderbuffer);
        glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
        glRenderbufferStorageMultisample(GL_RENDERBUFFER, 4, GL_RGBA8, TileSize, TileSize);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffers[0]);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, renderbuffer);
        glGenQueries(1, &query);
    }
    GLint viewport[4];
    glGetIntegerv(GL_VIEWPORT, viewport);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffers[0]);
    glViewport(0, 0, TileSize, TileSize);
    const float back[] = {0.1f, 0.1f, 0.3f, 1};
    glClearBufferfv(GL_COLOR, 0, back);
    const float x = -0.8f + static_cast<float>(frame) / FrameCount;
    const float triangle[] = {x, -0.8f, x + 0.9f, -0.3f, x + 0.2f, 0.9f};
    glUseProgram(FlatProgram());
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, triangle);
    glVertexAttrib4f(1, 0.9f, 0.8f, 0.3f, 1);
    glBeginQuery(GL_ANY_SAMPLES_PASSED, query);
    glDrawArrays(GL_TRIANGLES, 0, 3);
    glEndQuery(GL_ANY_SAMPLES_PASSED);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffers[1]);
    glBlitFramebuffer(0, 0, TileSize, TileSize, 0, 0, TileSize, TileSize, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    const GLsync fence = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    glClientWaitSync(fence, GL_SYNC_FLUSH_COMMANDS_BIT, 1'000'000'000);
    glDeleteSync(fence);
    GLuint passed = 0;
    glGetQueryObjectuiv(query, GL_QUERY_RESULT, &passed);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glViewport(viewport[0], viewport[1], viewport[2], viewport[3]);
    glBindTexture(GL_TEXTURE_2D, texture);
    DrawQuad(PictureProgram());
}

constexpr void (*tiles[])(int frame) = {UniformBlock,     MappedBuffer, Instances,         ClientIndices,
                                        UnpackParameters, PixelBuffers, TransformFeedback, Multisampled};

} // namespace

int main(int argc, char**)
{
    Stage stage(argc > 1 ? Stage::Kind::Pbuffer : Stage::Kind::Window, Columns * TileSize,
                static_cast<int>(std::size(tiles)) / Columns * TileSize, 3);
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT);
        for (int i = 0; i < static_cast<int>(std::size(tiles)); ++i) {
            glViewport(i % Columns * TileSize, i / Columns * TileSize, TileSize, TileSize);
            tiles[i](frame);
        }
        if (const GLenum error = glGetError(); error != GL_NO_ERROR) {
            Stage::Fail("drawing");
        }
        stage.Swap();
    }
    return 0;
}
