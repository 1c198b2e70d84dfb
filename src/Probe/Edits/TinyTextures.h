#pragma once

#include <map>
#include <tuple>

#include "Probe/Edits/Undo.h"

namespace Probe {

/// Textures of 2x2 grey texels, to draw with in the place of those of the capture: what is sampled then is always in
/// the cache. They live as long as their share group.
class TinyTextures {
public:
    /// Binds one wherever a program looks into a texture. `group` is any name of the current share group. Programs are
    /// live ones. Samplers of multisampled, buffer and external textures keep what they have.
    void Bind(const void* group, unsigned int program, Undo& undo);

private:
    using Key = std::tuple<const void*, unsigned int, unsigned int>;
    unsigned int Find(const void* group, unsigned int target, unsigned int format);

    std::map<Key, unsigned int> m_textures;
};

} // namespace Probe
