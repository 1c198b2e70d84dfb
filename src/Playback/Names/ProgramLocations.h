#pragma once

#include "Playback/Names/CapturedContexts.h"

namespace Playback {

/// Live locations inside programs by captured program and location, in the maps of the current share group.
class ProgramLocations {
public:
    /// `contexts` must outlive this.
    explicit ProgramLocations(CapturedContexts& contexts) : m_contexts(contexts) {}

    void Add(LocationKind kind, unsigned int program, int location, int liveLocation);
    /// A location that is not mapped is itself.
    int Get(LocationKind kind, unsigned int program, int location) const
    {
        if (const ContextResources* resources = m_contexts.Current(false)) {
            if (const auto* locations = resources->Locations(kind).Find(program)) {
                const auto entry = locations->find(location);
                if (entry != locations->end() && entry->second != -1) [[likely]]
                    return entry->second;
            }
        }
        return GetUnmapped(kind, program, location);
    }

private:
    int GetUnmapped(LocationKind kind, unsigned int program, int location) const;

    CapturedContexts& m_contexts;
};

} // namespace Playback
