#include "Playback/Names/DisplayHandles.h"

#include <algorithm>

#include <EGL/egl.h>

#include "Playback/Names/ResourceMaps.h"

namespace Playback {
namespace {

constexpr HandleKind<void> DisplayKind{nullptr, "EGLDisplay"};
constexpr HandleKind<void> VoidPtrKind{nullptr, "void*"};

template <class T> void ReportOverwriting(const HandleKind<T>& kind, unsigned int id)
{
    REPORT("EGL resource table overwriting existing %s ID %d.", kind.name, id);
}

template <class T> void ReportNull(const HandleKind<T>& kind, unsigned int id)
{
    REPORT("EGL resource table rejected a mapping from valid %s ID %d to a nullptr.", kind.name, id);
}

/// Says why a lookup failed. 0 stands for "no handle", which is no failure.
template <class T> void ReportUnmapped(const HandleKind<T>& kind, unsigned int id)
{
    if (IsValidId(id)) {
        REPORT("Attempting to retrieve the value for %s ID %d that was not found in the EGL resource table.", kind.name,
               id);
    } else if (id != 0) {
        REPORT("Ignoring value retrieval from the %s for invalid %s ID %d.", kind.table, kind.name, id);
    }
}

template <class T> void Add(HandleMap<T>& handles, const HandleKind<T>& kind, unsigned int id, T* handle)
{
    if (IsValidId(id) && handle && Assign(handles, id, handle))
        ReportOverwriting(kind, id);
}

template <class T> T* Get(const HandleMap<T>& handles, const HandleKind<T>& kind, unsigned int id)
{
    if (T* const* handle = Find(handles, id))
        return *handle;
    ReportUnmapped(kind, id);
    return nullptr;
}

template <class Map, class T> void Remove(Map& handles, const HandleKind<T>& kind, unsigned int id)
{
    if (!IsValidId(id))
        REPORT("Ignoring removal request for invalid %s ID %d from the %s.", kind.name, id, kind.table);
    else if (handles.erase(id) == 0)
        REPORT("Attempting to remove %s ID %d that was not found in the EGL resource table.", kind.name, id);
}

/// `kind` is the name of the type that the attributes belong to.
void AddAttribs(std::unordered_map<unsigned int, AttribMap>& attribMaps, const char* kind, unsigned int id,
                const int* attribs)
{
    if (!IsValidId(id) || !attribs) {
        REPORT("Ignoring metadata attributes for %s %d due to invalid ID or no data", kind, id);
        return;
    }
    AttribMap& known = attribMaps[id];
    for (const int* pair = attribs; *pair != EGL_NONE; pair += 2) {
        // The first value stays, also when another one is reported here.
        const auto [entry, isNew] = known.try_emplace(pair[0], pair[1]);
        if (!isNew && entry->second != pair[1])
            REPORT("Overwriting existing %s %d attribute %d: %d", kind, id, pair[0], pair[1]);
    }
}

} // namespace

void DisplayHandles::AddDisplay(unsigned int id, void* display)
{
    if (!IsValidId(id))
        return;
    if (!display) {
        ReportNull(DisplayKind, id);
        return;
    }
    void*& known = m_displayResources[id].display;
    if (known && known != display)
        ReportOverwriting(DisplayKind, id);
    known = display;
}

void* DisplayHandles::GetDisplay(unsigned int id)
{
    m_currentDisplay = id;
    if (const DisplayResources* resources = Find(m_displayResources, id))
        return resources->display;
    ReportUnmapped(DisplayKind, id);
    return nullptr;
}

void DisplayHandles::RemoveDisplay(unsigned int id)
{
    Playback::Remove(m_displayResources, DisplayKind, id);
}

DisplayResources* DisplayHandles::GetResources(unsigned int display)
{
    DisplayResources* resources = Find(m_displayResources, display);
    if (!resources && IsValidId(display))
        REPORT("Failed to retrieve EGL resource for EGLDisplay id %d", display);
    return resources;
}

std::size_t DisplayHandles::CountDisplays(const void* liveDisplay) const
{
    return static_cast<std::size_t>(std::count_if(
        m_displayResources.begin(), m_displayResources.end(),
        [liveDisplay](const auto& entry) { return entry.second.display == liveDisplay; }));
}

DisplayResources* DisplayHandles::CurrentDisplay()
{
    if (!IsValidId(m_currentDisplay)) {
        REPORT("Failed to retrieve EGL resource for EGLDisplay id %d", m_currentDisplay);
        return nullptr;
    }
    return GetResources(m_currentDisplay);
}

void* DisplayHandles::AnyContext(const void* liveDisplay) const
{
    for (const auto& [id, display] : m_displayResources)
        if (display.display == liveDisplay && !display.contexts.empty())
            return display.contexts.begin()->second;
    return nullptr;
}

template <class T> void DisplayHandles::Add(const HandleKind<T>& kind, unsigned int id, T* handle)
{
    if (DisplayResources* display = CurrentDisplay())
        Playback::Add(display->*kind.handles, kind, id, handle);
}

template <class T> T* DisplayHandles::Get(const HandleKind<T>& kind, unsigned int id)
{
    DisplayResources* display = CurrentDisplay();
    return display ? Playback::Get(display->*kind.handles, kind, id) : nullptr;
}

template <class T> void DisplayHandles::Remove(const HandleKind<T>& kind, unsigned int id)
{
    if (DisplayResources* display = CurrentDisplay())
        Playback::Remove(display->*kind.handles, kind, id);
}

template void DisplayHandles::Add(const HandleKind<void>&, unsigned int, void*);
template void* DisplayHandles::Get(const HandleKind<void>&, unsigned int);
template void DisplayHandles::Remove(const HandleKind<void>&, unsigned int);
template void DisplayHandles::Add(const HandleKind<EGLProxySurface>&, unsigned int, EGLProxySurface*);
template EGLProxySurface* DisplayHandles::Get(const HandleKind<EGLProxySurface>&, unsigned int);
template void DisplayHandles::Remove(const HandleKind<EGLProxySurface>&, unsigned int);

void DisplayHandles::AddVoidPtr(unsigned int id, void* value)
{
    if (IsValidId(id) && !value) {
        ReportNull(VoidPtrKind, id);
        return;
    }
    Playback::Add(m_eglVoidPtrs, VoidPtrKind, id, value);
}

void* DisplayHandles::GetVoidPtr(unsigned int id) const
{
    return Playback::Get(m_eglVoidPtrs, VoidPtrKind, id);
}

void DisplayHandles::RemoveVoidPtr(unsigned int id)
{
    Playback::Remove(m_eglVoidPtrs, VoidPtrKind, id);
}

void DisplayHandles::AddConfigAttribs(unsigned int config, const int* attribs)
{
    AddAttribs(m_eglConfigAttribs, "EGLConfig", config, attribs);
}

void DisplayHandles::AddSurfaceAttribs(unsigned int surface, const int* attribs)
{
    AddAttribs(m_eglSurfaceAttribs, "EGLSurface", surface, attribs);
}

const AttribMap* DisplayHandles::GetConfigAttribs(unsigned int config) const
{
    return Find(m_eglConfigAttribs, config);
}

const AttribMap* DisplayHandles::GetSurfaceAttribs(unsigned int surface) const
{
    return Find(m_eglSurfaceAttribs, surface);
}

} // namespace Playback
