#include "Playback/EGLOffscreenSurfaceFactory.h"

#include "Playback/EGLOffscreenSurface.h"

namespace Playback {

EGLProxySurface* EGLOffscreenSurfaceFactory::CreateWindowSurface(void* display, void* config, void* nativeWindow,
                                                                 const int* attribs)
{
    auto* surface = new EGLOffscreenSurface(m_windowManager);
    surface->CreateWindowSurface(display, GetConfig(display, config), nativeWindow, attribs);
    return surface;
}

} // namespace Playback
