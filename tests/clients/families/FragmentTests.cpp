// Draws whose fragments pass and fail the tests at known places: by depth, by the scissor box, by the stencil test, and
// by a shader that throws every other row away. The last but one brings its vertices and indices along, the last one
// has two triangles for each of 16 by 16 pixels.

#include <utility>
#include <vector>

#include "Families.h"

namespace {

constexpr const char* Vertex = "#version 300 es\n"
                               "layout(location = 0) in vec2 position;\n"
                               "uniform vec3 place; // left and right edge, depth\n"
                               "void main() {\n"
                               "  float x = mix(place.x, place.y, position.x * 0.5 + 0.5);\n"
                               "  gl_Position = vec4(x, position.y, place.z, 1.0);\n"
                               "}\n";
constexpr const char* Fragment = "#version 300 es\n"
                                 "precision highp float;\n"
                                 "uniform vec4 paint;\n"
                                 "uniform bool skipsRows;\n"
                                 "out vec4 color;\n"
                                 "void main() {\n"
                                 "  if (skipsRows && int(gl_FragCoord.y) % 2 == 1) discard;\n"
                                 "  color = paint;\n"
                                 "}\n";

/// Two triangles for each of 16 by 16 pixels in the corner of a picture with 256 by 256.
std::vector<float> FineMesh()
{
    constexpr int Side = 16;
    std::vector<float> mesh;
    for (int cell = 0; cell < Side * Side; ++cell)
        for (const auto& [x, y] : {std::pair(0, 0), {1, 0}, {0, 1}, {0, 1}, {1, 0}, {1, 1}})
            for (const int at : {cell % Side + x, cell / Side + y})
                mesh.push_back(static_cast<float>(at) / 128 - 1);
    return mesh;
}

} // namespace

FAMILY("fragment-tests", stage)
{
    const std::vector<float> mesh = FineMesh();
    const GLuint program = LinkProgram(Vertex, Fragment);
    const GLint place = glGetUniformLocation(program, "place");
    const GLint paint = glGetUniformLocation(program, "paint");
    const GLint skipsRows = glGetUniformLocation(program, "skipsRows");
    glUseProgram(program);
    glViewport(0, 0, 256, 256);
    glEnableVertexAttribArray(0);
    const auto draw = [&](float left, float right, float depth, float green) {
        glUniform3f(place, left, right, depth);
        glUniform4f(paint, 0.2f, green, 0.6f, 1);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    };
    for (int frame = 1; frame <= FrameCount; ++frame) {
        const float green = 0.1f * static_cast<float>(frame);
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, quad);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
        // The left half hides that half of the second draw.
        glEnable(GL_DEPTH_TEST);
        draw(-1, 0, 0, green);
        draw(-1, 1, 0.5f, 1 - green);
        glDisable(GL_DEPTH_TEST);
        // Marks the columns in the scissor box.
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, 64, 256);
        glEnable(GL_STENCIL_TEST);
        glStencilFunc(GL_ALWAYS, 1, 0xFF);
        glStencilOp(GL_KEEP, GL_KEEP, GL_REPLACE);
        draw(-1, 1, 0, green * 0.5f);
        glDisable(GL_SCISSOR_TEST);
        glStencilFunc(GL_EQUAL, 1, 0xFF);
        glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
        glEnable(GL_DEPTH_TEST);
        draw(-1, 1, -0.5f, green * 0.8f);
        glDisable(GL_DEPTH_TEST);
        glDisable(GL_STENCIL_TEST);
        glUniform1i(skipsRows, 1);
        draw(-1, 1, 0, 0.9f - green);
        // Once more after a clear, with all as it is.
        glEnable(GL_SCISSOR_TEST);
        glScissor(192, 0, 64, 256);
        glClear(GL_COLOR_BUFFER_BIT);
        glDisable(GL_SCISSOR_TEST);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        glUniform1i(skipsRows, 0);
        const GLushort corners[] = {0, 1, 2, 2, 1, 3};
        glUniform3f(place, -0.5f, 0.5f, 0);
        glDrawElements(GL_TRIANGLES, 6, GL_UNSIGNED_SHORT, corners);
        glUniform3f(place, -1, 1, 0);
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, mesh.data());
        glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(mesh.size() / 2));
        EndFrame(stage);
    }
    glDeleteProgram(program);
}
