// A cube that turns in front of a coloured sky, and on whose faces a star turns. Draws the same pixels in every run:
// time is the frame number. Uses what simple OpenGL ES 2.0 applications use: shaders, buffers, a client-side vertex
// array, a texture that is rendered to, uploads and sub-uploads, depth test, blending and scissor.

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "Drawing.h"
#include "Matrix.h"
#include "Shaders.h"
#include "Stage.h"

namespace {

constexpr int Width = 320;
constexpr int Height = 240;
constexpr int StarSize = 128;
constexpr GLuint PositionAttribute = 0;
constexpr GLuint SecondAttribute = 1;
constexpr float Pi = 3.14159265f;

struct Options {
    int frames = 60;
    int sleepMs = 0;
    Stage::Kind kind = Stage::Kind::Window;
    int readbackFrame = 0;
    std::string readbackFile;
    int resizeFrame = 0;
};

const char Usage[] = "usage: spinning [--frames N] [--pbuffer] [--sleep MS] [--readback N:FILE] [--resize N]\n"
                     "  --frames N         draw N frames (60), 0 for ever\n"
                     "  --pbuffer          draw off screen, without a compositor\n"
                     "  --sleep MS         wait so long after each frame\n"
                     "  --readback N:FILE  write frame N (from 1) to FILE: raw RGBA, bottom row first\n"
                     "  --resize N         after frame N, make the window half as large again\n";

GLuint Link(const char* vertex, const char* fragment, const char* second)
{
    return LinkProgram(
        vertex, fragment,
        [second](GLuint program) {
            glBindAttribLocation(program, PositionAttribute, "position");
            glBindAttribLocation(program, SecondAttribute, second);
        });
}

/// Left bound.
GLuint SmoothTexture()
{
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    return texture;
}

/// Flat colours, one per vertex: the sky and the star.
class Painter {
public:
    Painter()
        : m_program(Link("attribute vec2 position; attribute vec3 colour; uniform mat2 turn; varying vec3 shade;"
                         "void main() { shade = colour; gl_Position = vec4(turn * position, 0.0, 1.0); }",
                         "precision mediump float; varying vec3 shade; uniform float alpha;"
                         "void main() { gl_FragColor = vec4(shade, alpha); }",
                         "colour")),
          m_turn(glGetUniformLocation(m_program, "turn")), m_alpha(glGetUniformLocation(m_program, "alpha"))
    {
    }
    ~Painter() { glDeleteProgram(m_program); }

    /// Draws from memory of the application's own: (x, y, red, green, blue) a vertex.
    void Draw(GLenum mode, const std::vector<float>& vertices, float angle, float alpha)
    {
        const float c = std::cos(angle);
        const float s = std::sin(angle);
        const float turn[] = {c, s, -s, c};
        glUseProgram(m_program);
        glUniformMatrix2fv(m_turn, 1, GL_FALSE, turn);
        glUniform1f(m_alpha, alpha);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        const GLsizei stride = 5 * sizeof(float);
        glVertexAttribPointer(PositionAttribute, 2, GL_FLOAT, GL_FALSE, stride, vertices.data());
        glVertexAttribPointer(SecondAttribute, 3, GL_FLOAT, GL_FALSE, stride, vertices.data() + 2);
        glDrawArrays(mode, 0, static_cast<GLsizei>(vertices.size() / 5));
    }

private:
    GLuint m_program;
    GLint m_turn;
    GLint m_alpha;
};

/// A picture that is drawn anew each frame, to lie on the cube.
class Star {
public:
    Star()
    {
        m_texture = SmoothTexture();
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, StarSize, StarSize, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
        m_framebuffer = MakeFramebuffer(m_texture);
        if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE)
            Stage::Fail("making a framebuffer");
        m_vertices = {0, 0, 1.0f, 0.95f, 0.7f};
        for (int i = 0; i <= 10; ++i) {
            const float angle = static_cast<float>(i) * Pi / 5;
            const float radius = i % 2 == 0 ? 0.8f : 0.35f;
            m_vertices.insert(m_vertices.end(), {radius * std::sin(angle), radius * std::cos(angle), 1.0f,
                                                 i % 2 == 0 ? 0.45f : 0.7f, 0.1f});
        }
    }
    ~Star()
    {
        glDeleteFramebuffers(1, &m_framebuffer);
        glDeleteTextures(1, &m_texture);
    }

