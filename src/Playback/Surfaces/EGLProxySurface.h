#pragma once

namespace Playback {

/// A surface of the capture, realised in whatever way the surface factory chose. Made and destroyed by its factory.
///
/// Displays, configs, contexts and native objects are live handles. Operations named like an EGL function do what it
/// does and return its EGLBoolean: 1 success, 0 failure, also where the driver lacks the function.
class EGLProxySurface {
public:
    /// The kind of surface that the captured application made, whatever it is replayed with.
    enum OriginalType : unsigned int {
        OriginalWindow = 1,
        /// Pbuffers from client buffers too.
        OriginalPbuffer = 2,
        OriginalPixmap = 3,
    };

    explicit EGLProxySurface(OriginalType type) : m_originalType(type) {}
    virtual ~EGLProxySurface() = default;
    EGLProxySurface(const EGLProxySurface&) = delete;
    EGLProxySurface& operator=(const EGLProxySurface&) = delete;

    [[nodiscard]] virtual OriginalType GetOriginalType() const { return m_originalType; }
    /// Size in pixels that the surface had in the capture.
    virtual void SetSize(unsigned int width, unsigned int height) = 0;
    virtual unsigned int GetWidth() = 0;
    virtual unsigned int GetHeight() = 0;
    /// With this as the draw surface. `read` may be null for none.
    virtual unsigned int MakeCurrent(void* display, const EGLProxySurface* read, void* context) = 0;
    virtual unsigned int SwapBuffers(void* display) = 0;
    virtual unsigned int CreateWindowSurface(void* display, void* config, void* nativeWindow, const int* attribs) = 0;
    virtual unsigned int CreatePbufferSurface(void* display, void* config, const int* attribs) = 0;
    virtual unsigned int CreatePbufferFromClientBuffer(void* display, unsigned int bufferType, void* buffer,
                                                       void* config, const int* attribs) = 0;
    virtual unsigned int CreatePixmapSurface(void* display, void* config, void* pixmap, const int* attribs) = 0;
    virtual unsigned int DestroySurface(void* display) = 0;
    virtual unsigned int BindTexImage(void* display, int buffer) = 0;
    virtual unsigned int ReleaseTexImage(void* display, int buffer) = 0;
    virtual unsigned int CopyBuffers(void* display, void* pixmap) = 0;
    virtual unsigned int SurfaceAttrib(void* display, int attribute, int value) = 0;
    virtual unsigned int QuerySurface(void* display, int attribute, int* value) = 0;
    virtual unsigned int QuerySurface64KHR(void* display, int attribute, long* value) = 0;
    virtual unsigned int SetDamageRegionKHR(void* display, int* rects, int count) = 0;
    virtual unsigned int LockSurfaceKHR(void* display, int* attribs) = 0;
    virtual unsigned int UnlockSurfaceKHR(void* display) = 0;
    /// The live EGLSurface; null when there is none (yet).
    [[nodiscard]] virtual void* GetSurface() const = 0;
    virtual unsigned int CreateWindowSurface64(void* display, void* config, void* nativeWindow,
                                               const long* attribs) = 0;
    virtual unsigned int CreatePixmapSurface64(void* display, void* config, void* pixmap, const long* attribs) = 0;

private:
    OriginalType m_originalType;
};

} // namespace Playback
