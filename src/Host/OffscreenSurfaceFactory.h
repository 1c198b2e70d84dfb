#pragma once

#include <vector>

#include <EGL/egl.h>

#include "Playback/EGLProxySurface.h"

namespace Host {

/// A factory of the engine's that makes pbuffers for windows, which here does so for both entry points that create
/// windows: a driver without windows has neither.
template <class PbufferFactory> class OffscreenSurfaceFactory : public PbufferFactory {
public:
    using PbufferFactory::PbufferFactory;

    Playback::EGLProxySurface* CreateWindowSurface64(void* display, void* config, void* nativeWindow,
                                                     const long* attribs) override
    {
        std::vector<int> narrow;
        for (; attribs && *attribs != EGL_NONE; attribs += 2) {
            narrow.insert(narrow.end(), {static_cast<int>(attribs[0]), static_cast<int>(attribs[1])});
        }
        narrow.push_back(EGL_NONE);
        return this->CreateWindowSurface(display, config, nativeWindow, narrow.data());
    }
};

} // namespace Host
