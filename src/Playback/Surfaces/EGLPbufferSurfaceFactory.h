#pragma once

#include <map>

#include "Playback/Surfaces/EGLPassThruSurfaceFactory.h"

namespace Playback {

/// A config that cannot make pbuffers is replaced by one that can and is otherwise alike, for surfaces and contexts.
class EGLPbufferSurfaceFactory : public EGLPassThruSurfaceFactory {
public:
    void* CreateContext(void* display, void* config, void* shareContext, const int* attribs) override;
    EGLProxySurface* CreateWindowSurface(void* display, void* config, void* nativeWindow, const int* attribs) override;
    EGLProxySurface* CreatePixmapSurface(void* display, void* config, void* pixmap, const int* attribs) override;
    void Terminate(void* display) override;

protected:
    /// The config to use in the place of `config`; null for null. Each config is examined once per display.
    void* GetConfig(void* display, void* config);

private:
    static void* CreateOverrideConfig(void* display, void* config);

    /// Per display, from the config asked for to the one that makes pbuffers.
    std::map<void*, std::map<void*, void*>> m_configs;
};

} // namespace Playback
