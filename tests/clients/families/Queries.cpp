// Boxes that are drawn only when a query of the frame before says that they are seen, and a query of the time it took.

#include <EGL/egl.h>

#include "Families.h"

namespace {

constexpr int Boxes = 6;

/// A box of the row, as a strip; `depth` from -1, in front, to 1.
void DrawBox(int index, float depth, float grey)
{
    const float x = -0.9f + 0.3f * static_cast<float>(index);
    const float box[] = {x, -0.5f, depth, x + 0.25f, -0.5f, depth, x, 0.5f, depth, x + 0.25f, 0.5f, depth};
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, box);
    glVertexAttrib4f(1, grey, 1 - grey, 0.3f, 1);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

} // namespace

FAMILY("queries", stage)
{
    GLuint queries[Boxes] = {}, conservative = 0, timer = 0;
    glGenQueries(Boxes, queries);
    glGenQueries(1, &conservative);
    const auto beginQuery = Load<PFNGLBEGINQUERYEXTPROC>("glBeginQueryEXT");
    const auto endQuery = Load<PFNGLENDQUERYEXTPROC>("glEndQueryEXT");
    const auto getResult = Load<PFNGLGETQUERYOBJECTUI64VEXTPROC>("glGetQueryObjectui64vEXT");
    const auto genQueries = Load<PFNGLGENQUERIESEXTPROC>("glGenQueriesEXT");
    genQueries(1, &timer);
    glEnableVertexAttribArray(0);
    glUseProgram(FlatProgram());
    glEnable(GL_DEPTH_TEST);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        beginQuery(GL_TIME_ELAPSED_EXT, timer);
        // A curtain that hides more of the boxes in each frame.
        const float edge = -1.0f + 0.25f * static_cast<float>(frame);
        const float curtain[] = {-1, -1, edge, -1, -1, 1, edge, 1};
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, curtain);
        glVertexAttrib4f(1, 0.2f, 0.2f, 0.5f, 1);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        for (int i = 0; i < Boxes; ++i) {
            GLuint isSeen = GL_TRUE;
            if (frame > 1) {
                GLuint isAvailable = GL_FALSE;
                while (!isAvailable)
                    glGetQueryObjectuiv(queries[i], GL_QUERY_RESULT_AVAILABLE, &isAvailable);
                glGetQueryObjectuiv(queries[i], GL_QUERY_RESULT, &isSeen);
            }
            glBeginQuery(GL_ANY_SAMPLES_PASSED, queries[i]);
            glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
            glDepthMask(GL_FALSE);
            DrawBox(i, 0.5f, 0);
            glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
            glDepthMask(GL_TRUE);
            glEndQuery(GL_ANY_SAMPLES_PASSED);
            if (isSeen)
                DrawBox(i, 0.6f, static_cast<float>(i) / Boxes);
        }
        endQuery(GL_TIME_ELAPSED_EXT);
        GLuint64 nanoseconds = 0;
        getResult(timer, GL_QUERY_RESULT_EXT, &nanoseconds);
        glBeginQuery(GL_ANY_SAMPLES_PASSED_CONSERVATIVE, conservative);
        DrawBox(frame % Boxes, -0.5f, 0.9f);
        glEndQuery(GL_ANY_SAMPLES_PASSED_CONSERVATIVE);
        GLuint isSeen = GL_FALSE;
        GLint current = -1;
        glGetQueryObjectuiv(conservative, GL_QUERY_RESULT, &isSeen);
        glGetQueryiv(GL_ANY_SAMPLES_PASSED, GL_CURRENT_QUERY, &current);
        // What the conservative query answers is not looked at: some drivers say that nothing is ever seen.
        if (nanoseconds == 0 || current != 0)
            Stage::Fail("a query");
        EndFrame(stage);
    }
    glDeleteQueries(Boxes, queries);
}
