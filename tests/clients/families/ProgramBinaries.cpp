// A program that is linked once and comes back from its binary in each frame, as from a cache on disk. The locations of
// the new program are asked for again.

#include "Families.h"

FAMILY("program-binaries", stage)
{
    const GLuint source =
        LinkProgram("#version 300 es\nin vec2 corner; uniform vec2 place; uniform float size; out vec2 at;"
                    "void main() { at = corner; gl_Position = vec4(corner * size + place, 0.0, 1.0); }",
                    "#version 300 es\nprecision mediump float; in vec2 at; uniform vec4 paint; out vec4 result;"
                    "void main() { result = paint * (1.0 - 0.4 * length(at)); result.a = 1.0; }",
                    [](GLuint program) {
                        glProgramParameteri(program, GL_PROGRAM_BINARY_RETRIEVABLE_HINT, GL_TRUE);
                        glBindAttribLocation(program, 2, "corner");
                    });
    GLint bytes = 0, formats = 0;
    glGetProgramiv(source, GL_PROGRAM_BINARY_LENGTH, &bytes);
    glGetIntegerv(GL_NUM_PROGRAM_BINARY_FORMATS, &formats);
    std::vector<std::uint8_t> binary(static_cast<std::size_t>(bytes));
    GLenum format = 0;
    GLsizei length = 0;
    if (formats > 0)
        glGetProgramBinary(source, bytes, &length, &format, binary.data());
    glEnableVertexAttribArray(2);
    glVertexAttribPointer(2, 2, GL_FLOAT, GL_FALSE, 0, quad);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT);
        const GLuint restored = glCreateProgram();
        glProgramBinary(restored, format, binary.data(), length);
        GLint linked = GL_FALSE;
        glGetProgramiv(restored, GL_LINK_STATUS, &linked);
        const GLuint programs[] = {source, linked ? restored : source};
        for (int i = 0; i < 4; ++i) {
            const GLuint program = programs[i % 2];
            glUseProgram(program);
            glUniform2f(glGetUniformLocation(program, "place"), -0.5f + static_cast<float>(i % 2),
                        -0.5f + static_cast<float>(i / 2));
            glUniform1f(glGetUniformLocation(program, "size"), 0.1f + 0.04f * static_cast<float>(frame));
            glUniform4f(glGetUniformLocation(program, "paint"), 0.3f * static_cast<float>(i), 0.9f, 0.4f, 1);
            glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        }
        glDeleteProgram(restored);
        EndFrame(stage);
    }
}
