// Boxes whose drawing the driver decides on by what queries saw, in the same frame, in the one before, and long ago.

#include "Families.h"

namespace {

void DrawBox(float left, float depth, float red)
{
    const float box[] = {left, -0.8f, depth, left + 0.4f, -0.8f, depth, left, 0.8f, depth, left + 0.4f, 0.8f, depth};
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, box);
    glVertexAttrib4f(1, red, 1 - red, 0.3f, 1);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

} // namespace

FAMILY("conditional-rendering", stage)
{
    const auto begin = Load<PFNGLBEGINCONDITIONALRENDERNVPROC>("glBeginConditionalRenderNV");
    const auto end = Load<PFNGLENDCONDITIONALRENDERNVPROC>("glEndConditionalRenderNV");
    const auto compilerThreads = Load<PFNGLMAXSHADERCOMPILERTHREADSKHRPROC>("glMaxShaderCompilerThreadsKHR");
    enum Query { Never, Before, Now, QueryCount };
    GLuint queries[QueryCount] = {};
    glGenQueries(QueryCount, queries);
    compilerThreads(1);
    const GLuint program = FlatProgram();
    GLint isDone = GL_FALSE;
    while (!isDone)
        glGetProgramiv(program, GL_COMPLETION_STATUS_KHR, &isDone);
    glUseProgram(program);
    glEnable(GL_DEPTH_TEST);
    glEnableVertexAttribArray(0);
    const auto ask = [&](Query query, float left, float depth) {
        glBeginQuery(GL_ANY_SAMPLES_PASSED, queries[query]);
        DrawBox(left, depth, 0.5f);
        glEndQuery(GL_ANY_SAMPLES_PASSED);
    };
    const auto drawIf = [&](Query query, float left, float red) {
        begin(queries[query], GL_QUERY_WAIT_NV);
        DrawBox(left, -0.5f, red);
        end();
    };
    glDepthFunc(GL_NEVER);
    ask(Never, 0, 0);
    glDepthFunc(GL_LESS);
    ask(Before, 0, 0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        const float step = 0.1f * static_cast<float>(frame);
        drawIf(Never, -0.2f, step);
        drawIf(Before, -0.9f, step);
        ask(Now, 0.3f, 0.2f);
        drawIf(Now, 0.6f, step);
        // Seen in the next frame when it is odd: nothing is in front of the box then.
        ask(Before, -0.9f, frame % 2 == 0 ? 0.9f : -0.9f);
        // Clears too are left out.
        begin(queries[frame % 2 == 0 ? Now : Never], GL_QUERY_WAIT_NV);
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, 256, 20 + frame);
        glClearColor(step, 0.5f, 0.5f, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glClearColor(0, 0, 0, 0);
        glDisable(GL_SCISSOR_TEST);
        end();
        EndFrame(stage);
    }
    glDeleteQueries(QueryCount, queries);
}
