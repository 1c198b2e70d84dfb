// A program without a display: it never shows a frame, and what it draws into a texture goes to its memory.

#include <cstring>

#include "Families.h"

namespace {

constexpr int Side = 64;

} // namespace

FAMILY("headless", stage)
{
    const EGLContext worker = stage.MakeContext(stage.Context());
    MakeFramebuffer(MakeStorage(Side));
    glViewport(0, 0, Side, Side);
    glEnableVertexAttribArray(0);
    std::vector<std::uint8_t> before(Side * Side * 4);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        // The other context makes what this one shows.
        stage.MakeCurrent(EGL_NO_SURFACE, worker);
        const GLuint picture = MakeTexture(GL_TEXTURE_2D);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 16, 16, 0, GL_RGBA, GL_UNSIGNED_BYTE, Pattern(16, 16, frame).data());
        glFinish();
        stage.MakeCurrent();
        glBindTexture(GL_TEXTURE_2D, picture);
        DrawQuad(PictureProgram());
        std::vector<std::uint8_t> pixels(before.size());
        glReadPixels(0, 0, Side, Side, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
        ExpectNoErrors("drawing without a surface");
        if (std::memcmp(pixels.data(), before.data(), pixels.size()) == 0)
            Stage::Fail("drawing another picture");
        before = pixels;
        glDeleteTextures(1, &picture);
    }
    eglDestroyContext(stage.Display(), worker);
}
