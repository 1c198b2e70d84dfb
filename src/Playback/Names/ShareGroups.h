#pragma once

#include <unordered_map>

namespace Playback {

/// Which captured contexts share objects. The first context of a group is its root, whose name is the key of what the
/// group has in common.
class ShareGroups {
public:
    /// Puts `context` into the group of `shareContext`; does nothing when that is 0 or `context` is in a group already.
    void Join(unsigned int context, unsigned int shareContext);
    void Leave(unsigned int context) { m_sharedContextAssociations.erase(context); }
    /// The root of the context's group, `alone` when it shares with none.
    unsigned int Root(unsigned int context, unsigned int alone) const
    {
        const auto entry = m_sharedContextAssociations.find(context);
        return entry == m_sharedContextAssociations.end() ? alone : entry->second;
    }

private:
    /// Context to the root of its group.
    std::unordered_map<unsigned int, unsigned int> m_sharedContextAssociations;
};

} // namespace Playback
