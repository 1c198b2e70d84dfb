// A context that never has a surface: it draws into a texture and reads the pixels back. A second one shows them.

#include "Families.h"

namespace {

constexpr int Side = 64;

} // namespace

FAMILY("surfaceless", stage)
{
    const EGLContext context = stage.MakeContext(EGL_NO_CONTEXT);
    stage.MakeCurrent(EGL_NO_SURFACE, context);
    MakeFramebuffer(MakeStorage(Side));
    stage.MakeCurrent();
    const GLuint shown = MakeStorage(Side);
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
