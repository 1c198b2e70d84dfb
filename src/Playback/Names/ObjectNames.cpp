#include "Playback/Names/ObjectNames.h"

#include "Playback/Names/ResourceMaps.h"

namespace Playback {
namespace {

template <class Map> void AddId(typename Map::key_type id, typename Map::mapped_type name, Map& map)
{
    if (!IsValidId(id))
        return;
    if (name == 0)
        REPORT("Rejecting mapping for valid ID %d to a 0 name", id);
    else if (Assign(map, id, name))
        REPORT("GL resource table overwriting existing ID %d.", id);
}

/// Lookup for the kinds whose messages name the kind throughout. `map` is null when the share group has no entry;
/// `context` is the current one.
template <class Map>
typename Map::mapped_type GetOfKind(const char* kind, typename Map::key_type id, const Map* map, unsigned int context)
{
    if (!IsValidId(id)) {
        REPORT("Ignoring value retrieval from the GL resource table for invalid %s ID %d.", kind, id);
    } else if (!map) {
        REPORT(
            "Attempting to retrieve the value for %s ID %d from context %d that has no entry in the GL resource table.",
            kind, id, context);
    } else if (const auto* value = Find(*map, id)) {
        return *value;
    } else {
        REPORT("Attempting to retrieve the value for %s ID %d that was not found in the GL resource table.", kind, id);
    }
    return {};
}

template <class Map> void RemoveOfKind(const char* kind, typename Map::key_type id, Map* map)
{
    if (!IsValidId(id))
        REPORT("Ignoring removal request for an invalid %s ID from the GL resource table.", kind);
    else if (!map)
        REPORT("Attempting to remove %s ID %d from a context that has no entry in the GL resource table.", kind, id);
    else if (map->erase(id) == 0)
        REPORT("Attempting to remove %s ID %d that was not found in the GL resource table.", kind, id);
}

auto* SharedBuffers(const CapturedContexts& contexts)
{
    ContextResources* group = contexts.Current(false);
    return group ? &group->sharedBuffers : nullptr;
}

auto* VoidPtrs(const CapturedContexts& contexts)
{
    ContextResources* group = contexts.Current(false);
    return group ? &group->voidPtrs : nullptr;
}

} // namespace

void ObjectNames::Add(NameKind kind, unsigned int id, unsigned int name)
{
    AddId(id, name, m_contexts.CreateCurrent(IsPerContext(kind)).Names(kind));
}

unsigned int ObjectNames::GetUnmapped(NameKind kind, unsigned int id) const
{
    const char* text = NameKindTexts[static_cast<std::size_t>(kind)];
    const ContextResources* resources = m_contexts.Current(IsPerContext(kind));
    if (NamesKindThroughout(kind))
        return GetOfKind(text, id, resources ? &resources->Names(kind) : nullptr, m_contexts.Key(true));
    if (!resources) {
        REPORT(
            "Attempting to retrieve the value for %s ID %d from context %d that has no entry in the GL resource table.",
            text, id, m_contexts.Key(IsPerContext(kind)));
        return 0;
    }
    if (!IsValidId(id))
        return 0;
    if (kind == NameKind::Texture)
        return id;
    REPORT("Attempting to retrieve the value for ID %d that was not found in the GL resource table.", id);
    return 0;
}

void ObjectNames::Remove(NameKind kind, unsigned int id)
{
    const char* text = NameKindTexts[static_cast<std::size_t>(kind)];
    ContextResources* resources = m_contexts.Current(IsPerContext(kind));
    if (NamesKindThroughout(kind)) {
        RemoveOfKind(text, id, resources ? &resources->Names(kind) : nullptr);
    } else if (!resources) {
        REPORT("Attempting to remove %s ID %d from context %d, which has no entry in the GL resource table.", text, id,
               m_contexts.Key(IsPerContext(kind)));
    } else if (IsValidId(id) && resources->Names(kind).erase(id) == 0) {
        REPORT("Attempting to remove the value for ID %d that was not found in the GL resource table.", id);
    }
}

void ObjectNames::AddSharedBuffer(int id, int name)
{
    AddId(id, name, m_contexts.CreateCurrent(false).sharedBuffers);
}

int ObjectNames::GetSharedBuffer(int id) const
{
    return GetOfKind("sharedBuffer", id, SharedBuffers(m_contexts), m_contexts.Key(true));
}

void ObjectNames::RemoveSharedBuffer(int id)
{
    RemoveOfKind("sharedBuffer", id, SharedBuffers(m_contexts));
}

void ObjectNames::AddVoidPtr(unsigned int id, void* value)
{
    if (!IsValidId(id))
        return;
    if (!value)
        REPORT("GL resource table rejected a mapping from valid void* ID %d to a nullptr.", id);
    else if (Assign(m_contexts.CreateCurrent(false).voidPtrs, id, value))
        REPORT("GL resource table overwriting existing void* ID %d.", id);
}

void* ObjectNames::GetVoidPtr(unsigned int id) const
{
    return GetOfKind("void*", id, VoidPtrs(m_contexts), m_contexts.Key(true));
}

void ObjectNames::RemoveVoidPtr(unsigned int id)
{
    RemoveOfKind("void*", id, VoidPtrs(m_contexts));
}

} // namespace Playback
