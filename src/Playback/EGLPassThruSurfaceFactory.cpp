#include "Playback/EGLPassThruSurfaceFactory.h"

#include "Playback/EGLPassThruSurface.h"
#include "Playback/LiveCall.h"

namespace Playback {

void* EGLPassThruSurfaceFactory::CreateContext(void* display, void* config, void* shareContext, const int* attribs)
{
    return CallLive(LiveEGL.eglCreateContext, display, config, shareContext, attribs);
}

EGLProxySurface* EGLPassThruSurfaceFactory::CreateWindowSurface(void* display, void* config, void* nativeWindow,
                                                                const int* attribs)
{
    auto* surface = new EGLPassThruSurface(EGLProxySurface::OriginalWindow);
    surface->CreateWindowSurface(display, config, nativeWindow, attribs);
    return surface;
}

EGLProxySurface* EGLPassThruSurfaceFactory::CreateWindowSurface64(void* display, void* config, void* nativeWindow,
                                                                  const long* attribs)
{
    auto* surface = new EGLPassThruSurface(EGLProxySurface::OriginalWindow);
    surface->CreateWindowSurface64(display, config, nativeWindow, attribs);
    return surface;
}

EGLProxySurface* EGLPassThruSurfaceFactory::CreatePbufferSurface(void* display, void* config, const int* attribs)
{
    auto* surface = new EGLPassThruSurface(EGLProxySurface::OriginalPbuffer);
    surface->CreatePbufferSurface(display, config, attribs);
    return surface;
}

EGLProxySurface* EGLPassThruSurfaceFactory::CreatePbufferFromClientBuffer(void* display, unsigned int bufferType,
                                                                          void* buffer, void* config,
                                                                          const int* attribs)
{
    auto* surface = new EGLPassThruSurface(EGLProxySurface::OriginalPbuffer);
    surface->CreatePbufferFromClientBuffer(display, bufferType, buffer, config, attribs);
    return surface;
}

EGLProxySurface* EGLPassThruSurfaceFactory::CreatePixmapSurface(void* display, void* config, void* pixmap,
                                                                const int* attribs)
{
    auto* surface = new EGLPassThruSurface(EGLProxySurface::OriginalPixmap);
    surface->CreatePixmapSurface(display, config, pixmap, attribs);
    return surface;
}

EGLProxySurface* EGLPassThruSurfaceFactory::CreatePixmapSurface64(void* display, void* config, void* pixmap,
                                                                  const long* attribs)
{
    auto* surface = new EGLPassThruSurface(EGLProxySurface::OriginalPixmap);
    surface->CreatePixmapSurface64(display, config, pixmap, attribs);
    return surface;
}

unsigned int EGLPassThruSurfaceFactory::DestroySurface(void* display, EGLProxySurface* surface)
{
    if (!surface) {
        return 0;
    }
    const unsigned int destroyed = surface->DestroySurface(display);
    delete surface;
    return destroyed;
}

void EGLPassThruSurfaceFactory::Terminate(void*) {}

} // namespace Playback
