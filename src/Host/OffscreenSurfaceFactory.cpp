#include "Host/OffscreenSurfaceFactory.h"

#include <vector>

#include <EGL/egl.h>

namespace Host {

Playback::EGLProxySurface* OffscreenSurfaceFactory::CreateWindowSurface64(void* display, void* config,
                                                                          void* nativeWindow, const long* attribs)
{
    std::vector<int> narrow;
    for (; attribs && *attribs != EGL_NONE; attribs += 2) {
        narrow.insert(narrow.end(), {static_cast<int>(attribs[0]), static_cast<int>(attribs[1])});
    }
    narrow.push_back(EGL_NONE);
    return CreateWindowSurface(display, config, nativeWindow, narrow.data());
}

} // namespace Host
