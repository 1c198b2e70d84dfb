#include "Playback/Surfaces/EGLOffscreenSurfaceFactory.h"

#include <utility>

#include "Playback/Surfaces/EGLOffscreenSurface.h"

namespace Playback {

EGLProxySurface* EGLOffscreenSurfaceFactory::CreateWindowSurface(void* display, void* config, void* nativeWindow,
                                                                 const int* attribs)
{
    auto surface = std::make_unique<EGLOffscreenSurface>(m_windowManager);
    surface->CreateWindowSurface(display, GetConfig(display, config), nativeWindow, attribs);
    return Keep(std::move(surface));
}

} // namespace Playback
