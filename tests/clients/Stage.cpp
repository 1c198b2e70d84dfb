#include "Stage.h"

#include <EGL/eglext.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>
#include <wayland-client.h>
#include <wayland-egl.h>

#include "xdg-shell-client-protocol.h"

void Stage::Fail(const char* what)
{
    std::fprintf(stderr, "test client: %s failed (EGL error 0x%x)\n", what, static_cast<unsigned>(eglGetError()));
    std::exit(1);
}

/// A toplevel of the stable xdg-shell, mapped and configured.
struct Stage::WaylandWindow {
    wl_display* display = nullptr;
    wl_registry* registry = nullptr;
    wl_compositor* compositor = nullptr;
    xdg_wm_base* shell = nullptr;
    wl_surface* surface = nullptr;
    xdg_surface* shellSurface = nullptr;
    xdg_toplevel* toplevel = nullptr;
    wl_egl_window* native = nullptr;
    bool configured = false;

    WaylandWindow(int width, int height);
    ~WaylandWindow();
};

namespace {

void OnGlobal(void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t)
{
    auto* window = static_cast<Stage::WaylandWindow*>(data);
    if (std::strcmp(interface, wl_compositor_interface.name) == 0) {
        window->compositor = static_cast<wl_compositor*>(wl_registry_bind(registry, name, &wl_compositor_interface, 1));
    } else if (std::strcmp(interface, xdg_wm_base_interface.name) == 0) {
        window->shell = static_cast<xdg_wm_base*>(wl_registry_bind(registry, name, &xdg_wm_base_interface, 1));
    }
}

void OnGlobalRemove(void*, wl_registry*, std::uint32_t) {}

void OnPing(void*, xdg_wm_base* shell, std::uint32_t serial)
{
    xdg_wm_base_pong(shell, serial);
}

void OnSurfaceConfigure(void* data, xdg_surface* surface, std::uint32_t serial)
{
    xdg_surface_ack_configure(surface, serial);
    static_cast<Stage::WaylandWindow*>(data)->configured = true;
}

// The size stays as asked for, whatever the compositor would like.
void OnToplevelConfigure(void*, xdg_toplevel*, std::int32_t, std::int32_t, wl_array*) {}
void OnToplevelClose(void*, xdg_toplevel*) {}

const wl_registry_listener registryListener = {OnGlobal, OnGlobalRemove};
const xdg_wm_base_listener shellListener = {OnPing};
const xdg_surface_listener surfaceListener = {OnSurfaceConfigure};
// Events of later versions than the one bound are not sent.
const xdg_toplevel_listener toplevelListener = {OnToplevelConfigure, OnToplevelClose, nullptr, nullptr};

/// The config with exactly these sizes: with minimum sizes a driver may put one with 10 bits a channel first.
EGLConfig ChooseConfig(EGLDisplay display, EGLint surfaceType)
{
    const EGLint wanted[] = {EGL_RED_SIZE,   8,  EGL_GREEN_SIZE,   8, EGL_BLUE_SIZE, 8, EGL_ALPHA_SIZE, 8,
                             EGL_DEPTH_SIZE, 24, EGL_STENCIL_SIZE, 8, EGL_SAMPLES,   0};
    std::vector<EGLint> request(std::begin(wanted), std::end(wanted));
    request.insert(request.end(), {EGL_SURFACE_TYPE, surfaceType, EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_NONE});

    EGLint count = 0;
    eglChooseConfig(display, request.data(), nullptr, 0, &count);
    std::vector<EGLConfig> configs(static_cast<std::size_t>(count));
    eglChooseConfig(display, request.data(), configs.data(), count, &count);
    for (EGLConfig config : configs) {
        bool same = true;
        for (std::size_t i = 0; i < std::size(wanted); i += 2) {
            EGLint value = -1;
            eglGetConfigAttrib(display, config, wanted[i], &value);
            same = same && value == wanted[i + 1];
        }
        if (same) {
            return config;
        }
    }
    Stage::Fail("choosing a config");
}

} // namespace

Stage::WaylandWindow::WaylandWindow(int width, int height)
{
    display = wl_display_connect(nullptr);
    if (!display) {
        Fail("connecting to a compositor");
    }
    registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &registryListener, this);
    wl_display_roundtrip(display);
    if (!compositor || !shell) {
        Fail("finding xdg_wm_base");
    }
    xdg_wm_base_add_listener(shell, &shellListener, nullptr);
    surface = wl_compositor_create_surface(compositor);
    shellSurface = xdg_wm_base_get_xdg_surface(shell, surface);
    xdg_surface_add_listener(shellSurface, &surfaceListener, this);
    toplevel = xdg_surface_get_toplevel(shellSurface);
    xdg_toplevel_add_listener(toplevel, &toplevelListener, nullptr);
    xdg_toplevel_set_title(toplevel, "spinning");
    wl_surface_commit(surface);
    while (!configured && wl_display_dispatch(display) >= 0) {
    }
    native = wl_egl_window_create(surface, width, height);
}

Stage::WaylandWindow::~WaylandWindow()
{
    wl_egl_window_destroy(native);
    xdg_toplevel_destroy(toplevel);
    xdg_surface_destroy(shellSurface);
    wl_surface_destroy(surface);
    xdg_wm_base_destroy(shell);
    wl_compositor_destroy(compositor);
    wl_registry_destroy(registry);
    wl_display_disconnect(display);
}

Stage::Stage(Kind kind, int width, int height, int version)
{
    if (kind == Kind::Window) {
        m_window = std::make_unique<WaylandWindow>(width, height);
        m_display = eglGetDisplay(reinterpret_cast<EGLNativeDisplayType>(m_window->display));
    } else {
        m_display = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    }
    if (!eglInitialize(m_display, nullptr, nullptr) || !eglBindAPI(EGL_OPENGL_ES_API)) {
        Fail("eglInitialize");
    }
    const EGLConfig config = ChooseConfig(m_display, m_window ? EGL_WINDOW_BIT : EGL_PBUFFER_BIT);
    if (m_window) {
        m_surface =
            eglCreateWindowSurface(m_display, config, reinterpret_cast<EGLNativeWindowType>(m_window->native), nullptr);
    } else {
        const EGLint size[] = {EGL_WIDTH, width, EGL_HEIGHT, height, EGL_NONE};
        m_surface = eglCreatePbufferSurface(m_display, config, size);
    }
    const EGLint attributes[] = {EGL_CONTEXT_CLIENT_VERSION, version, EGL_NONE};
    m_context = eglCreateContext(m_display, config, EGL_NO_CONTEXT, attributes);
    if (!eglMakeCurrent(m_display, m_surface, m_surface, m_context)) {
        Fail("eglMakeCurrent");
    }
    // Frames are drawn as fast as they can be: nobody watches.
    eglSwapInterval(m_display, 0);
}

Stage::~Stage()
{
    eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(m_display, m_context);
    eglDestroySurface(m_display, m_surface);
    eglTerminate(m_display);
}

void Stage::Swap()
{
    if (!eglSwapBuffers(m_display, m_surface)) {
        Fail("eglSwapBuffers");
    }
    if (m_window) {
        wl_display_dispatch_pending(m_window->display);
    }
}

void Stage::Resize(int width, int height)
{
    if (m_window) {
        wl_egl_window_resize(m_window->native, width, height, 0, 0);
    }
}
