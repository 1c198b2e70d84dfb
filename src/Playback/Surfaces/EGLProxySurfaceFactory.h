#pragma once

namespace Playback {

class EGLProxySurface;

/// Makes the surfaces and contexts of a replay; contexts too, so that both get the same config where it is replaced.
/// Owns the surfaces it makes. Built by the host, outlives the EGL adapter. All arguments are live handles.
class EGLProxySurfaceFactory {
public:
    virtual ~EGLProxySurfaceFactory() = default;

    /// EGL_NO_CONTEXT when the driver refuses.
    virtual void* CreateContext(void* display, void* config, void* shareContext, const int* attribs) = 0;
    /// A proxy comes back even where the driver refused the surface, unless the factory says otherwise.
    virtual EGLProxySurface* CreateWindowSurface(void* display, void* config, void* nativeWindow,
                                                 const int* attribs) = 0;
    virtual EGLProxySurface* CreateWindowSurface64(void* display, void* config, void* nativeWindow,
                                                   const long* attribs) = 0;
    virtual EGLProxySurface* CreatePbufferSurface(void* display, void* config, const int* attribs) = 0;
    virtual EGLProxySurface* CreatePbufferFromClientBuffer(void* display, unsigned int bufferType, void* buffer,
                                                           void* config, const int* attribs) = 0;
    virtual EGLProxySurface* CreatePixmapSurface(void* display, void* config, void* pixmap, const int* attribs) = 0;
    virtual EGLProxySurface* CreatePixmapSurface64(void* display, void* config, void* pixmap, const long* attribs) = 0;
    /// Returns the EGLBoolean of the live destruction; 0 for null. The proxy is gone afterwards unless the factory
    /// keeps it for other captured surfaces.
    virtual unsigned int DestroySurface(void* display, EGLProxySurface* surface) = 0;
    /// Releases what the factory keeps for the display, which is about to be terminated.
    virtual void Terminate(void* display) = 0;
};

} // namespace Playback
