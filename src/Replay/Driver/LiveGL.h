// The live driver, for those who ask it beside the replay.
#pragma once

#include "Interfaces/Core.h"

namespace Replay {

/// Its functions. Those of OpenGL ES 2 are there when a context is current.
inline const Core::GLESProcTable& GL()
{
    return Core::KHRLayer::GLESProc();
}

} // namespace Replay
