#pragma once

#include <memory>
#include <utility>

#include "Playback/Surfaces/EGLPassThruSurface.h"
#include "Playback/Surfaces/EGLPassThruSurfaceFactory.h"

struct wl_compositor;
struct wl_egl_window;
struct wl_surface;

namespace Host {

/// A captured pbuffer where the driver has none, as on Wayland: a window without a role, which the compositor never
/// shows. As for a pbuffer, swaps have no effect.
class HiddenSurface : public Playback::EGLPassThruSurface {
public:
    /// The compositor outlives the surface.
    explicit HiddenSurface(wl_compositor* compositor) : EGLPassThruSurface(OriginalPbuffer), m_compositor(compositor) {}
    ~HiddenSurface() override;

    unsigned int CreatePbufferSurface(void* display, void* config, const int* attribs) override;
    unsigned int SwapBuffers(void*) override { return 1; }

private:
    wl_compositor* m_compositor;
    wl_surface* m_window = nullptr;
    wl_egl_window* m_eglWindow = nullptr;
};

/// The config makes pbuffers in this driver.
[[nodiscard]] bool MakesPbuffers(void* display, void* config);

/// A factory of the engine's that makes windows for windows. Pbuffers become windows too where their config makes no
/// pbuffers, though nobody sees them.
template <class WindowFactory> class WindowSurfaceFactory : public WindowFactory {
public:
    explicit WindowSurfaceFactory(wl_compositor* compositor) : m_compositor(compositor) {}

    Playback::EGLProxySurface* CreatePbufferSurface(void* display, void* config, const int* attribs) override
    {
        if (MakesPbuffers(display, config))
            return WindowFactory::CreatePbufferSurface(display, config, attribs);
        auto surface = std::make_unique<HiddenSurface>(m_compositor);
        surface->CreatePbufferSurface(display, config, attribs);
        return this->Keep(std::move(surface));
    }

private:
    wl_compositor* m_compositor;
};

} // namespace Host
