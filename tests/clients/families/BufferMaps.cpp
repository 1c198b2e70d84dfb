// Buffers that are filled through mappings: as a whole, in a ring, several at a time, and read before they are written.

#include "Families.h"

namespace {

constexpr std::size_t QuadBytes = sizeof quad;

/// A triangle strip that covers less with each step.
void WriteStep(void* to, int step)
{
    WriteQuad(to, 1.0f - 0.08f * static_cast<float>(step));
}

void* Map(GLenum target, std::size_t offset, std::size_t bytes, GLbitfield access)
{
    void* const memory =
        glMapBufferRange(target, static_cast<GLintptr>(offset), static_cast<GLsizeiptr>(bytes), access);
    if (!memory)
        Stage::Fail("mapping a buffer");
    return memory;
}

void DrawFrom(GLuint buffer, std::size_t offset, float red, float green)
{
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, At(offset));
    glVertexAttrib4f(1, red, green, 0.3f, 1);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

} // namespace

FAMILY("buffer-maps", stage)
{
    const auto mapBuffer = Load<PFNGLMAPBUFFEROESPROC>("glMapBufferOES");
    const auto unmapBuffer = Load<PFNGLUNMAPBUFFEROESPROC>("glUnmapBufferOES");
    const GLuint whole = MakeBuffer(GL_ARRAY_BUFFER, QuadBytes, nullptr);
    const GLuint ring = MakeBuffer(GL_ARRAY_BUFFER, 3 * QuadBytes, nullptr);
    const GLuint kept = MakeBuffer(GL_ARRAY_BUFFER, QuadBytes, quad);
    const GLuint parts = MakeBuffer(GL_ARRAY_BUFFER, 16 + QuadBytes, nullptr);
    const GLuint indices = MakeBuffer(GL_ELEMENT_ARRAY_BUFFER, 6, nullptr);
    glUseProgram(FlatProgram());
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT);

        Quarter(0);
        glBindBuffer(GL_ARRAY_BUFFER, whole);
        WriteStep(mapBuffer(GL_ARRAY_BUFFER, GL_WRITE_ONLY_OES), frame);
        unmapBuffer(GL_ARRAY_BUFFER);
        DrawFrom(whole, 0, 0.9f, 0.2f);

        // A ring for streaming: the driver is told that nobody uses the range.
        Quarter(1);
        const std::size_t at = static_cast<std::size_t>(frame % 3) * QuadBytes;
        glBindBuffer(GL_ARRAY_BUFFER, ring);
        WriteStep(Map(GL_ARRAY_BUFFER, at, QuadBytes,
                      GL_MAP_WRITE_BIT | GL_MAP_INVALIDATE_RANGE_BIT | GL_MAP_UNSYNCHRONIZED_BIT),
                  FrameCount - frame);
        glUnmapBuffer(GL_ARRAY_BUFFER);
        DrawFrom(ring, at, 0.2f, 0.9f);

        // What is there stays and is changed a little; the first flush is of one corner, the second of another.
        Quarter(2);
        glBindBuffer(GL_ARRAY_BUFFER, kept);
        auto* const corners =
            static_cast<float*>(Map(GL_ARRAY_BUFFER, 0, QuadBytes, GL_MAP_READ_BIT | GL_MAP_WRITE_BIT));
        corners[1] *= 0.8f;
        corners[6] *= 0.9f;
        glUnmapBuffer(GL_ARRAY_BUFFER);
        DrawFrom(kept, 0, 0.9f, 0.9f);
        glBindBuffer(GL_COPY_WRITE_BUFFER, parts);
        auto* const flushed = static_cast<std::uint8_t*>(
            Map(GL_COPY_WRITE_BUFFER, 16, QuadBytes, GL_MAP_WRITE_BIT | GL_MAP_FLUSH_EXPLICIT_BIT));
        WriteStep(flushed, 2 + frame % 4);
        glFlushMappedBufferRange(GL_COPY_WRITE_BUFFER, 0, QuadBytes / 2);
        glFlushMappedBufferRange(GL_COPY_WRITE_BUFFER, QuadBytes / 2, QuadBytes / 2);
        glUnmapBuffer(GL_COPY_WRITE_BUFFER);
        DrawFrom(parts, 16, 0.3f, 0.3f);

        // Vertices and indices are open together, and two buffers one after the other at the same target.
        Quarter(3);
        glBindBuffer(GL_ARRAY_BUFFER, whole);
        void* const first = Map(GL_ARRAY_BUFFER, 0, QuadBytes, GL_MAP_WRITE_BIT | GL_MAP_INVALIDATE_BUFFER_BIT);
        glBindBuffer(GL_ARRAY_BUFFER, parts);
        void* const second = Map(GL_ARRAY_BUFFER, 16, QuadBytes, GL_MAP_WRITE_BIT);
        auto* const order = static_cast<std::uint16_t*>(Map(GL_ELEMENT_ARRAY_BUFFER, 0, 6, GL_MAP_WRITE_BIT));
        WriteStep(first, 1);
        WriteStep(second, 6);
        for (int i = 0; i < 3; ++i)
            order[i] = static_cast<std::uint16_t>((frame + i) % 4);
        glUnmapBuffer(GL_ELEMENT_ARRAY_BUFFER);
        glUnmapBuffer(GL_ARRAY_BUFFER);
        glBindBuffer(GL_ARRAY_BUFFER, whole);
        glUnmapBuffer(GL_ARRAY_BUFFER);
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
        glVertexAttrib4f(1, 0.2f, 0.4f, 0.9f, 1);
        glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, nullptr);
        DrawFrom(parts, 16, 0.8f, 0.8f);
        EndFrame(stage);
    }
    glDeleteBuffers(1, &indices);
}
