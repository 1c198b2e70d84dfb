#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace Playback {

class EGLProxySurface;

template <class T> using HandleMap = std::unordered_map<unsigned int, T*>;

/// What one captured display has: its live display and the live handles of its captured ones.
struct DisplayResources {
    void* display = nullptr;
    HandleMap<void> configs;
    HandleMap<void> contexts;
    /// The factory that made the surfaces owns them.
    HandleMap<EGLProxySurface> surfaces;
    HandleMap<void> images;
    HandleMap<void> syncs;
};

/// A kind of handle that belongs to a display: its map, what messages call it, and the table in those about invalid
/// ones.
template <class T> struct HandleKind {
    HandleMap<T> DisplayResources::*handles;
    const char* name;
    const char* table = "EGL resource table";
};

inline constexpr HandleKind<void> ConfigHandles{&DisplayResources::configs, "EGLConfig"};
inline constexpr HandleKind<void> ContextHandles{&DisplayResources::contexts, "EGLContext"};
inline constexpr HandleKind<EGLProxySurface> SurfaceHandles{&DisplayResources::surfaces, "EGLProxySurface*",
                                                            "EGL surface table"};
inline constexpr HandleKind<void> ImageHandles{&DisplayResources::images, "EGLImage"};
inline constexpr HandleKind<void> SyncHandles{&DisplayResources::syncs, "EGLSync"};

/// EGL attributes and their values.
using AttribMap = std::unordered_map<int, int>;

/// Live EGL handles by their captured ones, and the recorded attributes of configs and surfaces. GetDisplay selects the
/// display whose maps all the others use.
class DisplayHandles {
public:
    DisplayHandles() = default;
    DisplayHandles(const DisplayHandles&) = delete;
    DisplayHandles& operator=(const DisplayHandles&) = delete;

    void AddDisplay(unsigned int id, void* display);
    void* GetDisplay(unsigned int id);
    void RemoveDisplay(unsigned int id);
    /// Null for a display that was never added.
    DisplayResources* GetResources(unsigned int display);
    std::unordered_map<unsigned int, DisplayResources>& Displays() { return m_displayResources; }
    /// How many captured displays have this live one.
    std::size_t CountDisplays(const void* liveDisplay) const;
    /// A live context of the live display, null when it has none.
    void* AnyContext(const void* liveDisplay) const;

    // Handles of the selected display.
    template <class T> void Add(const HandleKind<T>& kind, unsigned int id, T* handle);
    template <class T> T* Get(const HandleKind<T>& kind, unsigned int id);
    template <class T> void Remove(const HandleKind<T>& kind, unsigned int id);

    // Untyped handles; these belong to no display.
    void AddVoidPtr(unsigned int id, void* value);
    void* GetVoidPtr(unsigned int id) const;
    void RemoveVoidPtr(unsigned int id);

    // Recorded attributes, as (attribute, value) pairs up to EGL_NONE; null when none were recorded.
    void AddConfigAttribs(unsigned int config, const int* attribs);
    void AddSurfaceAttribs(unsigned int surface, const int* attribs);
    const AttribMap* GetConfigAttribs(unsigned int config) const;
    const AttribMap* GetSurfaceAttribs(unsigned int surface) const;

private:
    /// The display selected last; null, with a message, when it was never added.
    DisplayResources* CurrentDisplay();

    std::uint32_t m_currentDisplay = 0;
    std::unordered_map<unsigned int, void*> m_eglVoidPtrs;
    std::unordered_map<unsigned int, DisplayResources> m_displayResources;
    std::unordered_map<unsigned int, AttribMap> m_eglConfigAttribs;
    std::unordered_map<unsigned int, AttribMap> m_eglSurfaceAttribs;
};

} // namespace Playback
