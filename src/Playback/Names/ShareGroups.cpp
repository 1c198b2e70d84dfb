#include "Playback/Names/ShareGroups.h"

#include "Playback/Names/ResourceMaps.h"

namespace Playback {

void ShareGroups::Join(unsigned int context, unsigned int shareContext)
{
    if (shareContext == 0)
        return;
    unsigned int root = shareContext;
    while (const unsigned int* next = Find(m_sharedContextAssociations, root))
        root = *next;
    // A context can get the name of a group's destroyed root and join that group. Mapping it to itself would change
    // nothing but make the walk above endless.
    if (root != context)
        m_sharedContextAssociations.try_emplace(context, root);
}

} // namespace Playback