    void Draw(Painter& painter, float angle)
    {
        glBindFramebuffer(GL_FRAMEBUFFER, m_framebuffer);
        glViewport(0, 0, StarSize, StarSize);
        glClearColor(0.16f, 0.22f, 0.42f, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        // A frame round the face.
        glEnable(GL_SCISSOR_TEST);
        glScissor(4, 4, StarSize - 8, StarSize - 8);
        glClearColor(0.27f, 0.38f, 0.68f, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glDisable(GL_SCISSOR_TEST);
        painter.Draw(GL_TRIANGLE_FAN, m_vertices, angle, 1);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glBindTexture(GL_TEXTURE_2D, m_texture);
    }

private:
    GLuint m_texture = 0;
    GLuint m_framebuffer = 0;
    std::vector<float> m_vertices;
};

/// Six faces with a normal each, in one vertex and one index buffer; texture unit 1 holds a light map.
class Cube {
public:
    Cube()
        : m_program(
              Link("attribute vec3 position; attribute vec3 normal; uniform mat4 view; uniform mat4 model;"
                   "varying vec2 at; varying float light;"
                   "void main() {"
                   "  vec3 turned = mat3(model) * normal;"
                   "  light = 0.25 + 0.75 * max(0.0, dot(turned, normalize(vec3(0.4, 0.6, 0.9))));"
                   "  vec3 side = abs(normal.x) > 0.5 ? position.zyx : abs(normal.y) > 0.5 ? position.xzy : position;"
                   "  at = side.xy * 0.5 + 0.5;"
                   "  gl_Position = view * model * vec4(position, 1.0); }",
                   "precision mediump float; varying vec2 at; varying float light;"
                   "uniform sampler2D picture; uniform sampler2D ramp;"
                   "void main() { gl_FragColor = texture2D(picture, at) * texture2D(ramp, vec2(light, 0.5)); }",
                   "normal")),
          m_view(glGetUniformLocation(m_program, "view")), m_model(glGetUniformLocation(m_program, "model"))
    {
        std::vector<float> vertices;
        std::vector<GLushort> indices;
        for (int axis = 0; axis < 3; ++axis) {
            for (const float side : {-1.0f, 1.0f}) {
                const auto first = static_cast<GLushort>(vertices.size() / 6);
                for (int corner = 0; corner < 4; ++corner) {
                    std::array<float, 6> vertex{};
                    vertex[axis] = side;
                    vertex[(axis + 1) % 3] = corner % 2 == 0 ? -1.0f : 1.0f;
                    vertex[(axis + 2) % 3] = (corner < 2 ? -1.0f : 1.0f) * side;
                    vertex[3 + axis] = side;
                    vertices.insert(vertices.end(), vertex.begin(), vertex.end());
                }
                for (const int corner : {0, 1, 2, 2, 1, 3})
                    indices.push_back(static_cast<GLushort>(first + corner));
            }
        }
        m_indexCount = static_cast<GLsizei>(indices.size());
        glGenBuffers(2, m_buffers);
        glBindBuffer(GL_ARRAY_BUFFER, m_buffers[0]);
        glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(vertices.size() * sizeof(float)), vertices.data(),
                     GL_STATIC_DRAW);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, m_buffers[1]);
        const auto indexBytes = static_cast<GLsizeiptr>(indices.size() * sizeof(GLushort));
        glBufferData(GL_ELEMENT_ARRAY_BUFFER, indexBytes, nullptr, GL_DYNAMIC_DRAW);
        glBufferSubData(GL_ELEMENT_ARRAY_BUFFER, 0, indexBytes, indices.data());
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
        MakeRamp();

        glUseProgram(m_program);
        glUniform1i(glGetUniformLocation(m_program, "picture"), 0);
        glUniform1i(glGetUniformLocation(m_program, "ramp"), 1);
    }
    ~Cube()
    {
        glDeleteBuffers(2, m_buffers);
        glDeleteTextures(1, &m_ramp);
        glDeleteProgram(m_program);
    }

    void Draw(float aspect, float angle)
    {
        const Matrix view = Multiply(Perspective(aspect), MoveBack(5));
        const Matrix model = Multiply(RotateX(0.45f), RotateY(angle));
        glUseProgram(m_program);
        glUniformMatrix4fv(m_view, 1, GL_FALSE, view.data());
        glUniformMatrix4fv(m_model, 1, GL_FALSE, model.data());
        glBindBuffer(GL_ARRAY_BUFFER, m_buffers[0]);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, m_buffers[1]);
        const GLsizei stride = 6 * sizeof(float);
        glVertexAttribPointer(PositionAttribute, 3, GL_FLOAT, GL_FALSE, stride, nullptr);
        glVertexAttribPointer(SecondAttribute, 3, GL_FLOAT, GL_FALSE, stride,
                              reinterpret_cast<const void*>(3 * sizeof(float)));
        glEnable(GL_DEPTH_TEST);
        glDrawElements(GL_TRIANGLES, m_indexCount, GL_UNSIGNED_SHORT, nullptr);
        glDisable(GL_DEPTH_TEST);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    }

