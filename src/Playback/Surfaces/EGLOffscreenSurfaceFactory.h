#pragma once

#include "Playback/Surfaces/EGLPbufferSurfaceFactory.h"

namespace Playback {

class WindowManager;

class EGLOffscreenSurfaceFactory : public EGLPbufferSurfaceFactory {
public:
    /// `windowManager` outlives the surfaces.
    explicit EGLOffscreenSurfaceFactory(WindowManager* windowManager) : m_windowManager(windowManager) {}

    EGLProxySurface* CreateWindowSurface(void* display, void* config, void* nativeWindow, const int* attribs) override;

private:
    WindowManager* m_windowManager;
};

} // namespace Playback
