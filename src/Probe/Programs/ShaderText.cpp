#include "Probe/Programs/ShaderText.h"

#include <GLES3/gl32.h>

namespace Probe {

ShaderText OneColour(const std::string& other)
{
    const std::size_t at = other.find("#version");
    const std::string version =
        at != std::string::npos ? other.substr(at, other.find_first_of("\r\n", at) - at) : std::string();
    if (version.empty() || version.find("100") != std::string::npos)
        return {GL_FRAGMENT_SHADER,
                "precision mediump float;\nvoid main() { gl_FragColor = vec4(1.0, 0.0, 1.0, 1.0); }\n"};
    return {GL_FRAGMENT_SHADER, version + "\nlayout(location = 0) out mediump vec4 colour;\n"
                                          "void main() { colour = vec4(1.0, 0.0, 1.0, 1.0); }\n"};
}

} // namespace Probe
