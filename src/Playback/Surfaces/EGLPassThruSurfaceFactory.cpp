#include "Playback/Surfaces/EGLPassThruSurfaceFactory.h"

#include <utility>

#include "Playback/Calls/LiveCall.h"
#include "Playback/Surfaces/EGLPassThruSurface.h"

namespace Playback {

EGLPassThruSurfaceFactory::EGLPassThruSurfaceFactory() = default;

EGLPassThruSurfaceFactory::~EGLPassThruSurfaceFactory() = default;

EGLProxySurface* EGLPassThruSurfaceFactory::Keep(std::unique_ptr<EGLProxySurface> surface)
{
    m_surfaces.push_back(std::move(surface));
    return m_surfaces.back().get();
}

void* EGLPassThruSurfaceFactory::CreateContext(void* display, void* config, void* shareContext, const int* attribs)
{
    return CallLive(LiveEGL.eglCreateContext, display, config, shareContext, attribs);
}

EGLProxySurface* EGLPassThruSurfaceFactory::CreateWindowSurface(void* display, void* config, void* nativeWindow,
                                                                const int* attribs)
{
    auto surface = std::make_unique<EGLPassThruSurface>(EGLProxySurface::OriginalWindow);
    surface->CreateWindowSurface(display, config, nativeWindow, attribs);
    return Keep(std::move(surface));
}

EGLProxySurface* EGLPassThruSurfaceFactory::CreateWindowSurface64(void* display, void* config, void* nativeWindow,
                                                                  const long* attribs)
{
    auto surface = std::make_unique<EGLPassThruSurface>(EGLProxySurface::OriginalWindow);
    surface->CreateWindowSurface64(display, config, nativeWindow, attribs);
    return Keep(std::move(surface));
}

EGLProxySurface* EGLPassThruSurfaceFactory::CreatePbufferSurface(void* display, void* config, const int* attribs)
{
    auto surface = std::make_unique<EGLPassThruSurface>(EGLProxySurface::OriginalPbuffer);
    surface->CreatePbufferSurface(display, config, attribs);
    return Keep(std::move(surface));
}

EGLProxySurface* EGLPassThruSurfaceFactory::CreatePbufferFromClientBuffer(void* display, unsigned int bufferType,
                                                                          void* buffer, void* config,
                                                                          const int* attribs)
{
    auto surface = std::make_unique<EGLPassThruSurface>(EGLProxySurface::OriginalPbuffer);
    surface->CreatePbufferFromClientBuffer(display, bufferType, buffer, config, attribs);
    return Keep(std::move(surface));
}

EGLProxySurface* EGLPassThruSurfaceFactory::CreatePixmapSurface(void* display, void* config, void* pixmap,
                                                                const int* attribs)
{
    auto surface = std::make_unique<EGLPassThruSurface>(EGLProxySurface::OriginalPixmap);
    surface->CreatePixmapSurface(display, config, pixmap, attribs);
    return Keep(std::move(surface));
}

EGLProxySurface* EGLPassThruSurfaceFactory::CreatePixmapSurface64(void* display, void* config, void* pixmap,
                                                                  const long* attribs)
{
    auto surface = std::make_unique<EGLPassThruSurface>(EGLProxySurface::OriginalPixmap);
    surface->CreatePixmapSurface64(display, config, pixmap, attribs);
    return Keep(std::move(surface));
}

unsigned int EGLPassThruSurfaceFactory::DestroySurface(void* display, EGLProxySurface* surface)
{
    if (!surface)
        return 0;
    const unsigned int destroyed = surface->DestroySurface(display);
    std::erase_if(m_surfaces, [surface](const auto& kept) { return kept.get() == surface; });
    return destroyed;
}

void EGLPassThruSurfaceFactory::Terminate(void*) {}

} // namespace Playback
