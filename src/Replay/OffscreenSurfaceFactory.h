#pragma once

#include <map>
#include <vector>

#include <EGL/egl.h>

#include "Interfaces/Core.h"
#include "Playback/Surfaces/EGLProxySurface.h"

namespace Replay {

/// A factory of the engine's that makes pbuffers for windows, which here does so for both entry points that create
/// windows: a driver without windows has neither.
template <class PbufferFactory> class OffscreenSurfaceFactory : public PbufferFactory {
public:
    using PbufferFactory::PbufferFactory;

    Playback::EGLProxySurface* CreateWindowSurface64(void* display, void* config, void* nativeWindow,
                                                     const long* attribs) override
    {
        std::vector<int> narrow;
        for (; attribs && *attribs != EGL_NONE; attribs += 2)
            narrow.insert(narrow.end(), {static_cast<int>(attribs[0]), static_cast<int>(attribs[1])});
        narrow.push_back(EGL_NONE);
        return this->CreateWindowSurface(display, config, nativeWindow, narrow.data());
    }
};

/// The same with one pbuffer for all windows of a display, as the single surface is on screen.
template <class PbufferFactory> class SingleOffscreenSurfaceFactory : public OffscreenSurfaceFactory<PbufferFactory> {
public:
    using OffscreenSurfaceFactory<PbufferFactory>::OffscreenSurfaceFactory;

    Playback::EGLProxySurface* CreateWindowSurface(void* display, void* config, void* nativeWindow,
                                                   const int* attribs) override
    {
        Playback::EGLProxySurface*& window = m_windows[display];
        if (window) {
            PLAYBACK_LOG(Notice, General, "src/Replay/OffscreenSurfaceFactory",
                         "Skipping window surface creation due to single surface override.");
        } else {
            window = PbufferFactory::CreateWindowSurface(display, config, nativeWindow, attribs);
        }
        return window;
    }
    /// Windows stay until their display ends.
    unsigned int DestroySurface(void* display, Playback::EGLProxySurface* surface) override
    {
        const bool isWindow = surface && surface->GetOriginalType() == Playback::EGLProxySurface::OriginalWindow;
        return isWindow ? EGL_TRUE : PbufferFactory::DestroySurface(display, surface);
    }
    void Terminate(void* display) override
    {
        if (const auto window = m_windows.extract(display))
            PbufferFactory::DestroySurface(display, window.mapped());
        PbufferFactory::Terminate(display);
    }

private:
    std::map<void*, Playback::EGLProxySurface*> m_windows;
};

} // namespace Replay
