// A second display beside the stage's, as compositors have one for their clients: it ends while a context of it is
// current, and again tidily, and the first display goes on.

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include "Families.h"

namespace {

constexpr int Side = 64;

/// A pbuffer and a context on the software device's display.
struct Second {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLConfig config = nullptr;
    EGLSurface surface = EGL_NO_SURFACE;
    EGLContext context = EGL_NO_CONTEXT;

    Second()
    {
        const auto queryDevices = reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
        EGLDeviceEXT device = nullptr;
        EGLint count = 0;
        if (!queryDevices || !queryDevices(1, &device, &count) || count == 0)
            Stage::Fail("finding a device");
        display = eglGetPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, device, nullptr);
        if (!eglInitialize(display, nullptr, nullptr))
            Stage::Fail("eglInitialize of the second display");
        const EGLint request[] = {EGL_RED_SIZE,
                                  8,
                                  EGL_GREEN_SIZE,
                                  8,
                                  EGL_BLUE_SIZE,
                                  8,
                                  EGL_ALPHA_SIZE,
                                  8,
                                  EGL_DEPTH_SIZE,
                                  24,
                                  EGL_STENCIL_SIZE,
                                  8,
                                  EGL_SURFACE_TYPE,
                                  EGL_PBUFFER_BIT,
                                  EGL_RENDERABLE_TYPE,
                                  EGL_OPENGL_ES2_BIT,
                                  EGL_NONE};
        EGLConfig configs[64];
        eglChooseConfig(display, request, configs, 64, &count);
        for (int i = 0; i < count && !config; ++i) {
            EGLint red = 0;
            eglGetConfigAttrib(display, configs[i], EGL_RED_SIZE, &red);
            config = red == 8 ? configs[i] : nullptr;
        }
        const EGLint size[] = {EGL_WIDTH, Side, EGL_HEIGHT, Side, EGL_NONE};
        const EGLint version[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
        surface = eglCreatePbufferSurface(display, config, size);
        context = eglCreateContext(display, config, EGL_NO_CONTEXT, version);
    }

    /// A frame of the second display.
    void Draw(int frame) const
    {
        if (!eglMakeCurrent(display, surface, surface, context))
            Stage::Fail("making the second display's context current");
        Paint(frame);
        ExpectNoErrors("drawing on the second display");
        eglSwapBuffers(display, surface);
    }

    /// Another colour in the left part, `frame` pixels wide.
    static void Paint(int frame)
    {
        glDisable(GL_SCISSOR_TEST);
        glClearColor(0.1f, 0.2f, 0.5f, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, frame, Side);
        glClearColor(0.1f * static_cast<float>(frame), 0.8f, 0.3f, 1);
        glClear(GL_COLOR_BUFFER_BIT);
    }
};

void ReadBack()
{
    std::vector<std::uint8_t> pixels(Side * Side * 4);
    glReadPixels(0, 0, Side, Side, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    ExpectNoErrors("reading back");
}

void DrawOnStage(Stage& stage, const GLuint program, int frame)
{
    stage.MakeCurrent();
    glClear(GL_COLOR_BUFFER_BIT); // what the quad leaves free is otherwise whatever the surface's memory held
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 16, 16, 0, GL_RGBA, GL_UNSIGNED_BYTE, Pattern(16, 16, frame).data());
    DrawQuad(program);
    EndFrame(stage);
}

} // namespace

FAMILY("displays", stage)
{
    MakeTexture(GL_TEXTURE_2D);
    glEnableVertexAttribArray(0);
    const GLuint program = PictureProgram();
    Second second;
    for (int frame = 1; frame <= FrameCount; ++frame) {
        DrawOnStage(stage, program, frame);
        if (frame == FrameCount / 2) {
            // Its context goes on until it is released.
            second.Draw(frame);
            eglTerminate(second.display);
            Second::Paint(Side / 2);
            ReadBack();
            eglMakeCurrent(second.display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        } else if (frame < FrameCount / 2) {
            second.Draw(frame);
        }
    }
    second = Second();
    second.Draw(5);
    second.Draw(6);
    ReadBack();
    stage.MakeCurrent();
    eglTerminate(second.display);
    glFinish();
}
