// Buffers that stay mapped while the driver uses them: a ring of vertices and a uniform block that are coherent, so
// that no call announces what the program writes, and pixels whose changes it flushes.

#include <cstring>

#include "Families.h"

namespace {

constexpr GLbitfield Coherent = GL_MAP_WRITE_BIT | GL_MAP_PERSISTENT_BIT_EXT | GL_MAP_COHERENT_BIT_EXT;
constexpr GLbitfield Flushed = GL_MAP_WRITE_BIT | GL_MAP_PERSISTENT_BIT_EXT;
constexpr int Side = 32;
constexpr int Segments = 3;

} // namespace

FAMILY("persistent-maps", stage)
{
    const GLuint program =
        LinkProgram("#version 300 es\nlayout(location = 0) in vec2 position;"
                    "layout(std140) uniform Place { vec4 offset; vec4 paint; }; out vec4 shade;"
                    "void main() { shade = paint; gl_Position = vec4(position + offset.xy, 0.0, 1.0); }",
                    flatFragment);
    float* const vertices =
        static_cast<float*>(MapForGood(GL_ARRAY_BUFFER, Segments * sizeof quad, Coherent, Coherent));
    float* const block = static_cast<float*>(MapForGood(GL_UNIFORM_BUFFER, 32, Coherent, Coherent));
    auto* const order = static_cast<std::uint16_t*>(MapForGood(GL_ELEMENT_ARRAY_BUFFER, 4096 * 2, Coherent, Coherent));
    auto* const pixels = static_cast<std::uint8_t*>(
        MapForGood(GL_PIXEL_UNPACK_BUFFER, Side * Side * 4, Flushed, Flushed | GL_MAP_FLUSH_EXPLICIT_BIT));
    GLint uniforms = 0;
    glGetIntegerv(GL_UNIFORM_BUFFER_BINDING, &uniforms);
    glBindBufferBase(GL_UNIFORM_BUFFER, 0, static_cast<GLuint>(uniforms));
    const GLuint texture = MakeStorage(Side);
    GLsync fences[Segments] = {};
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        const int segment = frame % Segments;
        glClear(GL_COLOR_BUFFER_BIT);
        if (fences[segment]) {
            glClientWaitSync(fences[segment], GL_SYNC_FLUSH_COMMANDS_BIT, GL_TIMEOUT_IGNORED);
            glDeleteSync(fences[segment]);
        }
        WriteQuad(vertices + 8 * segment, 0.2f + 0.02f * static_cast<float>(frame));
        glUseProgram(program);
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, At(static_cast<std::size_t>(segment) * sizeof quad));
        glViewport(0, 0, 256, 128);
        // Between the draws nothing but memory changes; the program waits, since the driver may be late.
        for (int i = 0; i < 5; ++i) {
            const float step = static_cast<float>(i) / 5;
            const float place[] = {2 * step - 0.8f, 0.1f, 0, 0, step, 0.9f - step, 0.1f * static_cast<float>(frame), 1};
            std::memcpy(block, place, sizeof place);
            glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
            glFinish();
        }
        glViewport(0, 128, 128, 128);
        for (int i = 0; i < 3; ++i)
            order[4000 + i] = static_cast<std::uint16_t>((frame + i) % 4);
        glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, At(8000));
        fences[segment] = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);

        const std::vector<std::uint8_t> pattern = Pattern(Side, 2, frame);
        std::memcpy(pixels + frame * Side * 4, pattern.data(), pattern.size());
        glFlushMappedBufferRange(GL_PIXEL_UNPACK_BUFFER, frame * Side * 4, static_cast<GLsizeiptr>(pattern.size()));
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, Side, Side, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
        Quarter(3);
        glUseProgram(PictureProgram());
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, At(static_cast<std::size_t>(segment) * sizeof quad));
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        glFinish();
        EndFrame(stage);
    }
}
