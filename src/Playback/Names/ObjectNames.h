#pragma once

#include "Playback/Names/CapturedContexts.h"

namespace Playback {

/// Live names of GL objects by their captured ones, in the maps of the current context or of its share group.
class ObjectNames {
public:
    /// `contexts` must outlive this.
    explicit ObjectNames(CapturedContexts& contexts) : m_contexts(contexts) {}

    void Add(NameKind kind, unsigned int id, unsigned int name);
    /// One hash lookup for a mapped name. Everything else, valid or not, is rare and sorted out in GetUnmapped.
    unsigned int Get(NameKind kind, unsigned int id) const
    {
        if (const ContextResources* resources = m_contexts.Current(IsPerContext(kind))) {
            const NameMap& names = resources->Names(kind);
            if (const auto entry = names.find(id); entry != names.end()) [[likely]]
                return entry->second;
        }
        return GetUnmapped(kind, id);
    }
    /// Asks without a message.
    bool Has(NameKind kind, unsigned int id) const
    {
        const ContextResources* resources = m_contexts.Current(IsPerContext(kind));
        return resources && resources->Names(kind).contains(id);
    }
    void Remove(NameKind kind, unsigned int id);

    // Shared buffers have signed names.
    void AddSharedBuffer(int id, int name);
    int GetSharedBuffer(int id) const;
    void RemoveSharedBuffer(int id);

    // Live pointers for captured ones that are no object names, such as sync objects.
    void AddVoidPtr(unsigned int id, void* value);
    void* GetVoidPtr(unsigned int id) const;
    void RemoveVoidPtr(unsigned int id);

private:
    unsigned int GetUnmapped(NameKind kind, unsigned int id) const;

    CapturedContexts& m_contexts;
};

} // namespace Playback
