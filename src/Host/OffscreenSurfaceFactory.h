#pragma once

#include "Playback/EGLPbufferSurfaceFactory.h"

namespace Host {

/// Off screen, windows created by either entry point become pbuffers.
class OffscreenSurfaceFactory : public Playback::EGLPbufferSurfaceFactory {
public:
    Playback::EGLProxySurface* CreateWindowSurface64(void* display, void* config, void* nativeWindow,
                                                     const long* attribs) override;
};

} // namespace Host
