// A robust context: its reset status is asked for in every frame, and what is read back goes into memory of a given
// size.

#include <EGL/egl.h>

#include <EGL/eglext.h> // needs the types of egl.h

#include "Families.h"

FAMILY("robustness", stage)
{
    const EGLint attributes[] = {EGL_CONTEXT_MAJOR_VERSION,
                                 3,
                                 EGL_CONTEXT_MINOR_VERSION,
                                 2,
                                 EGL_CONTEXT_OPENGL_ROBUST_ACCESS,
                                 EGL_TRUE,
                                 EGL_CONTEXT_OPENGL_RESET_NOTIFICATION_STRATEGY,
                                 EGL_LOSE_CONTEXT_ON_RESET,
                                 EGL_NONE};
    const EGLContext robust = eglCreateContext(stage.Display(), stage.Config(), EGL_NO_CONTEXT, attributes);
    stage.MakeCurrent(stage.Surface(), robust);
    eglSwapInterval(stage.Display(), 0);
    const GLuint texture = MakeTexture(GL_TEXTURE_2D);
    const GLuint program = FlatProgram();
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        if (glGetGraphicsResetStatus() != GL_NO_ERROR)
            Stage::Fail("keeping the context");
        glClear(GL_COLOR_BUFFER_BIT);
        Quarter(0);
        glVertexAttrib4f(1, 0.9f, static_cast<float>(frame) / FrameCount, 0.3f, 1);
        DrawQuad(program);
        std::vector<std::uint8_t> pixels(64 * 64 * 4);
        glReadnPixels(frame, 0, 64, 64, GL_RGBA, GL_UNSIGNED_BYTE, static_cast<GLsizei>(pixels.size()), pixels.data());
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 64, 64, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
        // Too little room: the driver refuses, and nothing is written.
        glReadnPixels(0, 0, 64, 64, GL_RGBA, GL_UNSIGNED_BYTE, 64, pixels.data());
        if (glGetError() != GL_INVALID_OPERATION)
            Stage::Fail("refusing to read into too little room");
        GLint unit = -1;
        glUseProgram(PictureProgram());
        glGetnUniformiv(PictureProgram(), glGetUniformLocation(PictureProgram(), "picture"), sizeof unit, &unit);
        Quarter(3 + unit);
        DrawQuad(PictureProgram());
        EndFrame(stage);
    }
    stage.MakeCurrent();
    eglDestroyContext(stage.Display(), robust);
}
