// GLResourceTable: EGL handles and the recorded attributes of configs and surfaces.
#include <algorithm>

#include <EGL/egl.h>

#include "Playback/Images/EGLTextureImage.h"
#include "Playback/Names/GLResourceTable.h"
#include "Playback/Names/ResourceMaps.h"

namespace Playback {
namespace {

using DisplayResources = GLResourceTable::DisplayResources;

template <class T> using HandleMap = std::unordered_map<unsigned int, T*>;

/// What the messages call a kind of handle, and the table in those about invalid ones.
struct Kind {
    const char* name;
    const char* table = "EGL resource table";
};

constexpr Kind DisplayKind{"EGLDisplay"};
constexpr Kind ConfigKind{"EGLConfig"};
constexpr Kind ContextKind{"EGLContext"};
constexpr Kind SurfaceKind{"EGLProxySurface*", "EGL surface table"};
constexpr Kind ImageKind{"EGLImage"};
constexpr Kind SyncKind{"EGLSync"};
constexpr Kind VoidPtrKind{"void*"};

void ReportOverwriting(const Kind& kind, unsigned int id)
{
    REPORT("EGL resource table overwriting existing %s ID %d.", kind.name, id);
}

void ReportNull(const Kind& kind, unsigned int id)
{
    REPORT("EGL resource table rejected a mapping from valid %s ID %d to a nullptr.", kind.name, id);
}

/// Says why a lookup failed. 0 stands for "no handle", which is no failure.
void ReportUnmapped(const Kind& kind, unsigned int id)
{
    if (IsValidId(id)) {
        REPORT("Attempting to retrieve the value for %s ID %d that was not found in the EGL resource table.", kind.name,
               id);
    } else if (id != 0) {
        REPORT("Ignoring value retrieval from the %s for invalid %s ID %d.", kind.table, kind.name, id);
    }
}

template <class T> void Add(HandleMap<T>& handles, const Kind& kind, unsigned int id, T* handle)
{
    if (IsValidId(id) && handle && Assign(handles, id, handle)) {
        ReportOverwriting(kind, id);
    }
}

template <class T> T* Get(const HandleMap<T>& handles, const Kind& kind, unsigned int id)
{
    if (T* const* handle = Find(handles, id)) {
        return *handle;
    }
    ReportUnmapped(kind, id);
    return nullptr;
}

template <class Map> void Remove(Map& handles, const Kind& kind, unsigned int id)
{
    if (!IsValidId(id)) {
        REPORT("Ignoring removal request for invalid %s ID %d from the %s.", kind.name, id, kind.table);
    } else if (handles.erase(id) == 0) {
        REPORT("Attempting to remove %s ID %d that was not found in the EGL resource table.", kind.name, id);
    }
}

// The same for the handles of a display, which is null when it was never added.

template <class T>
void Add(DisplayResources* display, HandleMap<T> DisplayResources::*handles, const Kind& kind, unsigned int id,
         T* handle)
{
    if (display) {
        Add(display->*handles, kind, id, handle);
    }
}

template <class T>
T* Get(DisplayResources* display, HandleMap<T> DisplayResources::*handles, const Kind& kind, unsigned int id)
{
    return display ? Get(display->*handles, kind, id) : nullptr;
}

template <class T>
void Remove(DisplayResources* display, HandleMap<T> DisplayResources::*handles, const Kind& kind, unsigned int id)
{
    if (display) {
        Remove(display->*handles, kind, id);
    }
}

/// `kind` is the name of the type that the attributes belong to.
void AddAttribs(std::unordered_map<unsigned int, GLResourceTable::AttribMap>& attribMaps, const char* kind,
                unsigned int id, const int* attribs)
{
    if (!IsValidId(id) || !attribs) {
        REPORT("Ignoring metadata attributes for %s %d due to invalid ID or no data", kind, id);
        return;
    }
    GLResourceTable::AttribMap& known = attribMaps[id];
    for (const int* pair = attribs; *pair != EGL_NONE; pair += 2) {
        // The first value stays, also when another one is reported here.
        const auto [entry, isNew] = known.try_emplace(pair[0], pair[1]);
        if (!isNew && entry->second != pair[1]) {
            REPORT("Overwriting existing %s %d attribute %d: %d", kind, id, pair[0], pair[1]);
        }
    }
}

} // namespace

void GLResourceTable::AddIdEGLDisplay(unsigned int id, void* display)
{
    if (!IsValidId(id)) {
        return;
    }
    if (!display) {
        ReportNull(DisplayKind, id);
        return;
    }
    void*& known = m_displayResources[id].display;
    if (known && known != display) {
        ReportOverwriting(DisplayKind, id);
    }
    known = display;
}

void* GLResourceTable::GetValueEGLDisplay(unsigned int id)
{
    m_currentDisplay = id;
    if (const DisplayResources* resources = Find(m_displayResources, id)) {
        return resources->display;
    }
    ReportUnmapped(DisplayKind, id);
    return nullptr;
}

void GLResourceTable::RemoveIdEGLDisplay(unsigned int id)
{
    if (const DisplayResources* resources = Find(m_displayResources, id)) {
        // Those of other captured displays on the same live one stay.
        const bool isLast = CountEGLDisplays(resources->display) == 1;
        std::erase_if(m_eglTextureImages, [&](const auto& entry) {
            return resources->images.contains(entry.first) ||
                   (isLast && entry.second->GetDisplay() == resources->display);
        });
    }
    Remove(m_displayResources, DisplayKind, id);
}

GLResourceTable::DisplayResources* GLResourceTable::GetDisplayResource(unsigned int display)
{
    DisplayResources* resources = Find(m_displayResources, display);
    if (!resources && IsValidId(display)) {
        REPORT("Failed to retrieve EGL resource for EGLDisplay id %d", display);
    }
    return resources;
}

std::size_t GLResourceTable::CountEGLDisplays(const void* liveDisplay) const
{
    return static_cast<std::size_t>(
        std::count_if(m_displayResources.begin(), m_displayResources.end(),
                      [liveDisplay](const auto& entry) { return entry.second.display == liveDisplay; }));
}

GLResourceTable::DisplayResources* GLResourceTable::CurrentDisplay()
{
    if (!IsValidId(m_currentDisplay)) {
        REPORT("Failed to retrieve EGL resource for EGLDisplay id %d", m_currentDisplay);
        return nullptr;
    }
    return GetDisplayResource(m_currentDisplay);
}

void GLResourceTable::AddIdEGLConfig(unsigned int id, void* config)
{
    Add(CurrentDisplay(), &DisplayResources::configs, ConfigKind, id, config);
}

void* GLResourceTable::GetValueEGLConfig(unsigned int id)
{
    return Get(CurrentDisplay(), &DisplayResources::configs, ConfigKind, id);
}

void GLResourceTable::RemoveIdEGLConfig(unsigned int id)
{
    Remove(CurrentDisplay(), &DisplayResources::configs, ConfigKind, id);
}

void GLResourceTable::AddIdEGLContext(unsigned int id, void* context)
{
    Add(CurrentDisplay(), &DisplayResources::contexts, ContextKind, id, context);
}

void* GLResourceTable::GetValueEGLContext(unsigned int id)
{
    return Get(CurrentDisplay(), &DisplayResources::contexts, ContextKind, id);
}

void GLResourceTable::RemoveIdEGLContext(unsigned int id)
{
    Remove(CurrentDisplay(), &DisplayResources::contexts, ContextKind, id);
}

void GLResourceTable::AddIdEGLSurface(unsigned int id, EGLProxySurface* surface)
{
    Add(CurrentDisplay(), &DisplayResources::surfaces, SurfaceKind, id, surface);
}

EGLProxySurface* GLResourceTable::GetValueEGLSurface(unsigned int id)
{
    return Get(CurrentDisplay(), &DisplayResources::surfaces, SurfaceKind, id);
}

void GLResourceTable::RemoveIdEGLSurface(unsigned int id)
{
    Remove(CurrentDisplay(), &DisplayResources::surfaces, SurfaceKind, id);
}

void GLResourceTable::AddIdEGLImage(unsigned int id, void* image)
{
    Add(CurrentDisplay(), &DisplayResources::images, ImageKind, id, image);
}

void* GLResourceTable::GetValueEGLImage(unsigned int id)
{
    return Get(CurrentDisplay(), &DisplayResources::images, ImageKind, id);
}

void GLResourceTable::RemoveIdEGLImage(unsigned int id)
{
    Remove(CurrentDisplay(), &DisplayResources::images, ImageKind, id);
    m_eglTextureImages.erase(id);
}

void GLResourceTable::AddIdEGLSync(unsigned int id, void* sync)
{
    Add(CurrentDisplay(), &DisplayResources::syncs, SyncKind, id, sync);
}

void* GLResourceTable::GetValueEGLSync(unsigned int id)
{
    return Get(CurrentDisplay(), &DisplayResources::syncs, SyncKind, id);
}

void GLResourceTable::RemoveIdEGLSync(unsigned int id)
{
    Remove(CurrentDisplay(), &DisplayResources::syncs, SyncKind, id);
}

void GLResourceTable::AddIdEGLVoidPtr(unsigned int id, void* value)
{
    if (IsValidId(id) && !value) {
        ReportNull(VoidPtrKind, id);
        return;
    }
    Add(m_eglVoidPtrs, VoidPtrKind, id, value);
}

void* GLResourceTable::GetValueEGLVoidPtr(unsigned int id) const
{
    return Get(m_eglVoidPtrs, VoidPtrKind, id);
}

void GLResourceTable::RemoveIdEGLVoidPtr(unsigned int id)
{
    Remove(m_eglVoidPtrs, VoidPtrKind, id);
}

void GLResourceTable::AddEGLConfigAttribs(unsigned int config, const int* attribs)
{
    AddAttribs(m_eglConfigAttribs, "EGLConfig", config, attribs);
}

void GLResourceTable::AddEGLSurfaceAttribs(unsigned int surface, const int* attribs)
{
    AddAttribs(m_eglSurfaceAttribs, "EGLSurface", surface, attribs);
}

const GLResourceTable::AttribMap* GLResourceTable::GetEGLConfigAttribs(unsigned int config) const
{
    return Find(m_eglConfigAttribs, config);
}

const GLResourceTable::AttribMap* GLResourceTable::GetEGLSurfaceAttribs(unsigned int surface) const
{
    return Find(m_eglSurfaceAttribs, surface);
}

} // namespace Playback
