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

struct Stage::Compositor {
    wl_display* display = nullptr;
    wl_registry* registry = nullptr;
    wl_compositor* compositor = nullptr;
    xdg_wm_base* shell = nullptr;

    Compositor();
    ~Compositor();
};

/// A toplevel of the stable xdg-shell, mapped and configured.
struct Stage::Window {
    wl_surface* surface = nullptr;
    xdg_surface* shellSurface = nullptr;
    xdg_toplevel* toplevel = nullptr;
    wl_egl_window* native = nullptr;
    bool configured = false;

    Window(const Compositor& compositor, int width, int height);
    ~Window();
};

namespace {

void OnGlobal(void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t)
{
    auto* compositor = static_cast<Stage::Compositor*>(data);
    if (std::strcmp(interface, wl_compositor_interface.name) == 0) {
        compositor->compositor =
            static_cast<wl_compositor*>(wl_registry_bind(registry, name, &wl_compositor_interface, 1));
    } else if (std::strcmp(interface, xdg_wm_base_interface.name) == 0) {
        compositor->shell = static_cast<xdg_wm_base*>(wl_registry_bind(registry, name, &xdg_wm_base_interface, 1));
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
    static_cast<Stage::Window*>(data)->configured = true;
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
        if (same)
            return config;
    }
    Stage::Fail("choosing a config");
}

} // namespace

Stage::Compositor::Compositor()
{
    display = wl_display_connect(nullptr);
    if (!display)
        Fail("connecting to a compositor");
    registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &registryListener, this);
    wl_display_roundtrip(display);
    if (!compositor || !shell)
        Fail("finding xdg_wm_base");
    xdg_wm_base_add_listener(shell, &shellListener, nullptr);
}

Stage::Compositor::~Compositor()
{
    xdg_wm_base_destroy(shell);
    wl_compositor_destroy(compositor);
    wl_registry_destroy(registry);
    wl_display_disconnect(display);
}

Stage::Window::Window(const Compositor& compositor, int width, int height)
{
    surface = wl_compositor_create_surface(compositor.compositor);
    shellSurface = xdg_wm_base_get_xdg_surface(compositor.shell, surface);
    xdg_surface_add_listener(shellSurface, &surfaceListener, this);
    toplevel = xdg_surface_get_toplevel(shellSurface);
    xdg_toplevel_add_listener(toplevel, &toplevelListener, nullptr);
    xdg_toplevel_set_title(toplevel, "test client");
    wl_surface_commit(surface);
    while (!configured && wl_display_dispatch(compositor.display) >= 0) {
    }
    native = wl_egl_window_create(surface, width, height);
}

Stage::Window::~Window()
{
    wl_egl_window_destroy(native);
    xdg_toplevel_destroy(toplevel);
    xdg_surface_destroy(shellSurface);
    wl_surface_destroy(surface);
}

Stage::Stage(Kind kind, int width, int height, int version) : m_version(version)
{
    if (kind == Kind::Window) {
        m_compositor = std::make_unique<Compositor>();
        m_display = eglGetDisplay(reinterpret_cast<EGLNativeDisplayType>(m_compositor->display));
    } else {
        m_display = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    }
    if (!eglInitialize(m_display, nullptr, nullptr) || !eglBindAPI(EGL_OPENGL_ES_API))
        Fail("eglInitialize");
    m_config = ChooseConfig(m_display, m_compositor ? EGL_WINDOW_BIT : EGL_PBUFFER_BIT);
    if (kind != Kind::Surfaceless)
        MakeSurface(width, height);
    m_context = MakeContext(EGL_NO_CONTEXT);
    MakeCurrent();
    // Frames are drawn as fast as they can be: nobody watches.
    eglSwapInterval(m_display, 0);
}

EGLSurface Stage::MakeSurface(int width, int height, EGLConfig config)
{
    config = config ? config : m_config;
    EGLSurface surface = EGL_NO_SURFACE;
    if (m_compositor) {
        m_windows.push_back(std::make_unique<Window>(*m_compositor, width, height));
        const auto native = reinterpret_cast<EGLNativeWindowType>(m_windows.back()->native);
        surface = eglCreateWindowSurface(m_display, config, native, nullptr);
    } else {
        const EGLint size[] = {EGL_WIDTH, width, EGL_HEIGHT, height, EGL_NONE};
        surface = eglCreatePbufferSurface(m_display, config, size);
    }
    if (surface == EGL_NO_SURFACE)
        Fail("making a surface");
    m_surfaces.push_back(surface);
    return surface;
}

EGLContext Stage::MakeContext(EGLContext shared) const
{
    const EGLint attributes[] = {EGL_CONTEXT_CLIENT_VERSION, m_version, EGL_NONE};
    const EGLContext context = eglCreateContext(m_display, m_config, shared, attributes);
    if (context == EGL_NO_CONTEXT)
        Fail("eglCreateContext");
    return context;
}

void Stage::MakeCurrent(EGLSurface surface, EGLContext context) const
{
    if (!eglMakeCurrent(m_display, surface, surface, context))
        Fail("eglMakeCurrent");
}

Stage::~Stage()
{
    eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(m_display, m_context);
    for (const EGLSurface surface : m_surfaces)
        eglDestroySurface(m_display, surface);
    eglTerminate(m_display);
}

void Stage::Swap()
{
    if (!eglSwapBuffers(m_display, eglGetCurrentSurface(EGL_DRAW)))
        Fail("eglSwapBuffers");
    if (m_compositor)
        wl_display_dispatch_pending(m_compositor->display);
}

void Stage::Resize(int width, int height)
{
    if (!m_windows.empty())
        wl_egl_window_resize(m_windows.front()->native, width, height, 0, 0);
}
