// Vertex array objects: each with buffers, formats, bindings and indices of its own, beside the default one, which
// draws from memory. Formats apart from bindings, buffers that are deleted while an array holds them, new names that
// were used before.

#include "Families.h"

namespace {

struct Vertex {
    std::int16_t x, y;
    std::uint32_t paint; ///< 10 bits each of red, green and blue, 2 of alpha
};

constexpr std::uint32_t Paint(std::uint32_t red, std::uint32_t green, std::uint32_t blue)
{
    return red | green << 10 | blue << 20 | 3u << 30;
}

} // namespace

FAMILY("vertex-arrays", stage)
{
    const Vertex vertices[] = {{-30000, -30000, Paint(1000, 100, 0)},
                               {30000, -30000, Paint(0, 900, 300)},
                               {-30000, 30000, Paint(100, 200, 1000)},
                               {30000, 30000, Paint(900, 900, 100)},
                               {0, 32000, Paint(1023, 1023, 1023)}};
    const std::uint8_t orders[2][6] = {{0, 1, 2, 2, 1, 3}, {0, 1, 4, 1, 3, 4}};
    GLuint arrays[2] = {}, indices[2] = {};
    const GLuint buffer = MakeBuffer(GL_ARRAY_BUFFER, sizeof vertices, vertices);
    glGenVertexArrays(2, arrays);
    for (int i = 0; i < 2; ++i) {
        glBindVertexArray(arrays[i]);
        indices[i] = MakeBuffer(GL_ELEMENT_ARRAY_BUFFER, sizeof orders[i], orders[i]);
        // Attributes 0 and 1 read through bindings 3 and 2.
        glVertexAttribFormat(0, 2, GL_SHORT, GL_TRUE, 0);
        glVertexAttribBinding(0, 3);
        glBindVertexBuffer(3, buffer, 0, sizeof(Vertex));
        glVertexAttribFormat(1, 4, GL_UNSIGNED_INT_2_10_10_10_REV, GL_TRUE, offsetof(Vertex, paint));
        glVertexAttribBinding(1, 2);
        glBindVertexBuffer(2, buffer, i * static_cast<GLintptr>(sizeof(Vertex)), sizeof(Vertex));
        glEnableVertexAttribArray(0);
        glEnableVertexAttribArray(1);
    }
    // No array but those bound keeps the indices, and they go on using them.
    glBindVertexArray(0);
    glDeleteBuffers(2, indices);
    glUseProgram(FlatProgram());
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT);
        for (int i = 0; i < 2; ++i) {
            Quarter(i);
            glBindVertexArray(arrays[i]);
            if (i == 1)
                glBindVertexBuffer(2, buffer, frame % 2 * static_cast<GLintptr>(sizeof(Vertex)), sizeof(Vertex));
            glDrawElements(GL_TRIANGLES, frame % 3 == 0 ? 3 : 6, GL_UNSIGNED_BYTE, nullptr);
        }

        // The default array draws from memory, whatever the others hold.
        Quarter(2);
        glBindVertexArray(0);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        glEnableVertexAttribArray(0);
        glVertexAttribPointer(0, 2, GL_SHORT, GL_TRUE, sizeof(Vertex), &vertices[frame % 2].x);
        glVertexAttrib4f(1, 0.9f, 0.2f, static_cast<float>(frame) / FrameCount, 1);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);

        // Lives for one draw.
        Quarter(3);
        GLuint brief = 0;
        glGenVertexArrays(1, &brief);
        glBindVertexArray(brief);
        glBindBuffer(GL_ARRAY_BUFFER, buffer);
        glVertexAttribPointer(0, 2, GL_SHORT, GL_TRUE, sizeof(Vertex), At(static_cast<std::size_t>(frame % 2) * 8));
        glVertexAttribPointer(1, 4, GL_UNSIGNED_INT_2_10_10_10_REV, GL_TRUE, sizeof(Vertex), At(4));
        glVertexAttribDivisor(1, 1);
        glEnableVertexAttribArray(0);
        glEnableVertexAttribArray(1);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        glDeleteVertexArrays(1, &brief);
        EndFrame(stage);
    }
}
