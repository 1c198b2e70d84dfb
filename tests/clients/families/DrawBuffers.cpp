// Two pictures that are drawn at once, one of which is copied upside down, by the names that OpenGL ES 2 has for it.
// Only the first one is blended, and only the second one keeps its green, half of which another framebuffer clears.

#include "Families.h"

FAMILY("draw-buffers", stage)
{
    constexpr int Side = 64;
    const auto drawBuffers = Load<PFNGLDRAWBUFFERSNVPROC>("glDrawBuffersNV");
    const auto enable = Load<PFNGLENABLEIEXTPROC>("glEnableiEXT");
    const auto colorMask = Load<PFNGLCOLORMASKIEXTPROC>("glColorMaskiEXT");
    const auto readBuffer = Load<PFNGLREADBUFFERNVPROC>("glReadBufferNV");
    const auto parameter = Load<PFNGLFRAMEBUFFERPARAMETERIMESAPROC>("glFramebufferParameteriMESA");
    const auto getParameter = Load<PFNGLGETFRAMEBUFFERPARAMETERIVMESAPROC>("glGetFramebufferParameterivMESA");
    const GLuint both = LinkProgram(
        pictureVertex, "#version 300 es\nprecision mediump float; in vec2 at; layout(location = 0) out vec4 first;"
                       "layout(location = 1) out vec4 second; uniform float step;"
                       "void main() { first = vec4(at, step, 1.0); second = vec4(step, at.yx, 1.0); }");
    const GLuint pictures[] = {MakeStorage(Side), MakeStorage(Side)};
    const GLuint other = MakeFramebuffer(pictures[1]);
    const GLuint framebuffer = MakeFramebuffer(pictures[0]);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT1, GL_TEXTURE_2D, pictures[1], 0);
    const GLenum targets[] = {GL_COLOR_ATTACHMENT0_NV, GL_COLOR_ATTACHMENT1_NV};
    drawBuffers(2, targets);
    readBuffer(GL_COLOR_ATTACHMENT1_NV);
    parameter(GL_FRAMEBUFFER, GL_FRAMEBUFFER_FLIP_Y_MESA, GL_TRUE);
    GLint isFlipped = GL_FALSE;
    getParameter(GL_FRAMEBUFFER, GL_FRAMEBUFFER_FLIP_Y_MESA, &isFlipped);
    if (!isFlipped)
        Stage::Fail("flipping a framebuffer");
    glBlendFunc(GL_ONE_MINUS_DST_COLOR, GL_ZERO);
    enable(GL_BLEND, 0);
    colorMask(1, GL_TRUE, GL_FALSE, GL_TRUE, GL_TRUE);
    const GLint step = glGetUniformLocation(both, "step");
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glBindFramebuffer(GL_FRAMEBUFFER, other);
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, Side / 2, Side, Side / 2);
        const float colour[] = {1, static_cast<float>(frame) / FrameCount, 0, 1};
        glClearBufferfv(GL_COLOR, 0, colour);
        glDisable(GL_SCISSOR_TEST);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        glUseProgram(both);
        glUniform1f(step, static_cast<float>(frame) / FrameCount);
        glViewport(frame, 0, Side - frame * 6, Side / 2);
        DrawQuad(both);
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 0);
        glClear(GL_COLOR_BUFFER_BIT);
        glBlitFramebuffer(0, 0, Side, Side, 128, 0, 256, 256, GL_COLOR_BUFFER_BIT, GL_NEAREST);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glViewport(0, 0, 128, 256);
        glBindTexture(GL_TEXTURE_2D, pictures[0]);
        DrawQuad(PictureProgram());
        EndFrame(stage);
    }
}
