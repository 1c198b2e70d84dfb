// A context that never has a surface: it draws into a texture and reads the pixels back. A second one shows them.

#include "Drawing.h"
#include "Families.h"

namespace {

constexpr int Side = 64;

} // namespace

void Surfaceless(Stage& stage)
{
    const EGLContext context = stage.MakeContext(EGL_NO_CONTEXT);
    stage.MakeCurrent(EGL_NO_SURFACE, context);
    GLuint framebuffer = 0;
    const GLuint target = MakeTexture(GL_TEXTURE_2D);
    glTexStorage2D(GL_TEXTURE_2D, 1, GL_RGBA8, Side, Side);
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, target, 0);
    stage.MakeCurrent();
    const GLuint shown = MakeTexture(GL_TEXTURE_2D);
    glTexStorage2D(GL_TEXTURE_2D, 1, GL_RGBA8, Side, Side);
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        stage.MakeCurrent(EGL_NO_SURFACE, context);
        glEnable(GL_SCISSOR_TEST);
        for (int i = 0; i < 8; ++i) {
            glScissor(0, 8 * i, Side - (6 * i + 5 * frame) % Side, 8);
            glClearColor(static_cast<float>(frame) / FrameCount, static_cast<float>(i) / 8, 0.4f, 1);
            glClear(GL_COLOR_BUFFER_BIT);
        }
        std::vector<std::uint8_t> pixels(Side * Side * 4);
        glReadPixels(0, 0, Side, Side, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
        ExpectNoErrors("drawing without a surface");
        stage.MakeCurrent();
        glBindTexture(GL_TEXTURE_2D, shown);
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, Side, Side, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
        glClear(GL_COLOR_BUFFER_BIT);
        DrawQuad(PictureProgram());
        EndFrame(stage);
    }
    eglDestroyContext(stage.Display(), context);
}
