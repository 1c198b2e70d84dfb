// Four viewports that overlap, each with a depth range and two with a scissor box of their own, which a geometry shader
// draws to at once. Each frame moves one of them.

#include "Families.h"

namespace {

const char* const vertex = "#version 320 es\nlayout(location = 0) in vec2 position;"
                           "void main() { gl_Position = vec4(position, 0.0, 1.0); }";
const char* const geometry =
    "#version 320 es\n#extension GL_OES_viewport_array : require\nlayout(triangles, invocations = 4) in;"
    "layout(triangle_strip, max_vertices = 3) out; flat out vec4 shade; void main() { for (int i = 0; i < 3; ++i) {"
    "gl_Position = gl_in[i].gl_Position; gl_ViewportIndex = gl_InvocationID;"
    "shade = vec4(vec3(gl_InvocationID & 1, gl_InvocationID / 2, 1) * 0.7 + 0.2, 1.0); EmitVertex(); } }";
const char* const fragment = "#version 320 es\nprecision mediump float; flat in vec4 shade; out vec4 result;"
                             "void main() { result = shade; }";

} // namespace

FAMILY("viewport-arrays", stage)
{
    const auto viewports = Load<PFNGLVIEWPORTARRAYVOESPROC>("glViewportArrayvOES");
    const auto viewport = Load<PFNGLVIEWPORTINDEXEDFOESPROC>("glViewportIndexedfOES");
    const auto viewportAt = Load<PFNGLVIEWPORTINDEXEDFVOESPROC>("glViewportIndexedfvOES");
    const auto scissors = Load<PFNGLSCISSORARRAYVOESPROC>("glScissorArrayvOES");
    const auto scissor = Load<PFNGLSCISSORINDEXEDOESPROC>("glScissorIndexedOES");
    const auto scissorAt = Load<PFNGLSCISSORINDEXEDVOESPROC>("glScissorIndexedvOES");
    const auto depthRanges = Load<PFNGLDEPTHRANGEARRAYFVOESPROC>("glDepthRangeArrayfvOES");
    const auto depthRange = Load<PFNGLDEPTHRANGEINDEXEDFOESPROC>("glDepthRangeIndexedfOES");
    const auto enable = Load<PFNGLENABLEIOESPROC>("glEnableiOES");
    const auto getFloats = Load<PFNGLGETFLOATI_VOESPROC>("glGetFloati_vOES");
    const GLuint program = LinkProgram(
        vertex, fragment, [](GLuint linked) { glAttachShader(linked, CompileShader(GL_GEOMETRY_SHADER, geometry)); });
    const GLfloat areas[] = {0, 0, 160, 160, 96, 0, 160, 160, 0, 96, 160, 160, 96, 96, 160, 160};
    const GLint boxes[] = {96, 20, 150, 150, 20, 100, 130, 100};
    const GLfloat depths[] = {0.4f, 0.5f, 0.1f, 0.2f, 0.5f, 0.7f, 0.2f, 0.9f};
    viewports(0, 4, areas);
    scissors(1, 2, boxes);
    depthRanges(0, 4, depths);
    enable(GL_SCISSOR_TEST, 1);
    enable(GL_SCISSOR_TEST, 2);
    glEnable(GL_DEPTH_TEST);
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        const auto step = static_cast<GLfloat>(frame * 8);
        const GLfloat area[] = {step, 128 - step, 120.5f, 90.25f};
        const GLint box[] = {frame * 4, 100, 130, 100};
        if (frame % 3 == 0) {
            viewport(3, 96, step, 160, 160);
            depthRange(1, 0.05f * static_cast<GLfloat>(frame), 1);
        } else if (frame % 3 == 1) {
            viewportAt(0, area);
            scissor(1, 96, frame * 6, 150, 150);
        } else {
            scissorAt(2, box);
        }
        DrawQuad(program);
        GLfloat last[4] = {};
        getFloats(GL_VIEWPORT, 3, last);
        if (last[0] != 96)
            Stage::Fail("setting a viewport");
        EndFrame(stage);
    }
}
