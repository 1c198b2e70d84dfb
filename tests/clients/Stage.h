// What the test clients share: an OpenGL ES context that is current, on a Wayland window, on a pbuffer or on nothing.
#pragma once

#include <EGL/egl.h>
#include <memory>
#include <vector>

/// Where a client draws. Opens the display, makes an RGBA 8888 config with 24 bits of depth and 8 of stencil current,
/// and closes everything again, in the order a tidy application uses. Any failure ends the program with a message and
/// status 1: a client that cannot draw proves nothing.
class Stage {
public:
    enum class Kind { Window, Pbuffer, Surfaceless };

    /// `version` is the major version of OpenGL ES to ask for.
    Stage(Kind kind, int width, int height, int version);
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    /// Shows the frame of the current surface, and answers the compositor.
    void Swap();
    /// Gives the first window another size from the next frame on; a pbuffer cannot change.
    void Resize(int width, int height);

    [[nodiscard]] EGLDisplay Display() const { return m_display; }
    [[nodiscard]] EGLConfig Config() const { return m_config; }
    /// The first one; none without a surface.
    [[nodiscard]] EGLSurface Surface() const { return m_surfaces.empty() ? EGL_NO_SURFACE : m_surfaces.front(); }
    [[nodiscard]] EGLContext Context() const { return m_context; }

    /// Another surface of the same kind; goes away with the stage. Of the same config, unless another one is given.
    EGLSurface MakeSurface(int width, int height, EGLConfig config = nullptr);
    /// A second context of the same version, sharing objects with `shared` when that is one; the caller destroys it.
    [[nodiscard]] EGLContext MakeContext(EGLContext shared) const;
    void MakeCurrent() const { MakeCurrent(Surface(), m_context); }
    void MakeCurrent(EGLSurface surface, EGLContext context) const;

    [[noreturn]] static void Fail(const char* what);

    /// The Wayland side: the connection, and a window.
    struct Compositor;
    struct Window;

private:
    std::unique_ptr<Compositor> m_compositor;
    std::vector<std::unique_ptr<Window>> m_windows;
    /// In the order in which they were made.
    std::vector<EGLSurface> m_surfaces;
    EGLDisplay m_display = EGL_NO_DISPLAY;
    EGLConfig m_config = nullptr;
    EGLint m_version;
    EGLContext m_context = EGL_NO_CONTEXT;
};
