// The live driver as all looks ask it.
#pragma once

#include <string>

#include <GLES3/gl32.h>

#include "Interfaces/GLFramebuffers.h"
#include "Interfaces/GLState.h"
#include "Replay/Driver/LiveGL.h"

namespace Probe {

using Replay::GL;

/// Why a look that takes functions of OpenGL ES 3 cannot be had in the current context.
inline std::string LackOfFunctions()
{
    return Core::IsFixedFunction(Core::GetVersion(GL()))
               ? "this look needs OpenGL ES 3, and the context is one of OpenGL ES 1.1"
               : "the driver lacks functions of OpenGL ES 3";
}

} // namespace Probe
