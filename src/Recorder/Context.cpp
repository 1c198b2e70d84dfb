#include "Recorder/Context.h"

#include <algorithm>

#include "Recorder/Platform.h"
#include "Recorder/Symbols/LiveFunctions.h"

namespace Recorder {
namespace {

GLint Integer(GLenum name)
{
    GLint value = 0;
    Live<void (*)(GLenum, GLint*)>(Entry::glGetIntegerv)(name, &value);
    return value;
}

} // namespace

std::int64_t ParameterElements(std::uint32_t pname) noexcept
{
    switch (pname) {
    case GL_COMPRESSED_TEXTURE_FORMATS:
        return Integer(GL_NUM_COMPRESSED_TEXTURE_FORMATS);
    case GL_PROGRAM_BINARY_FORMATS:
        return Integer(GL_NUM_PROGRAM_BINARY_FORMATS);
    case GL_SHADER_BINARY_FORMATS:
        return Integer(GL_NUM_SHADER_BINARY_FORMATS);
    default:
        return Data::ParameterCount(pname);
    }
}

} // namespace Recorder
