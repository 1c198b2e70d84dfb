#pragma once

#include "Playback/Surfaces/EGLPbufferSurface.h"

namespace Playback {

class WindowManager;

/// Reads the finished frame for display in the active window. Showing it is not supported on this platform, which a
/// message says at every swap.
class EGLOffscreenSurface : public EGLPbufferSurface {
public:
    /// `windowManager` may be null; nothing is read back then.
    explicit EGLOffscreenSurface(WindowManager* windowManager) : m_windowManager(windowManager) {}

    unsigned int SwapBuffers(void* display) override;

private:
    void ReadBack(void* display);

    WindowManager* m_windowManager;
};

} // namespace Playback
