#include "Host/Wayland/HiddenSurface.h"

#include <algorithm>
#include <vector>

#include <EGL/egl.h>
#include <wayland-client.h>
#include <wayland-egl.h>

#include "Interfaces/Core.h"

namespace Host {

namespace {

/// Attributes that only pbuffers have.
bool IsForPbuffers(EGLint attribute)
{
    constexpr EGLint Names[] = {EGL_WIDTH,          EGL_HEIGHT,         EGL_LARGEST_PBUFFER,
                                EGL_TEXTURE_FORMAT, EGL_TEXTURE_TARGET, EGL_MIPMAP_TEXTURE};
    return std::find(std::begin(Names), std::end(Names), attribute) != std::end(Names);
}

} // namespace

HiddenSurface::~HiddenSurface()
{
    if (m_eglWindow)
        wl_egl_window_destroy(m_eglWindow);
    if (m_window)
        wl_surface_destroy(m_window);
}

unsigned int HiddenSurface::CreatePbufferSurface(void* display, void* config, const int* attribs)
{
    // As the standard has it, no size is an empty pbuffer; windows have a pixel at least.
    int width = 1;
    int height = 1;
    std::vector<int> others;
    for (; attribs && *attribs != EGL_NONE; attribs += 2)
        if (attribs[0] == EGL_WIDTH)
            width = std::max(attribs[1], 1);
        else if (attribs[0] == EGL_HEIGHT)
            height = std::max(attribs[1], 1);
        else if (!IsForPbuffers(attribs[0]))
            others.insert(others.end(), {attribs[0], attribs[1]});
    others.push_back(EGL_NONE);
    m_window = wl_compositor_create_surface(m_compositor);
    m_eglWindow = wl_egl_window_create(m_window, width, height);
    return CreateWindowSurface(display, config, m_eglWindow, others.data());
}

bool MakesPbuffers(void* display, void* config)
{
    const auto getConfigAttrib = Core::KHRLayer::EGLProc().eglGetConfigAttrib;
    EGLint types = 0;
    return !getConfigAttrib || !getConfigAttrib(display, config, EGL_SURFACE_TYPE, &types) ||
           (types & EGL_PBUFFER_BIT) != 0;
}

} // namespace Host
