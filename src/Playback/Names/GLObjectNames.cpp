// GLResourceTable: names of GL objects.
#include <iterator>

#include "Playback/Names/GLResourceTable.h"
#include "Playback/Names/ResourceMaps.h"

namespace Playback {
namespace {

/// In the order of NameKind.
constexpr const char* KindTexts[] = {
    "program",
    "shader",
    "buffer",
    "framebuffer",
    "renderbuffer",
    "texture",
    "sampler",
    "query",
    "vertex array",
    "transform feedback",
    "pipeline",
    "perf monitor",
    "perf monitor group",
    "counter",
    "memory object",
    "semaphore",
};

template <class Map> void AddId(typename Map::key_type id, typename Map::mapped_type name, Map& map)
{
    if (!IsValidId(id)) {
        return;
    }
    if (name == 0) {
        REPORT("Rejecting mapping for valid ID %d to a 0 name", id);
    } else if (Assign(map, id, name)) {
        REPORT("GL resource table overwriting existing ID %d.", id);
    }
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
    if (!IsValidId(id)) {
        REPORT("Ignoring removal request for an invalid %s ID from the GL resource table.", kind);
    } else if (!map) {
        REPORT("Attempting to remove %s ID %d from a context that has no entry in the GL resource table.", kind, id);
    } else if (map->erase(id) == 0) {
        REPORT("Attempting to remove %s ID %d that was not found in the GL resource table.", kind, id);
    }
}

} // namespace

void GLResourceTable::AddName(NameKind kind, unsigned int id, unsigned int name)
{
    AddId(id, name, (IsPerContext(kind) ? ContextEntry() : ShareGroupEntry()).Names(kind));
}

unsigned int GLResourceTable::GetUnmappedName(NameKind kind, unsigned int id) const
{
    static_assert(std::size(KindTexts) == static_cast<std::size_t>(NameKind::Count));
    const char* text = KindTexts[static_cast<std::size_t>(kind)];
    const ContextResources* resources = IsPerContext(kind) ? m_contextEntry : m_shareGroupEntry;
    if (NamesKindThroughout(kind)) {
        return GetOfKind(text, id, resources ? &resources->Names(kind) : nullptr, m_currentContext);
    }
    if (!resources) {
        REPORT(
            "Attempting to retrieve the value for %s ID %d from context %d that has no entry in the GL resource table.",
            text, id, IsPerContext(kind) ? m_currentContext : m_currentSharedIndex);
        return 0;
    }
    if (!IsValidId(id)) {
        return 0;
    }
    if (kind == NameKind::Texture) {
        return id;
    }
    REPORT("Attempting to retrieve the value for ID %d that was not found in the GL resource table.", id);
    return 0;
}

void GLResourceTable::RemoveName(NameKind kind, unsigned int id)
{
    const char* text = KindTexts[static_cast<std::size_t>(kind)];
    ContextResources* resources = IsPerContext(kind) ? m_contextEntry : m_shareGroupEntry;
    if (NamesKindThroughout(kind)) {
        RemoveOfKind(text, id, resources ? &resources->Names(kind) : nullptr);
    } else if (!resources) {
        REPORT("Attempting to remove %s ID %d from context %d, which has no entry in the GL resource table.", text, id,
               IsPerContext(kind) ? m_currentContext : m_currentSharedIndex);
    } else if (IsValidId(id) && resources->Names(kind).erase(id) == 0) {
        REPORT("Attempting to remove the value for ID %d that was not found in the GL resource table.", id);
    }
}

void GLResourceTable::AddIdGLSharedBuffer(int id, int name)
{
    AddId(id, name, ShareGroupEntry().sharedBuffers);
}

int GLResourceTable::GetValueGLSharedBuffer(int id) const
{
    return GetOfKind("sharedBuffer", id, m_shareGroupEntry ? &m_shareGroupEntry->sharedBuffers : nullptr,
                     m_currentContext);
}

void GLResourceTable::RemoveIdGLSharedBuffer(int id)
{
    RemoveOfKind("sharedBuffer", id, m_shareGroupEntry ? &m_shareGroupEntry->sharedBuffers : nullptr);
}

void GLResourceTable::AddIdGLVoidPtr(unsigned int id, void* value)
{
    if (!IsValidId(id)) {
        return;
    }
    if (!value) {
        REPORT("GL resource table rejected a mapping from valid void* ID %d to a nullptr.", id);
    } else if (Assign(ShareGroupEntry().voidPtrs, id, value)) {
        REPORT("GL resource table overwriting existing void* ID %d.", id);
    }
}

void* GLResourceTable::GetValueGLVoidPtr(unsigned int id) const
{
    return GetOfKind("void*", id, m_shareGroupEntry ? &m_shareGroupEntry->voidPtrs : nullptr, m_currentContext);
}

void GLResourceTable::RemoveIdGLVoidPtr(unsigned int id)
{
    RemoveOfKind("void*", id, m_shareGroupEntry ? &m_shareGroupEntry->voidPtrs : nullptr);
}

} // namespace Playback
