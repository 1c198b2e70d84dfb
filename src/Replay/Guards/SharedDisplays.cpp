#include "Replay/Guards/SharedDisplays.h"

#include <vector>

#include "Interfaces/Core.h"

namespace Replay {

namespace {

/// The captured names in a map, which may change while they are gone through.
template <class Map> std::vector<std::uint32_t> Names(const Map& map)
{
    std::vector<std::uint32_t> names;
    for (const auto& entry : map)
        names.push_back(entry.first);
    return names;
}

} // namespace

void SharedDisplays::Process_eglInitialize(std::int32_t captured, std::uint32_t dpy, Data::PointerData* major,
                                           Data::PointerData* minor)
{
    // What its first life left current is destroyed when it ends again.
    m_ending.erase(dpy);
    EGLPlaybackAdapter::Process_eglInitialize(captured, dpy, major, minor);
}

void SharedDisplays::Process_eglTerminate(std::int32_t captured, std::uint32_t dpy)
{
    if (!Core::KHRLayer::playbackEGLProcTable.eglTerminate || !IsShared(dpy)) {
        m_ending.erase(dpy);
        EGLPlaybackAdapter::Process_eglTerminate(captured, dpy);
        return;
    }
    PLAYBACK_LOG(Diagnostic, General, "src/Replay/SharedDisplays",
                 "eglTerminate of EGLDisplay %u destroys what it made: other captured displays use the live one", dpy);
    if (Destroy(dpy))
        m_table->RemoveIdEGLDisplay(dpy);
    else
        m_ending.insert(dpy);
}

void SharedDisplays::Process_eglMakeCurrent(std::int32_t captured, std::uint32_t dpy, std::uint32_t draw,
                                            std::uint32_t read, std::uint32_t ctx)
{
    EGLPlaybackAdapter::Process_eglMakeCurrent(captured, dpy, draw, read, ctx);
    std::erase_if(m_ending, [this](std::uint32_t display) {
        const bool isGone = Destroy(display);
        if (isGone)
            m_table->RemoveIdEGLDisplay(display);
        return isGone;
    });
}

bool SharedDisplays::IsShared(std::uint32_t display)
{
    const auto* resources = m_table->GetDisplayResource(display);
    return resources && m_table->CountEGLDisplays(resources->display) > 1;
}

bool SharedDisplays::Destroy(std::uint32_t display)
{
    const auto* resources = m_table->GetDisplayResource(display);
    if (!resources)
        return true;
    for (const std::uint32_t image : Names(resources->images))
        Process_eglDestroyImageKHR(EGL_TRUE, display, image);
    for (const std::uint32_t sync : Names(resources->syncs))
        Process_eglDestroySyncKHR(EGL_TRUE, display, sync);
    for (const std::uint32_t context : Names(resources->contexts))
        if (!m_table->IsContextCurrent(display, context))
            Process_eglDestroyContext(EGL_TRUE, display, context);
    for (const std::uint32_t surface : Names(resources->surfaces))
        if (!m_table->IsSurfaceCurrent(display, surface))
            Process_eglDestroySurface(EGL_TRUE, display, surface);
    return resources->contexts.empty() && resources->surfaces.empty();
}

} // namespace Replay
