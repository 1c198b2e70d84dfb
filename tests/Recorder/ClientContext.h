// What every client sets up first.
#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl32.h>

#include <GLES2/gl2ext.h>

namespace Recorder {

/// A display with a window surface and a context that is current, by linked functions.
struct ClientContext {
    ClientContext()
    {
        eglInitialize(display, nullptr, nullptr);
        eglBindAPI(EGL_OPENGL_ES_API);
        EGLint count = 0;
        const EGLint any[] = {EGL_SURFACE_TYPE, EGL_DONT_CARE, EGL_NONE};
        eglChooseConfig(display, any, &config, 1, &count);
        surface = eglCreateWindowSurface(display, config, reinterpret_cast<EGLNativeWindowType>(this), nullptr);
        const EGLint version[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};
        context = eglCreateContext(display, config, EGL_NO_CONTEXT, version);
        eglMakeCurrent(display, surface, surface, context);
    }

    EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    EGLConfig config = nullptr;
    EGLSurface surface = EGL_NO_SURFACE;
    EGLContext context = EGL_NO_CONTEXT;
};

template <class Function> Function ProcAddress(const char* name)
{
    return reinterpret_cast<Function>(eglGetProcAddress(name));
}

} // namespace Recorder
