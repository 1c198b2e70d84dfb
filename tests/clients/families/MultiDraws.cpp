// Several draws by one call, and instances that do not begin with the first one, with vertices and indices in memory
// and in buffers.

#include "Families.h"

namespace {

constexpr int Bars = 6;

/// Bars side by side, four vertices each: a strip.
std::vector<float> Row(int frame)
{
    std::vector<float> vertices;
    for (int i = 0; i < Bars; ++i) {
        const float left = -0.9f + 0.3f * static_cast<float>(i);
        const float top = 0.1f * static_cast<float>((frame + i * 3) % 9);
        vertices.insert(vertices.end(), {left, -0.9f, left + 0.2f, -0.9f, left, top, left + 0.2f, top});
    }
    return vertices;
}

} // namespace

FAMILY("multi-draws", stage)
{
    const auto arrays = Load<PFNGLMULTIDRAWARRAYSEXTPROC>("glMultiDrawArraysEXT");
    const auto elements = Load<PFNGLMULTIDRAWELEMENTSEXTPROC>("glMultiDrawElementsEXT");
    const auto basedElements = Load<PFNGLMULTIDRAWELEMENTSBASEVERTEXEXTPROC>("glMultiDrawElementsBaseVertexEXT");
    const auto instances = Load<PFNGLDRAWARRAYSINSTANCEDBASEINSTANCEEXTPROC>("glDrawArraysInstancedBaseInstanceEXT");
    const auto indexed = Load<PFNGLDRAWELEMENTSINSTANCEDBASEINSTANCEEXTPROC>("glDrawElementsInstancedBaseInstanceEXT");
    const auto based = Load<PFNGLDRAWELEMENTSINSTANCEDBASEVERTEXBASEINSTANCEEXTPROC>(
        "glDrawElementsInstancedBaseVertexBaseInstanceEXT");
    const std::uint8_t colours[Bars][4] = {{250, 60, 60, 255}, {60, 250, 60, 255},  {60, 60, 250, 255},
                                           {250, 250, 60, 90}, {250, 60, 250, 255}, {60, 250, 250, 255}};
    const std::uint16_t strips[] = {0, 1, 2, 3, 8, 9, 10, 11, 4, 5, 6};
    const GLuint indexBuffer = MakeBuffer(GL_ELEMENT_ARRAY_BUFFER, sizeof strips, strips);
    const GLuint vertexBuffer = MakeBuffer(GL_ARRAY_BUFFER, sizeof(float) * 8 * Bars, nullptr);
    glEnableVertexAttribArray(0);
    glEnableVertexAttribArray(1);
    glUseProgram(FlatProgram());
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT);
        const std::vector<float> row = Row(frame);
        const auto base = static_cast<GLuint>(frame % 3);

        // All in memory: bars of which each second one is left out, in the colours of their vertices.
        Quarter(0);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, row.data());
        std::vector<std::uint8_t> shades;
        for (int i = 0; i < Bars * 4; ++i)
            shades.insert(shades.end(), {Wave(i), Wave(frame + i), 200, 255});
        glVertexAttribPointer(1, 4, GL_UNSIGNED_BYTE, GL_TRUE, 0, shades.data());
        const GLint firsts[] = {16, 0, 8};
        const GLsizei counts[] = {4, 4, frame % 2 == 0 ? 4 : 0};
        arrays(GL_TRIANGLE_STRIP, firsts, counts, 3);

        // Indices in memory, and for some draws a base that is added to them.
        Quarter(1);
        const std::uint16_t last[] = {20, 21, 22, 23};
        const void* const lists[] = {strips + 4, last, strips};
        elements(GL_TRIANGLE_STRIP, counts, GL_UNSIGNED_SHORT, lists, 2);
        const GLint bases[] = {8, -4, 4};
        basedElements(GL_TRIANGLE_STRIP, counts, GL_UNSIGNED_SHORT, lists, 3, bases);

        // The colours of instances, from memory and from a buffer.
        Quarter(2);
        glVertexAttribDivisor(1, 1);
        glVertexAttribPointer(1, 4, GL_UNSIGNED_BYTE, GL_TRUE, 0, colours);
        instances(GL_TRIANGLE_STRIP, 4, 8, 2, base);
        glBindBuffer(GL_ARRAY_BUFFER, vertexBuffer);
        glBufferSubData(GL_ARRAY_BUFFER, 0, sizeof(float) * 8 * Bars, row.data());
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
        indexed(GL_TRIANGLE_STRIP, 4, GL_UNSIGNED_SHORT, strips, 1, base + 2);

        // Indices in a buffer.
        Quarter(3);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indexBuffer);
        based(GL_TRIANGLE_STRIP, 4, GL_UNSIGNED_SHORT, At(8), 3, 12, base + 1);
        glVertexAttribDivisor(1, 0);
        glDisableVertexAttribArray(1);
        const void* const places[] = {At(0), At(16)};
        const GLsizei parts[] = {4, 3};
        glVertexAttrib4f(1, 0.8f, 0.1f * static_cast<float>(frame), 0.2f, 1);
        elements(GL_TRIANGLE_STRIP, parts, GL_UNSIGNED_SHORT, places, 2);
        glEnableVertexAttribArray(1);
        EndFrame(stage);
    }
}
