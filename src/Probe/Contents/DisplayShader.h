#pragma once

#include <string>

#include "Probe/Contents/Contents.h"

namespace Probe {

/// Shows an image as a shader says that somebody has written: GLSL ES 3.00 with a function `vec4 show(ivec2 at)`, which
/// gets the place of a pixel from the lower left and answers its colour from 0 to 1. `image` has the pixels: a
/// sampler2D, for "int" an isampler2D, for "uint" and "stencil8" a usampler2D; depth and stencil are in its first
/// component. The result is "unorm8"; where the shader does not compile, the problem is the driver's log, with the
/// lines of the text. All GL state is put back; pending errors are lost.
Contents ApplyDisplayShader(const Contents& image, const std::string& shader);

} // namespace Probe