private:
    /// Rows of 3-byte pixels whose length is no multiple of four, the second half in an upload of its own.
    void MakeRamp()
    {
        constexpr int Steps = 15;
        std::vector<std::uint8_t> pixels;
        for (int row = 0; row < 2; ++row) {
            for (int i = 0; i < Steps; ++i) {
                const auto value = static_cast<std::uint8_t>(255 * (i + 1) / Steps);
                pixels.insert(pixels.end(), {value, value, static_cast<std::uint8_t>(40 + value * 215 / 255)});
            }
        }
        glActiveTexture(GL_TEXTURE1);
        m_ramp = SmoothTexture();
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, Steps, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 1, Steps, 1, GL_RGB, GL_UNSIGNED_BYTE, pixels.data() + 3 * Steps);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
        glActiveTexture(GL_TEXTURE0);
    }

    GLuint m_program;
    GLint m_view;
    GLint m_model;
    GLuint m_buffers[2] = {};
    GLuint m_ramp = 0;
    GLsizei m_indexCount = 0;
};

const std::vector<float> sky = {-1, -1, 0.93f, 0.91f, 0.85f, 1, -1, 0.93f, 0.91f, 0.85f,
                                -1, 1,  0.35f, 0.55f, 0.80f, 1, 1,  0.20f, 0.35f, 0.65f};
/// A veil over the lower part, to have something blended.
const std::vector<float> haze = {-1, -1, 1, 1, 1, 1, -1, 1, 1, 1, -1, -0.72f, 1, 1, 1, 1, -0.72f, 1, 1, 1};

void WriteFrame(const std::string& path, int width, int height)
{
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width) * height * 4);
    glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(pixels.data()), static_cast<std::streamsize>(pixels.size()));
    file.close();
    if (!file) {
        std::fprintf(stderr, "spinning: cannot write %s\n", path.c_str());
        std::exit(1);
    }
}

Options Parse(int argc, char** argv)
{
    Options options;
    const std::map<std::string, std::function<void(const std::string&)>> withValue = {
        {"--frames", [&](const std::string& value) { options.frames = std::stoi(value); }},
        {"--sleep", [&](const std::string& value) { options.sleepMs = std::stoi(value); }},
        {"--resize", [&](const std::string& value) { options.resizeFrame = std::stoi(value); }},
        {"--readback", [&](const std::string& value) {
             options.readbackFrame = std::stoi(value);
             options.readbackFile = value.substr(value.find(':') + 1);
         }}};
    for (int i = 1; i < argc; ++i) {
        const auto option = withValue.find(argv[i]);
        if (option != withValue.end() && i + 1 < argc) {
            option->second(argv[++i]);
        } else if (std::string(argv[i]) == "--pbuffer") {
            options.kind = Stage::Kind::Pbuffer;
        } else {
            std::fputs(Usage, stderr);
            std::exit(2);
        }
    }
    return options;
}

} // namespace

int main(int argc, char** argv)
{
    const Options options = Parse(argc, argv);
    int width = Width;
    int height = Height;
    Stage stage(options.kind, width, height, 2);
    {
        Painter painter;
        Star star;
        Cube cube;
        glEnableVertexAttribArray(PositionAttribute);
        glEnableVertexAttribArray(SecondAttribute);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        for (int frame = 1; options.frames == 0 || frame <= options.frames; ++frame) {
            const float angle = static_cast<float>(frame) * Pi / 90;
            star.Draw(painter, -2 * angle);
            glViewport(0, 0, width, height);
            glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
            painter.Draw(GL_TRIANGLE_STRIP, sky, 0, 1);
            cube.Draw(static_cast<float>(width) / static_cast<float>(height), angle);
            glEnable(GL_BLEND);
            painter.Draw(GL_TRIANGLE_STRIP, haze, 0, 0.35f);
            glDisable(GL_BLEND);
            if (frame == options.readbackFrame)
                WriteFrame(options.readbackFile, width, height);
            stage.Swap();
            if (frame == options.resizeFrame && options.kind == Stage::Kind::Window) {
                width += width / 2;
                height += height / 2;
                stage.Resize(width, height);
            }
            if (options.sleepMs > 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(options.sleepMs));
        }
    }
    return glGetError() == GL_NO_ERROR ? 0 : 1;
}
