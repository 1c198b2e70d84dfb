#include "Playback/Surfaces/EGLPbufferSurfaceFactory.h"

#include <utility>
#include <vector>

#include <EGL/egl.h>

#include "Playback/Calls/LiveCall.h"
#include "Playback/Surfaces/EGLPbufferSurface.h"

namespace Playback {

namespace {

/// What a substitute config has in common with the original.
constexpr int __EGLConfigAttribs[] = {
    EGL_RENDERABLE_TYPE, EGL_RED_SIZE,     EGL_GREEN_SIZE,     EGL_BLUE_SIZE, EGL_ALPHA_SIZE,
    EGL_DEPTH_SIZE,      EGL_STENCIL_SIZE, EGL_SAMPLE_BUFFERS, EGL_SAMPLES,
};

constexpr const char* File = "src/Playback/EGLPbufferSurfaceFactory";

} // namespace

void* EGLPbufferSurfaceFactory::CreateContext(void* display, void* config, void* shareContext, const int* attribs)
{
    return EGLPassThruSurfaceFactory::CreateContext(display, GetConfig(display, config), shareContext, attribs);
}

EGLProxySurface* EGLPbufferSurfaceFactory::CreateWindowSurface(void* display, void* config, void* nativeWindow,
                                                               const int* attribs)
{
    auto surface = std::make_unique<EGLPbufferSurface>();
    surface->CreateWindowSurface(display, GetConfig(display, config), nativeWindow, attribs);
    return Keep(std::move(surface));
}

EGLProxySurface* EGLPbufferSurfaceFactory::CreatePixmapSurface(void* display, void* config, void* pixmap,
                                                               const int* attribs)
{
    return EGLPassThruSurfaceFactory::CreatePixmapSurface(display, GetConfig(display, config), pixmap, attribs);
}

void EGLPbufferSurfaceFactory::Terminate(void* display)
{
    m_configs.erase(display);
}

void* EGLPbufferSurfaceFactory::GetConfig(void* display, void* config)
{
    if (!config)
        return nullptr;
    auto& configs = m_configs[display];
    const auto found = configs.find(config);
    if (found != configs.end())
        return found->second;
    return configs[config] = CreateOverrideConfig(display, config);
}

void* EGLPbufferSurfaceFactory::CreateOverrideConfig(void* display, void* config)
{
    int surfaceType = 0;
    if (!LiveEGL.eglChooseConfig ||
        !CallLive(LiveEGL.eglGetConfigAttrib, display, config, EGL_SURFACE_TYPE, &surfaceType) ||
        (surfaceType & EGL_PBUFFER_BIT) != 0)
        return config;
    std::vector<int> request = {EGL_SURFACE_TYPE, (surfaceType & ~EGL_WINDOW_BIT) | EGL_PBUFFER_BIT};
    for (const int attribute : __EGLConfigAttribs) {
        int value = 0;
        if (LiveEGL.eglGetConfigAttrib(display, config, attribute, &value))
            request.insert(request.end(), {attribute, value});
    }
    request.push_back(EGL_NONE);

    EGLConfig substitute = nullptr;
    int count = 0;
    if (!LiveEGL.eglChooseConfig(display, request.data(), &substitute, 1, &count) || count < 1) {
        PLAYBACK_LOG(Error, General, File, "Failed to find an EGL config that supports pbuffer surfaces.");
        return config;
    }
    PLAYBACK_LOG(Notice, General, File,
                 "Overriding EGL config %p with pbuffer-compliant config %p for pbuffer-to-window surface "
                 "substitution.",
                 config, substitute);
    return substitute;
}

} // namespace Playback
