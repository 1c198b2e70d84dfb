// Three surfaces of different sizes that one context draws on in turn, and one of them that a second context uses.

#include "Families.h"

namespace {

/// A striped picture of the whole surface, of which `bars` bars are lit.
void DrawBars(int width, int height, int bars, int frame)
{
    glEnable(GL_SCISSOR_TEST);
    for (int i = 0; i < 8; ++i) {
        glScissor(i * width / 8, 0, width, height);
        glClearColor(i < bars ? 0.9f : 0.1f, static_cast<float>(i) / 8, static_cast<float>(frame) / FrameCount, 1);
        glClear(GL_COLOR_BUFFER_BIT);
    }
    glDisable(GL_SCISSOR_TEST);
}

} // namespace

FAMILY("surfaces", stage)
{
    const EGLSurface wide = stage.MakeSurface(300, 80);
    const EGLSurface brief = stage.MakeSurface(64, 120);
    const EGLContext second = stage.MakeContext(stage.Context());
    eglSwapInterval(stage.Display(), 0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        DrawBars(256, 256, frame, frame);
        EndFrame(stage);
        stage.MakeCurrent(wide, stage.Context());
        eglSwapInterval(stage.Display(), 0);
        DrawBars(300, 80, FrameCount - frame, frame);
        EndFrame(stage);
        // Not every surface shows something in every frame.
        if (frame % 3 == 0) {
            stage.MakeCurrent(brief, second);
            eglSwapInterval(stage.Display(), 0);
            DrawBars(64, 120, frame % 5, frame);
            EndFrame(stage);
        }
        stage.MakeCurrent();
    }
    eglDestroyContext(stage.Display(), second);
}
