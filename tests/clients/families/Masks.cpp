// A picture of which each frame clears one channel, masked for one draw buffer or for all: what the others hold is of
// earlier frames.

#include "Families.h"

FAMILY("masks", stage)
{
    constexpr int Side = 64;
    const auto colorMaski = Load<PFNGLCOLORMASKIEXTPROC>("glColorMaskiEXT");
    const GLuint picture = MakeStorage(Side);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, Side, Side, GL_RGBA, GL_UNSIGNED_BYTE, Pattern(Side, Side, 1).data());
    const GLuint framebuffer = MakeFramebuffer(picture);
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        const GLboolean isRed = frame % 3 == 0;
        const GLboolean isGreen = frame % 3 == 1;
        if (frame % 2 == 0)
            colorMaski(0, isRed, isGreen, !isRed && !isGreen, GL_FALSE);
        else
            glColorMask(isRed, isGreen, !isRed && !isGreen, GL_FALSE);
        glClearColor(0.1f * static_cast<float>(frame), 0.9f - 0.1f * static_cast<float>(frame), 0.5f, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glClear(GL_COLOR_BUFFER_BIT);
        glViewport(0, 0, 256, 256);
        DrawQuad(PictureProgram());
        EndFrame(stage);
    }
    glDeleteFramebuffers(1, &framebuffer);
}
