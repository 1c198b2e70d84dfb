#pragma once

#include <memory>
#include <vector>

#include "Playback/Surfaces/EGLProxySurfaceFactory.h"

namespace Playback {

/// Makes each captured surface the live surface of the same kind.
class EGLPassThruSurfaceFactory : public EGLProxySurfaceFactory {
public:
    EGLPassThruSurfaceFactory();
    /// Frees the proxies of surfaces that the capture never destroyed; their live surfaces went with the display.
    ~EGLPassThruSurfaceFactory() override;

    void* CreateContext(void* display, void* config, void* shareContext, const int* attribs) override;
    EGLProxySurface* CreateWindowSurface(void* display, void* config, void* nativeWindow, const int* attribs) override;
    EGLProxySurface* CreateWindowSurface64(void* display, void* config, void* nativeWindow,
                                           const long* attribs) override;
    EGLProxySurface* CreatePbufferSurface(void* display, void* config, const int* attribs) override;
    EGLProxySurface* CreatePbufferFromClientBuffer(void* display, unsigned int bufferType, void* buffer, void* config,
                                                   const int* attribs) override;
    EGLProxySurface* CreatePixmapSurface(void* display, void* config, void* pixmap, const int* attribs) override;
    EGLProxySurface* CreatePixmapSurface64(void* display, void* config, void* pixmap, const long* attribs) override;
    unsigned int DestroySurface(void* display, EGLProxySurface* surface) override;
    void Terminate(void* display) override;

protected:
    /// Owns the surface from now on, until DestroySurface.
    EGLProxySurface* Keep(std::unique_ptr<EGLProxySurface> surface);

private:
    std::vector<std::unique_ptr<EGLProxySurface>> m_surfaces;
};

} // namespace Playback
