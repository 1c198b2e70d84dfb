// What the test clients share: an OpenGL ES context that is current on a Wayland window or on a pbuffer.
#pragma once

#include <EGL/egl.h>
#include <memory>

/// Where a client draws. Opens the display, makes an RGBA 8888 config with 24 bits of depth and 8 of stencil current,
/// and closes everything again, in the order a tidy application uses. Any failure ends the program with a message and
/// status 1: a client that cannot draw proves nothing.
class Stage {
public:
    enum class Kind { Window, Pbuffer };

    /// `version` is the major version of OpenGL ES to ask for.
    Stage(Kind kind, int width, int height, int version);
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    /// Shows the frame, and answers the compositor.
    void Swap();
    /// Gives a window another size from the next frame on; a pbuffer cannot change.
    void Resize(int width, int height);

    [[noreturn]] static void Fail(const char* what);

    /// The Wayland side of a window.
    struct WaylandWindow;

private:
    std::unique_ptr<WaylandWindow> m_window;
    EGLDisplay m_display = EGL_NO_DISPLAY;
    EGLSurface m_surface = EGL_NO_SURFACE;
    EGLContext m_context = EGL_NO_CONTEXT;
};
