// EGLImages between two contexts that share nothing else: a texture and a renderbuffer that one context draws into are
// a texture, and a framebuffer's attachment, of the other.

#include <EGL/egl.h>

#include <EGL/eglext.h> // needs the types of egl.h

#include "Families.h"

namespace {

constexpr int Side = 64;

/// Stripes by scissored clears, which need no program.
void DrawStripes(GLuint framebuffer, int frame, float blue)
{
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glEnable(GL_SCISSOR_TEST);
    for (int i = 0; i < 8; ++i) {
        glScissor(8 * i, 0, 8, Side - 4 * (i + frame) % Side);
        glClearColor(static_cast<float>(Wave(i + frame)) / 255, static_cast<float>(i) / 8, blue, 1);
        glClear(GL_COLOR_BUFFER_BIT);
    }
    glFinish();
}

} // namespace

FAMILY("images", stage)
{
    const auto createImage = Load<PFNEGLCREATEIMAGEKHRPROC>("eglCreateImageKHR");
    const auto destroyImage = Load<PFNEGLDESTROYIMAGEKHRPROC>("eglDestroyImageKHR");
    const auto imageTexture = Load<PFNGLEGLIMAGETARGETTEXTURE2DOESPROC>("glEGLImageTargetTexture2DOES");
    const auto imageRenderbuffer =
        Load<PFNGLEGLIMAGETARGETRENDERBUFFERSTORAGEOESPROC>("glEGLImageTargetRenderbufferStorageOES");

    // The other context draws.
    const EGLContext painter = stage.MakeContext(EGL_NO_CONTEXT);
    stage.MakeCurrent(stage.Surface(), painter);
    GLuint framebuffers[2] = {}, renderbuffer = 0;
    const GLuint painted = MakeTexture(GL_TEXTURE_2D);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, Side, Side, 0, GL_RGBA, GL_UNSIGNED_BYTE, Pattern(Side, Side, 1).data());
    framebuffers[0] = MakeFramebuffer(painted);
    glGenFramebuffers(1, &framebuffers[1]);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffers[1]);
    glGenRenderbuffers(1, &renderbuffer);
    glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, Side, Side);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, renderbuffer);
    glFinish();
    const EGLint preserved[] = {EGL_IMAGE_PRESERVED_KHR, EGL_TRUE, EGL_GL_TEXTURE_LEVEL_KHR, 0, EGL_NONE};
    const EGLImageKHR textureImage =
        createImage(stage.Display(), painter, EGL_GL_TEXTURE_2D_KHR,
                    reinterpret_cast<EGLClientBuffer>(static_cast<std::uintptr_t>(painted)), preserved);
    const EGLImageKHR bufferImage =
        createImage(stage.Display(), painter, EGL_GL_RENDERBUFFER_KHR,
                    reinterpret_cast<EGLClientBuffer>(static_cast<std::uintptr_t>(renderbuffer)), nullptr);
    if (textureImage == EGL_NO_IMAGE_KHR || bufferImage == EGL_NO_IMAGE_KHR)
        Stage::Fail("eglCreateImageKHR");

    // The stage's context shows.
    stage.MakeCurrent();
    const GLuint shown = MakeTexture(GL_TEXTURE_2D);
    imageTexture(GL_TEXTURE_2D, textureImage);
    GLuint target = 0, seen = 0;
    glGenFramebuffers(1, &target);
    glBindFramebuffer(GL_FRAMEBUFFER, target);
    glGenRenderbuffers(1, &seen);
    glBindRenderbuffer(GL_RENDERBUFFER, seen);
    imageRenderbuffer(GL_RENDERBUFFER, bufferImage);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, seen);
    const GLuint other = MakeTexture(GL_TEXTURE_2D);
    imageTexture(GL_TEXTURE_2D, bufferImage);
    // What an image holds stays with those who use it.
    destroyImage(stage.Display(), bufferImage);
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        stage.MakeCurrent(stage.Surface(), painter);
        DrawStripes(framebuffers[0], frame, 0.2f);
        DrawStripes(framebuffers[1], 2 * frame, 0.9f);
        stage.MakeCurrent();
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glClear(GL_COLOR_BUFFER_BIT);
        Quarter(0);
        glBindTexture(GL_TEXTURE_2D, shown);
        DrawQuad(PictureProgram());
        Quarter(1);
        glBindTexture(GL_TEXTURE_2D, other);
        DrawQuad(PictureProgram());
        // The image is drawn into by its second owner too.
        glBindFramebuffer(GL_READ_FRAMEBUFFER, target);
        glBlitFramebuffer(0, 0, Side, Side, 20, 140, 120, 240, GL_COLOR_BUFFER_BIT, GL_NEAREST);
        glBindTexture(GL_TEXTURE_2D, shown);
        glTexSubImage2D(GL_TEXTURE_2D, 0, frame, 20, 16, 16, GL_RGBA, GL_UNSIGNED_BYTE, Pattern(16, 16, frame).data());
        Quarter(3);
        DrawQuad(PictureProgram());
        EndFrame(stage);
    }
    destroyImage(stage.Display(), textureImage);
    eglDestroyContext(stage.Display(), painter);
}
