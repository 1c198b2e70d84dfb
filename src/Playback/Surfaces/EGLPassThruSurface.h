#pragma once

#include "Playback/Surfaces/EGLProxySurface.h"

namespace Playback {

/// Hands every operation to the EGL function of the same name.
class EGLPassThruSurface : public EGLProxySurface {
public:
    using EGLProxySurface::EGLProxySurface;

    /// Only notes the size: the live surface has that of its window or its attributes.
    void SetSize(unsigned int width, unsigned int height) override;
    unsigned int GetWidth() override { return m_width; }
    unsigned int GetHeight() override { return m_height; }
    unsigned int MakeCurrent(void* display, const EGLProxySurface* read, void* context) override;
    unsigned int SwapBuffers(void* display) override;
    unsigned int CreateWindowSurface(void* display, void* config, void* nativeWindow, const int* attribs) override;
    unsigned int CreatePbufferSurface(void* display, void* config, const int* attribs) override;
    unsigned int CreatePbufferFromClientBuffer(void* display, unsigned int bufferType, void* buffer, void* config,
                                               const int* attribs) override;
    unsigned int CreatePixmapSurface(void* display, void* config, void* pixmap, const int* attribs) override;
    unsigned int DestroySurface(void* display) override;
    unsigned int BindTexImage(void* display, int buffer) override;
    unsigned int ReleaseTexImage(void* display, int buffer) override;
    unsigned int CopyBuffers(void* display, void* pixmap) override;
    unsigned int SurfaceAttrib(void* display, int attribute, int value) override;
    unsigned int QuerySurface(void* display, int attribute, int* value) override;
    unsigned int QuerySurface64KHR(void* display, int attribute, long* value) override;
    unsigned int SetDamageRegionKHR(void* display, int* rects, int count) override;
    unsigned int LockSurfaceKHR(void* display, int* attribs) override;
    unsigned int UnlockSurfaceKHR(void* display) override;
    [[nodiscard]] void* GetSurface() const override { return m_surface; }
    unsigned int CreateWindowSurface64(void* display, void* config, void* nativeWindow, const long* attribs) override;
    unsigned int CreatePixmapSurface64(void* display, void* config, void* pixmap, const long* attribs) override;

private:
    /// Keeps a surface that was just created; returns whether there is one.
    unsigned int Keep(void* surface);

    void* m_surface = nullptr;
    unsigned int m_width = 0;
    unsigned int m_height = 0;
};

} // namespace Playback
