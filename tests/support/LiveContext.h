// A context of the machine's own driver, without a compositor, made through the tables under test.
#pragma once

#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>

#include "Interfaces/Core.h"

/// Loads both libraries and makes an OpenGL ES context current on a pbuffer; undoes all of it at the end.
class LiveContext {
public:
    struct Request {
        EGLint width = 16;
        EGLint height = 16;
        EGLint clientVersion = 3;
    };

    LiveContext() : LiveContext(Request{}) {}
    explicit LiveContext(const Request& request)
    {
        setenv("EGL_PLATFORM", "surfaceless", 1);
        Core::KHRLayer::SetDriverDirectory("");
        Core::KHRLayer::LoadEGL();
        const Core::EGLProcTable& egl = Core::KHRLayer::EGLProc();
        if (!egl.eglGetDisplay)
            return;
        m_display = egl.eglGetDisplay(EGL_DEFAULT_DISPLAY);
        egl.eglInitialize(m_display, nullptr, nullptr);
        std::vector<EGLint> wanted = {EGL_RED_SIZE,   8,  EGL_GREEN_SIZE,   8, EGL_BLUE_SIZE, 8, EGL_ALPHA_SIZE, 8,
                                      EGL_DEPTH_SIZE, 24, EGL_STENCIL_SIZE, 8, EGL_SAMPLES,   0};
        wanted.insert(wanted.end(),
                      {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_NONE});
        EGLConfig configs[64];
        EGLint count = 0;
        egl.eglChooseConfig(m_display, wanted.data(), configs, 64, &count);
        // Deeper configs come first; the tests want bytes.
        EGLConfig config = nullptr;
        for (EGLint i = 0; i < count && !config; ++i) {
            EGLint red = 0;
            egl.eglGetConfigAttrib(m_display, configs[i], EGL_RED_SIZE, &red);
            if (red == 8)
                config = configs[i];
        }
        egl.eglBindAPI(EGL_OPENGL_ES_API);
        const EGLint version[] = {EGL_CONTEXT_CLIENT_VERSION, request.clientVersion, EGL_NONE};
        const EGLint size[] = {EGL_WIDTH, request.width, EGL_HEIGHT, request.height, EGL_NONE};
        const EGLContext context = egl.eglCreateContext(m_display, config, EGL_NO_CONTEXT, version);
        const EGLSurface surface = egl.eglCreatePbufferSurface(m_display, config, size);
        Core::KHRLayer::LoadGLESCore();
        m_isCurrent = egl.eglMakeCurrent(m_display, surface, surface, context) == EGL_TRUE;
    }
    ~LiveContext()
    {
        const Core::EGLProcTable& egl = Core::KHRLayer::EGLProc();
        if (egl.eglMakeCurrent) {
            egl.eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
            egl.eglTerminate(m_display);
            egl.eglReleaseThread();
        }
        Core::KHRLayer::FreeGLES();
        Core::KHRLayer::FreeEGL();
    }
    LiveContext(const LiveContext&) = delete;
    LiveContext& operator=(const LiveContext&) = delete;

    [[nodiscard]] bool IsCurrent() const { return m_isCurrent; }

private:
    EGLDisplay m_display = EGL_NO_DISPLAY;
    bool m_isCurrent = false;
};
