// What programs get wrong: a blend function that was left behind, a level of a texture with other pixels, attributes
// that are read with another stride than they were written with. Each spoils a quarter of the picture.

#include "Families.h"

namespace {

constexpr GLsizei Side = 32;
constexpr GLint WrongLevel = 2;
/// From this frame on sparks are drawn, which add up; three frames later the glass is drawn again.
constexpr int FirstSparks = 4;
constexpr int GlassAgain = 7;

struct Vertex {
    float position[2];
    float colour[4];
};

void Fill(GLuint program, float red, float green, float blue, float alpha)
{
    glUniform4f(glGetUniformLocation(program, "colour"), red, green, blue, alpha);
    DrawQuad(program);
}

/// Its levels are green, and the wrong one is not.
GLuint MakeLevels()
{
    const GLuint texture = MakeTexture(GL_TEXTURE_2D);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST_MIPMAP_NEAREST);
    GLint level = 0;
    for (GLsizei side = Side; side > 0; side /= 2, ++level) {
        std::vector<std::uint8_t> pixels;
        for (int i = 0; i < side * side; ++i)
            pixels.insert(pixels.end(),
                          {static_cast<std::uint8_t>(level == WrongLevel ? 255 : 40),
                           static_cast<std::uint8_t>(level == WrongLevel ? 0 : 160 + i % 2 * 40), 60, 255});
        glTexImage2D(GL_TEXTURE_2D, level, GL_RGBA, side, side, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    }
    return texture;
}

/// A fan around the middle.
GLuint MakeFan()
{
    constexpr Vertex Vertices[] = {{{0, 0}, {1, 1, 1, 1}},           {{-1, -1}, {0.2f, 0.4f, 0.9f, 1}},
                                   {{1, -1}, {0.2f, 0.4f, 0.9f, 1}}, {{1, 1}, {0.2f, 0.4f, 0.9f, 1}},
                                   {{-1, 1}, {0.2f, 0.4f, 0.9f, 1}}, {{-1, -1}, {0.2f, 0.4f, 0.9f, 1}}};
    return MakeBuffer(GL_ARRAY_BUFFER, sizeof Vertices, Vertices);
}

} // namespace

FAMILY("mistakes", stage)
{
    const GLuint plain = LinkProgram(pictureVertex, "#version 300 es\nprecision mediump float; out vec4 result;"
                                                    "uniform vec4 colour; void main() { result = colour; }");
    const GLuint tiled =
        LinkProgram(pictureVertex, "#version 300 es\nprecision mediump float; in vec2 at; out vec4 result;"
                                   "uniform sampler2D picture; uniform float repeat;"
                                   "void main() { result = texture(picture, at * repeat); }");
    const GLuint shaded = LinkProgram(flatVertex, flatFragment);
    const GLuint levels = MakeLevels();
    const GLuint fan = MakeFan();
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glClearColor(0.1f, 0.1f, 0.15f, 1);
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT);
        Quarter(0);
        glUseProgram(plain);
        Fill(plain, 0.8f, 0.5f, 0.2f, 1);
        glEnable(GL_BLEND);
        if (frame < FirstSparks || frame >= GlassAgain)
            Fill(plain, 0.5f, 0.7f, 0.9f, 0.5f);
        if (frame == FirstSparks)
            glBlendFunc(GL_ONE, GL_ONE);
        Quarter(3);
        if (frame >= FirstSparks && frame < GlassAgain)
            Fill(plain, 0.1f * static_cast<float>(frame), 0.1f, 0, 1);
        glDisable(GL_BLEND);

        Quarter(1);
        glUseProgram(tiled);
        glBindTexture(GL_TEXTURE_2D, levels);
        // The levels from the largest on, a smaller one in each frame.
        glUniform1f(glGetUniformLocation(tiled, "repeat"), 3.0f * static_cast<float>(1 << (frame - 1) % 4));
        DrawQuad(tiled);

        Quarter(2);
        glUseProgram(shaded);
        glBindBuffer(GL_ARRAY_BUFFER, fan);
        glEnableVertexAttribArray(1);
        const GLsizei stride = frame < GlassAgain ? sizeof(Vertex) : sizeof(Vertex) - sizeof(float);
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, sizeof(Vertex), At(offsetof(Vertex, position)));
        glVertexAttribPointer(1, 4, GL_FLOAT, GL_FALSE, stride, At(offsetof(Vertex, colour)));
        glDrawArrays(GL_TRIANGLE_FAN, 0, 6);
        glDisableVertexAttribArray(1);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        EndFrame(stage);
    }
}
