#include "Playback/Surfaces/EGLSingleSurfaceFactory.h"

#include "Interfaces/Core.h"
#include "Playback/Surfaces/EGLProxySurface.h"

namespace Playback {

EGLProxySurface* EGLSingleSurfaceFactory::CreateWindowSurface(void* display, void* config, void* nativeWindow,
                                                              const int* attribs)
{
    if (auto* surface = Reuse(display))
        return surface;
    return Remember(display, EGLPassThruSurfaceFactory::CreateWindowSurface(display, config, nativeWindow, attribs));
}

EGLProxySurface* EGLSingleSurfaceFactory::CreateWindowSurface64(void* display, void* config, void* nativeWindow,
                                                                const long* attribs)
{
    if (auto* surface = Reuse(display))
        return surface;
    return Remember(display, EGLPassThruSurfaceFactory::CreateWindowSurface64(display, config, nativeWindow, attribs));
}

EGLProxySurface* EGLSingleSurfaceFactory::Reuse(void* display) const
{
    const auto found = m_windowSurfaces.find(display);
    if (found == m_windowSurfaces.end())
        return nullptr;
    PLAYBACK_LOG(Notice, General, "src/Playback/EGLSingleSurfaceFactory",
                 "Skipping window surface creation due to single surface override.");
    return found->second;
}

EGLProxySurface* EGLSingleSurfaceFactory::Remember(void* display, EGLProxySurface* surface)
{
    if (!surface->GetSurface()) {
        EGLPassThruSurfaceFactory::DestroySurface(display, surface);
        return nullptr;
    }
    m_windowSurfaces.emplace(display, surface);
    return surface;
}

unsigned int EGLSingleSurfaceFactory::DestroySurface(void* display, EGLProxySurface* surface)
{
    if (!surface)
        return 0;
    switch (surface->GetOriginalType()) {
    case EGLProxySurface::OriginalWindow:
        return 1;
    case EGLProxySurface::OriginalPbuffer:
    case EGLProxySurface::OriginalPixmap:
        return EGLPassThruSurfaceFactory::DestroySurface(display, surface);
    }
    return 0;
}

void EGLSingleSurfaceFactory::Terminate(void* display)
{
    const auto found = m_windowSurfaces.find(display);
    if (found != m_windowSurfaces.end()) {
        EGLPassThruSurfaceFactory::DestroySurface(display, found->second);
        m_windowSurfaces.erase(found);
    }
}

} // namespace Playback
