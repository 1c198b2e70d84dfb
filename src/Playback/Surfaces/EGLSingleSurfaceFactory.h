#pragma once

#include <map>

#include "Playback/Surfaces/EGLPassThruSurfaceFactory.h"

namespace Playback {

/// One live window surface per display; window surfaces that the capture makes later are the first one again.
class EGLSingleSurfaceFactory : public EGLPassThruSurfaceFactory {
public:
    /// Null when the driver refuses the display's first window surface.
    EGLProxySurface* CreateWindowSurface(void* display, void* config, void* nativeWindow, const int* attribs) override;
    EGLProxySurface* CreateWindowSurface64(void* display, void* config, void* nativeWindow,
                                           const long* attribs) override;
    /// Keeps window surfaces until Terminate, and returns 1 for them.
    unsigned int DestroySurface(void* display, EGLProxySurface* surface) override;
    void Terminate(void* display) override;

private:
    /// The display's window surface, with a message that no other is made; null when there is none yet.
    EGLProxySurface* Reuse(void* display) const;
    /// Remembers a new window surface, or destroys it and returns null when it has no live surface.
    EGLProxySurface* Remember(void* display, EGLProxySurface* surface);

    std::map<void*, EGLProxySurface*> m_windowSurfaces;
};

} // namespace Playback
