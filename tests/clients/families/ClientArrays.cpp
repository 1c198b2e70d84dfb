// Vertices and indices in the program's memory, alone and mixed with buffers.

#include <cmath>

#include "Families.h"

namespace {

constexpr int Corners = 12;

struct Vertex {
    float x, y;
    std::uint8_t colour[4];
};

/// A fan around a centre, which turns; after `skipped` vertices that no index names.
std::vector<Vertex> Fan(std::size_t skipped, int frame)
{
    std::vector<Vertex> vertices(skipped, Vertex{9, 9, {255, 255, 255, 255}});
    vertices.push_back({0, 0, {255, 255, 255, 255}});
    for (int i = 0; i < Corners; ++i) {
        const float angle = static_cast<float>(i) * 6.2831853f / Corners + static_cast<float>(frame) * 0.1f;
        vertices.push_back({std::cos(angle), std::sin(angle), {Wave(i), Wave(frame + i), Wave(5 * i), 255}});
    }
    return vertices;
}

/// Every second triangle of the fan.
template <class Index> std::vector<Index> Indices(int first)
{
    std::vector<Index> indices;
    for (int i = 1; i < Corners; i += 2)
        for (const int corner : {0, i, i + 1})
            indices.push_back(static_cast<Index>(first + corner));
    return indices;
}

void PointAt(const std::vector<Vertex>& vertices)
{
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, sizeof(Vertex), &vertices[0].x);
    glVertexAttribPointer(1, 4, GL_UNSIGNED_BYTE, GL_TRUE, sizeof(Vertex), vertices[0].colour);
}

} // namespace

FAMILY("client-arrays", stage)
{
    const GLuint instanced = LinkProgram(
        "#version 300 es\nlayout(location = 0) in vec2 position; layout(location = 1) in vec4 colour;"
        "layout(location = 2) in ivec2 place; out vec4 shade;"
        "void main() { shade = colour; gl_Position = vec4(position * 0.3 + vec2(place) / 127.0, 0.0, 1.0); }",
        flatFragment);
    const GLuint indexBuffer = MakeBuffer(GL_ELEMENT_ARRAY_BUFFER, 256, nullptr);
    const GLuint vertexBuffer = MakeBuffer(GL_ARRAY_BUFFER, (Corners + 1) * sizeof(Vertex), nullptr);
    glEnableVertexAttribArray(0);
    glEnableVertexAttribArray(1);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT);
        glUseProgram(FlatProgram());
        const std::vector<Vertex> fan = Fan(static_cast<std::size_t>(frame % 3), frame);

        // All in memory, which is the program's own again after the call; a restart index names no vertex.
        Quarter(0);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
        std::vector<Vertex> borrowed = fan;
        PointAt(borrowed);
        std::vector<std::uint8_t> restarted = Indices<std::uint8_t>(frame % 3);
        restarted.insert(restarted.begin() + 6, 0xFF);
        glEnable(GL_PRIMITIVE_RESTART_FIXED_INDEX);
        glDrawRangeElements(GL_TRIANGLES, static_cast<GLuint>(frame % 3), static_cast<GLuint>(frame % 3 + Corners),
                            static_cast<GLsizei>(restarted.size()), GL_UNSIGNED_BYTE, restarted.data());
        glDisable(GL_PRIMITIVE_RESTART_FIXED_INDEX);
        for (Vertex& vertex : borrowed)
            vertex = {};

        // Indices in a buffer, whose contents change in part.
        Quarter(1);
        PointAt(fan);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indexBuffer);
        const std::vector<std::uint16_t> indices = Indices<std::uint16_t>(frame % 3);
        if (frame < 4)
            glBufferSubData(GL_ELEMENT_ARRAY_BUFFER, 6, static_cast<GLsizeiptr>(indices.size() * 2), indices.data());
        else
            glBufferSubData(GL_ELEMENT_ARRAY_BUFFER, 12, 6, indices.data());
        glDrawElements(GL_TRIANGLES, frame < 4 ? Corners * 3 / 2 : 6, GL_UNSIGNED_SHORT, At(6));

        // Positions in a buffer, colours and indices in memory, with a base that is added to the indices.
        Quarter(2);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
        glBindBuffer(GL_ARRAY_BUFFER, vertexBuffer);
        const std::vector<Vertex> packed = Fan(0, -frame);
        glBufferSubData(GL_ARRAY_BUFFER, 0, static_cast<GLsizeiptr>(packed.size() * sizeof(Vertex)), packed.data());
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, sizeof(Vertex), nullptr);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        std::uint8_t colours[Corners + 1][3];
        for (int i = 0; i <= Corners; ++i) {
            colours[i][0] = Wave(3 * i + frame);
            colours[i][1] = Wave(i);
            colours[i][2] = 200;
        }
        glVertexAttribPointer(1, 3, GL_UNSIGNED_BYTE, GL_TRUE, 0, colours);
        // The buffer that is bound now has nothing to do with the draw.
        glBindBuffer(GL_ARRAY_BUFFER, vertexBuffer);
        glDrawElementsBaseVertex(GL_TRIANGLES, Corners * 3 / 2, GL_UNSIGNED_INT, Indices<std::uint32_t>(7).data(), -7);

        // One place for every two of the instances.
        Quarter(3);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        glUseProgram(instanced);
        PointAt(fan);
        const std::int8_t places[] = {-80, -80, 0, 80, 0, 0, 80, 80, -80, 0, 0, 80, -40, 40, 0};
        glVertexAttribIPointer(2, 2, GL_BYTE, 3, places);
        glVertexAttribDivisor(2, 2);
        glEnableVertexAttribArray(2);
        glDrawElementsInstanced(GL_TRIANGLES, Corners * 3 / 2, GL_UNSIGNED_SHORT,
                                Indices<std::uint16_t>(frame % 3).data(), 1 + frame);
        glDisableVertexAttribArray(2);
        glVertexAttribDivisor(2, 0);
        EndFrame(stage);
    }
}
