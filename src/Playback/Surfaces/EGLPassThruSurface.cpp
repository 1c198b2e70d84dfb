#include "Playback/Surfaces/EGLPassThruSurface.h"

#include <EGL/egl.h>

#include "Playback/Calls/LiveCall.h"

namespace Playback {

namespace {

/// Native windows and pixmaps are pointers or numbers, by platform.
template <class Native> Native ToNative(void* handle)
{
    return (Native)handle;
}

} // namespace

unsigned int EGLPassThruSurface::Keep(void* surface)
{
    m_surface = surface;
    return surface != EGL_NO_SURFACE;
}

void EGLPassThruSurface::SetSize(unsigned int width, unsigned int height)
{
    m_width = width;
    m_height = height;
}

unsigned int EGLPassThruSurface::MakeCurrent(void* display, const EGLProxySurface* read, void* context)
{
    return CallLive(LiveEGL.eglMakeCurrent, display, m_surface, read ? read->GetSurface() : EGL_NO_SURFACE, context);
}

unsigned int EGLPassThruSurface::SwapBuffers(void* display)
{
    return CallLive(LiveEGL.eglSwapBuffers, display, m_surface);
}

unsigned int EGLPassThruSurface::CreateWindowSurface(void* display, void* config, void* nativeWindow,
                                                     const int* attribs)
{
    return Keep(CallLive(LiveEGL.eglCreateWindowSurface, display, config, ToNative<EGLNativeWindowType>(nativeWindow),
                         attribs));
}

unsigned int EGLPassThruSurface::CreatePbufferSurface(void* display, void* config, const int* attribs)
{
    return Keep(CallLive(LiveEGL.eglCreatePbufferSurface, display, config, attribs));
}

unsigned int EGLPassThruSurface::CreatePbufferFromClientBuffer(void* display, unsigned int bufferType, void* buffer,
                                                               void* config, const int* attribs)
{
    return Keep(CallLive(LiveEGL.eglCreatePbufferFromClientBuffer, display, bufferType, buffer, config, attribs));
}

unsigned int EGLPassThruSurface::CreatePixmapSurface(void* display, void* config, void* pixmap, const int* attribs)
{
    return Keep(
        CallLive(LiveEGL.eglCreatePixmapSurface, display, config, ToNative<EGLNativePixmapType>(pixmap), attribs));
}

unsigned int EGLPassThruSurface::CreateWindowSurface64(void* display, void* config, void* nativeWindow,
                                                       const long* attribs)
{
    return Keep(CallLive(LiveEGL.eglCreatePlatformWindowSurface, display, config, nativeWindow, attribs));
}

unsigned int EGLPassThruSurface::CreatePixmapSurface64(void* display, void* config, void* pixmap, const long* attribs)
{
    return Keep(CallLive(LiveEGL.eglCreatePlatformPixmapSurface, display, config, pixmap, attribs));
}

unsigned int EGLPassThruSurface::DestroySurface(void* display)
{
    const unsigned int destroyed = CallLive(LiveEGL.eglDestroySurface, display, m_surface);
    if (destroyed)
        m_surface = EGL_NO_SURFACE;
    return destroyed;
}

unsigned int EGLPassThruSurface::BindTexImage(void* display, int buffer)
{
    return CallLive(LiveEGL.eglBindTexImage, display, m_surface, buffer);
}

unsigned int EGLPassThruSurface::ReleaseTexImage(void* display, int buffer)
{
    return CallLive(LiveEGL.eglReleaseTexImage, display, m_surface, buffer);
}

unsigned int EGLPassThruSurface::CopyBuffers(void* display, void* pixmap)
{
    return CallLive(LiveEGL.eglCopyBuffers, display, m_surface, ToNative<EGLNativePixmapType>(pixmap));
}

unsigned int EGLPassThruSurface::SurfaceAttrib(void* display, int attribute, int value)
{
    return CallLive(LiveEGL.eglSurfaceAttrib, display, m_surface, attribute, value);
}

unsigned int EGLPassThruSurface::QuerySurface(void* display, int attribute, int* value)
{
    return CallLive(LiveEGL.eglQuerySurface, display, m_surface, attribute, value);
}

unsigned int EGLPassThruSurface::QuerySurface64KHR(void* display, int attribute, long* value)
{
    return CallLive(LiveEGLExt.eglQuerySurface64KHR, display, m_surface, attribute, value);
}

unsigned int EGLPassThruSurface::SetDamageRegionKHR(void* display, int* rects, int count)
{
    return CallLive(LiveEGLExt.eglSetDamageRegionKHR, display, m_surface, rects, count);
}

unsigned int EGLPassThruSurface::LockSurfaceKHR(void* display, int* attribs)
{
    return CallLive(LiveEGLExt.eglLockSurfaceKHR, display, m_surface, attribs);
}

unsigned int EGLPassThruSurface::UnlockSurfaceKHR(void* display)
{
    return CallLive(LiveEGLExt.eglUnlockSurfaceKHR, display, m_surface);
}

} // namespace Playback
