// Program pipelines: stages of separable programs that are put together in all ways, and uniforms without a current
// program, by locations that the shader gives and by those that the driver gives.

#include "Families.h"

FAMILY("pipelines", stage)
{
    const GLuint vertices[] = {
        SeparableProgram(
            GL_VERTEX_SHADER,
            "#version 310 es\nlayout(location = 0) in vec2 position; layout(location = 0) out mediump vec2 at;"
            "layout(location = 7) uniform float size;"
            "void main() { at = position; gl_Position = vec4(position * size, 0.0, 1.0); }"),
        SeparableProgram(
            GL_VERTEX_SHADER,
            "#version 310 es\nlayout(location = 0) in vec2 position; layout(location = 0) out mediump vec2 at;"
            "uniform mat2 turn;"
            "void main() { at = position.yx; gl_Position = vec4(turn * position, 0.0, 1.0); }"),
    };
    const GLuint fragments[] = {
        SeparableProgram(GL_FRAGMENT_SHADER,
                         "#version 310 es\nprecision mediump float; layout(location = 0) in vec2 at;"
                         "out vec4 result; uniform vec3 colours[2];"
                         "void main() { result = vec4(mix(colours[0], colours[1], abs(at.x)), 1.0); }"),
        SeparableProgram(GL_FRAGMENT_SHADER,
                         "#version 310 es\nprecision mediump float; layout(location = 0) in vec2 at;"
                         "out vec4 result; uniform int count; uniform uvec2 paint;"
                         "void main() { int cell = int((at.x + 1.0) * float(count)) % 2;"
                         "result = vec4(float(cell), vec2(paint) / 255.0, 1.0); }"),
    };
    GLuint pipelines[2] = {};
    glGenProgramPipelines(2, pipelines);
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, quad);
    const GLint turn = glGetUniformLocation(vertices[1], "turn");
    const GLint second = glGetUniformLocation(fragments[0], "colours[1]");
    const GLint first = glGetUniformLocation(fragments[0], "colours");
    const GLint count = glGetUniformLocation(fragments[1], "count");
    glUseProgramStages(pipelines[0], GL_VERTEX_SHADER_BIT, vertices[0]);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        const float time = static_cast<float>(frame) / FrameCount;
        glClear(GL_COLOR_BUFFER_BIT);
        glUseProgram(0);
        for (int i = 0; i < 4; ++i) {
            Quarter(i);
            // The first pipeline keeps its vertex stage, the second changes all.
            const GLuint pipeline = pipelines[i % 2];
            if (i % 2 == 1)
                glUseProgramStages(pipeline, GL_VERTEX_SHADER_BIT, vertices[1]);
            glUseProgramStages(pipeline, GL_FRAGMENT_SHADER_BIT, fragments[i / 2]);
            glBindProgramPipeline(pipeline);
            glProgramUniform1f(vertices[0], 7, 0.3f + 0.1f * static_cast<float>(frame % 5));
            const float matrix[] = {1 - time, time / 2, -time, 0.8f};
            glProgramUniformMatrix2fv(vertices[1], turn, 1, GL_FALSE, matrix);
            const float red[] = {1, time, 0};
            glProgramUniform3fv(fragments[0], first, 1, red);
            glProgramUniform3f(fragments[0], second, 0.1f, 0.2f, time);
            glProgramUniform1i(fragments[1], count, frame);
            // The active program of a pipeline takes uniforms like one in use.
            glActiveShaderProgram(pipeline, fragments[1]);
            glUniform2ui(glGetUniformLocation(fragments[1], "paint"), 60, static_cast<GLuint>(30 * frame));
            glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        }
        EndFrame(stage);
    }
    glDeleteProgramPipelines(2, pipelines);
}
