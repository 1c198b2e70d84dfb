#pragma once

#include <string>

namespace Probe {

struct ShaderText {
    /// GL_VERTEX_SHADER ...
    unsigned int type = 0;
    std::string source = {};
};

/// A fragment shader that gives one colour, in the version of GLSL that another shader of its program is written in.
[[nodiscard]] ShaderText OneColour(const std::string& other);

} // namespace Probe
