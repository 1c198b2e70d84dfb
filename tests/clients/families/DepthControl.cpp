// Clip space with its origin above and depths from 0 to 1, and a polygon offset that is clamped, set once and used in
// all frames.

#include "Families.h"

FAMILY("depth-control", stage)
{
    const auto clipControl = Load<PFNGLCLIPCONTROLEXTPROC>("glClipControlEXT");
    const auto offsetClamp = Load<PFNGLPOLYGONOFFSETCLAMPEXTPROC>("glPolygonOffsetClampEXT");
    const GLuint sloping =
        LinkProgram("#version 300 es\nlayout(location = 0) in vec2 position; uniform float slope; void main() {"
                    "gl_Position = vec4(position.x * 0.9, position.y * 0.6 + 0.2, 0.4 + position.x * slope, 1.0); }",
                    "#version 300 es\nprecision mediump float; uniform vec4 colour; out vec4 result; void main() { "
                    "result = colour; }");
    glUseProgram(sloping);
    const GLint slope = glGetUniformLocation(sloping, "slope");
    const GLint colour = glGetUniformLocation(sloping, "colour");
    clipControl(GL_UPPER_LEFT_EXT, GL_ZERO_TO_ONE_EXT);
    offsetClamp(4, 1, 0.1f);
    glEnable(GL_DEPTH_TEST);
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        const auto step = static_cast<float>(frame);
        if (frame == 5)
            offsetClamp(4, 1, 0.05f);
        glUniform1f(slope, 0.08f * step);
        glUniform4f(colour, 0.2f, 0.4f, 0.1f * step, 1);
        glEnable(GL_POLYGON_OFFSET_FILL);
        DrawQuad(sloping);
        glDisable(GL_POLYGON_OFFSET_FILL);
        // In front of the first one only as far as its offset goes, and where depth begins at 0 rather than at -1.
        glUniform1f(slope, -0.3f);
        glUniform4f(colour, 0.9f, 0.5f, 0.2f, 1);
        DrawQuad(sloping);
        EndFrame(stage);
    }
}
