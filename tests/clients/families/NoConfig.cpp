// One context without a config, which draws on surfaces of two configs in turn.

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include "Families.h"

FAMILY("no-config", stage)
{
    EGLint types = 0;
    eglGetConfigAttrib(stage.Display(), stage.Config(), EGL_SURFACE_TYPE, &types);
    const EGLint wanted[] = {EGL_SURFACE_TYPE,   types,   EGL_BUFFER_SIZE, 16, EGL_DEPTH_SIZE, 0, EGL_RENDERABLE_TYPE,
                             EGL_OPENGL_ES2_BIT, EGL_NONE};
    EGLConfig thin = nullptr;
    EGLint count = 0;
    eglChooseConfig(stage.Display(), wanted, &thin, 1, &count);
    const EGLint version[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};
    const EGLContext context = eglCreateContext(stage.Display(), EGL_NO_CONFIG_KHR, stage.Context(), version);
    if (count == 0 || context == EGL_NO_CONTEXT)
        Stage::Fail("making a context without a config");
    const EGLSurface second = stage.MakeSurface(200, 120, thin);
    stage.MakeCurrent(second, context);
    eglSwapInterval(stage.Display(), 0);
    MakeTexture(GL_TEXTURE_2D);
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        stage.MakeCurrent(frame % 2 == 0 ? stage.Surface() : second, context);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 32, 32, 0, GL_RGBA, GL_UNSIGNED_BYTE, Pattern(32, 32, frame).data());
        glViewport(0, 0, 200, 120);
        glClearColor(0.1f, 0.3f, 0.1f * static_cast<float>(frame), 1);
        glClear(GL_COLOR_BUFFER_BIT);
        DrawQuad(PictureProgram());
        EndFrame(stage);
    }
    stage.MakeCurrent();
    eglDestroyContext(stage.Display(), context);
}
