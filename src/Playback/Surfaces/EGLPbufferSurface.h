#pragma once

#include <map>
#include <vector>

#include "Playback/Surfaces/EGLPassThruSurface.h"

namespace Playback {

/// Since a pbuffer cannot change its size, it is made at make-current, when the capture has told the size, and made
/// anew at a later make-current with another size.
class EGLPbufferSurface : public EGLPassThruSurface {
public:
    EGLPbufferSurface() : EGLPassThruSurface(OriginalWindow) {}

    /// A wish, which the next make-current fulfils. A zero width or height leaves the one asked for before.
    void SetSize(unsigned int width, unsigned int height) override;
    /// The size asked for; that of the pbuffer when none was.
    unsigned int GetWidth() override;
    unsigned int GetHeight() override;
    unsigned int MakeCurrent(void* display, const EGLProxySurface* read, void* context) override;
    /// Only keeps the config and the attributes for the pbuffer; the window is not used. Returns 1.
    unsigned int CreateWindowSurface(void* display, void* config, void* nativeWindow, const int* attribs) override;
    unsigned int DestroySurface(void* display) override;
    /// The value is remembered for pbuffers made later.
    unsigned int SurfaceAttrib(void* display, int attribute, int value) override;

protected:
    [[nodiscard]] bool IsLive() const { return m_live; }

private:
    /// Makes the pbuffer when there is none of the size asked for. Returns the EGLBoolean of its creation.
    unsigned int ProcessResizeRequest();
    [[nodiscard]] std::vector<int> PbufferAttribs() const;

    bool m_live = false;
    void* m_display = nullptr;
    void* m_config = nullptr;
    /// (attribute, value) pairs, without EGL_NONE.
    std::vector<int> m_attribs;
    std::map<int, int> m_surfaceAttribs;
    /// Size of the live pbuffer.
    unsigned int m_createdWidth = 0;
    unsigned int m_createdHeight = 0;
    /// 0: no wish.
    unsigned int m_requestedWidth = 0;
    unsigned int m_requestedHeight = 0;
};

} // namespace Playback
