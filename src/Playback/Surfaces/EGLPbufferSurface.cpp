#include "Playback/Surfaces/EGLPbufferSurface.h"

#include <EGL/egl.h>

namespace Playback {

void EGLPbufferSurface::SetSize(unsigned int width, unsigned int height)
{
    if (width != 0)
        m_requestedWidth = width;
    if (height != 0)
        m_requestedHeight = height;
}

unsigned int EGLPbufferSurface::GetWidth()
{
    return m_requestedWidth ? m_requestedWidth : m_createdWidth;
}

unsigned int EGLPbufferSurface::GetHeight()
{
    return m_requestedHeight ? m_requestedHeight : m_createdHeight;
}

unsigned int EGLPbufferSurface::MakeCurrent(void* display, const EGLProxySurface* read, void* context)
{
    const unsigned int ready = ProcessResizeRequest();
    return ready ? EGLPassThruSurface::MakeCurrent(display, read, context) : ready;
}

/// EGL_RENDER_BUFFER is left out, since pbuffers do not take it.
unsigned int EGLPbufferSurface::CreateWindowSurface(void* display, void* config, void*, const int* attribs)
{
    m_display = display;
    m_config = config;
    m_attribs.clear();
    for (; attribs && attribs[0] != EGL_NONE; attribs += 2)
        if (attribs[0] != EGL_RENDER_BUFFER)
            m_attribs.insert(m_attribs.end(), attribs, attribs + 2);
    return EGL_TRUE;
}

unsigned int EGLPbufferSurface::ProcessResizeRequest()
{
    if (m_live && m_requestedWidth == m_createdWidth && m_requestedHeight == m_createdHeight)
        return EGL_TRUE;
    if (m_live) {
        EGLPassThruSurface::DestroySurface(m_display);
        m_live = false;
    }
    const unsigned int created = CreatePbufferSurface(m_display, m_config, PbufferAttribs().data());
    if (created) {
        m_live = true;
        for (const auto& [attribute, value] : m_surfaceAttribs)
            EGLPassThruSurface::SurfaceAttrib(m_display, attribute, value);
        int size = 0;
        if (QuerySurface(m_display, EGL_WIDTH, &size))
            m_createdWidth = static_cast<unsigned int>(size);
        if (QuerySurface(m_display, EGL_HEIGHT, &size))
            m_createdHeight = static_cast<unsigned int>(size);
        m_requestedWidth = m_createdWidth;
        m_requestedHeight = m_createdHeight;
    }
    return created;
}

std::vector<int> EGLPbufferSurface::PbufferAttribs() const
{
    std::vector<int> attribs = m_attribs;
    if (m_requestedWidth != 0)
        attribs.insert(attribs.end(), {EGL_WIDTH, static_cast<int>(m_requestedWidth)});
    if (m_requestedHeight != 0)
        attribs.insert(attribs.end(), {EGL_HEIGHT, static_cast<int>(m_requestedHeight)});
    attribs.insert(attribs.end(), {EGL_LARGEST_PBUFFER, EGL_TRUE, EGL_NONE});
    return attribs;
}

unsigned int EGLPbufferSurface::SurfaceAttrib(void* display, int attribute, int value)
{
    m_surfaceAttribs[attribute] = value;
    return m_live ? EGLPassThruSurface::SurfaceAttrib(display, attribute, value) : EGL_TRUE;
}

unsigned int EGLPbufferSurface::DestroySurface(void* display)
{
    m_attribs.clear();
    m_live = false;
    m_display = nullptr;
    m_config = nullptr;
    m_createdWidth = m_createdHeight = 0;
    m_requestedWidth = m_requestedHeight = 0;
    return GetSurface() ? EGLPassThruSurface::DestroySurface(display) : EGL_TRUE;
}

} // namespace Playback
