// Drawing an image anew, texel by texel, by a fragment shader of the probe's own.
#pragma once

#include <string>

#include "Probe/Contents/Contents.h"

namespace Probe {

struct TexelPass {
    /// Reads `image`, a sampler of the texture's kind, and sets `color`, its only output; `layer` and `size` may be
    /// declared, as int and ivec2.
    std::string fragment = {};
    /// Live texture, what it is bound to, and the level that is read. Texels are read as they are.
    unsigned int texture = 0;
    unsigned int target = 0;
    int level = 0;
    int layer = 0;
    /// Of the level, and of what is drawn.
    int width = 0;
    int height = 0;
    /// Bytes are enough.
    bool isForPeople = false;
};

/// The colours, as "float" or "unorm8"; a problem where the shader does not compile, or the program counts what is
/// drawn. All GL state is put back; pending errors are lost.
Contents RunTexelPass(const TexelPass& pass);

} // namespace Probe
