// The live driver as all looks ask it.
#pragma once

#include <string>

#include <GLES3/gl32.h>

#include "Interfaces/GLFramebuffers.h"
#include "Interfaces/GLState.h"
#include "Replay/Driver/LiveGL.h"

namespace Probe {

using Replay::GL;

/// Uses a program for a while.
[[nodiscard]] inline Core::ScopedState UseScoped(unsigned int program)
{
    return {Core::GetInteger(GL(), GL_CURRENT_PROGRAM), static_cast<int>(program),
            [use = GL().glUseProgram](int name) { use(static_cast<unsigned int>(name)); }};
}

/// Why a look that takes functions of OpenGL ES 3 cannot be had in the current context.
inline std::string LackOfFunctions()
{
    return Core::IsFixedFunction(Core::GetVersion(GL()))
               ? "this look needs OpenGL ES 3, and the context is one of OpenGL ES 1.1"
               : "the driver lacks functions of OpenGL ES 3";
}

} // namespace Probe
