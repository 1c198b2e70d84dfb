#pragma once

#include <cstdint>
#include <unordered_map>

#include "Playback/Names/ContextResources.h"
#include "Playback/Names/ShareGroups.h"

namespace Playback {

/// What a captured thread made current, in captured handles.
struct ContextInfo {
    std::uint32_t display;
    std::uint32_t drawSurface;
    std::uint32_t readSurface;
    std::uint32_t context;
};

/// The captured threads and contexts: what is current on each, and the maps of GL names of each context and share
/// group. The maps of a group are those of its root.
class CapturedContexts {
public:
    CapturedContexts() = default;
    CapturedContexts(const CapturedContexts&) = delete;
    CapturedContexts& operator=(const CapturedContexts&) = delete;

    // The operations of GLResourceTable of the same names.
    void SetCurrentAPI(unsigned int api);
    bool GetCurrentAPI(unsigned int* api) const;
    void SetCurrentContext(const ContextInfo& info);
    bool IsContextCurrent(unsigned int display, unsigned int context) const;
    bool IsSurfaceCurrent(unsigned int display, unsigned int surface) const;
    bool SetCurrentThread(unsigned int thread, bool* apiChanged, bool* contextChanged);
    void SetCurrentProgram(unsigned int program);
    unsigned int GetCurrentProgram() const { return m_currentProgram; }
    void RemoveContextInfo(unsigned int context);

    /// What the current thread made current; null when it never made anything current.
    const ContextInfo* CurrentInfo() const;
    ShareGroups& Groups() { return m_shareGroups; }
    const ShareGroups& Groups() const { return m_shareGroups; }

    /// The keys of the current context's maps: the context, and the root of its share group.
    unsigned int Key(bool isPerContext) const { return isPerContext ? m_currentContext : m_currentSharedIndex; }
    /// The maps under that key, null while there are none.
    ContextResources* Current(bool isPerContext) const { return isPerContext ? m_contextEntry : m_shareGroupEntry; }
    /// The same, created when they are not there yet.
    ContextResources& CreateCurrent(bool isPerContext);
    /// By context or root of a share group.
    const std::unordered_map<unsigned int, ContextResources>& All() const { return m_contextResources; }

private:
    void SelectContext(unsigned int context, unsigned int sharedIndex);
    /// To be called whenever the current context changes, and after changes to the maps of what is remembered of it.
    void FindCurrentEntries();

    std::uint32_t m_currentThread = 0;
    std::uint32_t m_currentApi = 0;
    std::uint32_t m_currentContext = 0;
    /// Key of the current context's share group.
    std::uint32_t m_currentSharedIndex = 0;
    /// Thread to API.
    std::unordered_map<unsigned int, unsigned int> m_threadApis;
    /// By thread.
    std::unordered_map<unsigned int, ContextInfo> m_contextInfos;
    std::unordered_map<unsigned int, ContextResources> m_contextResources;
    /// Context to program.
    std::unordered_map<unsigned int, unsigned int> m_currentPrograms;
    ShareGroups m_shareGroups;

    /// Kept so that a translated call needs one lookup: the elements of m_contextResources under m_currentContext and
    /// m_currentSharedIndex, null while there are none, and the element of m_currentPrograms, 0 while there is none.
    ContextResources* m_contextEntry = nullptr;
    ContextResources* m_shareGroupEntry = nullptr;
    unsigned int m_currentProgram = 0;
};

} // namespace Playback
