#pragma once

#include <string>

#include "Interfaces/GLState.h"
#include "Trim/Restore/LiveGL.h"

namespace Probe {

/// Why a look that takes functions of OpenGL ES 3 cannot be had in the current context.
inline std::string LackOfFunctions()
{
    return Core::IsFixedFunction(Core::GetVersion(Trim::GL()))
               ? "this look needs OpenGL ES 3, and the context is one of OpenGL ES 1.1"
               : "the driver lacks functions of OpenGL ES 3";
}

} // namespace Probe
