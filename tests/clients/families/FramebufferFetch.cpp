// A shader that reads what is in the framebuffer, which a barrier between the draws makes visible.

#include "Families.h"

FAMILY("framebuffer-fetch", stage)
{
    const auto barrier = Load<PFNGLFRAMEBUFFERFETCHBARRIEREXTPROC>("glFramebufferFetchBarrierEXT");
    const GLuint mixing = LinkProgram(
        pictureVertex, "#version 300 es\n#extension GL_EXT_shader_framebuffer_fetch_non_coherent : require\n"
                       "precision mediump float; in vec2 at; layout(noncoherent, location = 0) inout vec4 result;"
                       "void main() { result = vec4(result.gb, 1.0 - result.r * at.x, 1.0); }");
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClearColor(0.1f * static_cast<float>(frame), 0.4f, 0.8f, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        for (int i = 0; i < frame % 4 + 1; ++i) {
            glViewport(i * 30, i * 20, 160, 160);
            barrier();
            DrawQuad(mixing);
        }
        EndFrame(stage);
    }
}
