// The live driver, for those who ask it beside the replay.
#pragma once

#include "Interfaces/Core.h"

namespace Replay {

/// Its functions. Those of OpenGL ES 2 are there when a context is current.
inline const Core::GLESProcTable& GL()
{
    return Core::KHRLayer::GLESProc();
}

/// Of the bound vertex array, GL_VERTEX_ATTRIB_ARRAY_ENABLED and the like; 0 where the driver does not answer.
inline int VertexAttribute(unsigned int index, unsigned int name)
{
    int value = 0;
    if (GL().glGetVertexAttribiv)
        GL().glGetVertexAttribiv(index, name, &value);
    return value;
}

} // namespace Replay
