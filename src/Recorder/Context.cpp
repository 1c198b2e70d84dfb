#include "Recorder/Context.h"

#include "Recorder/EGLObjects.h"
#include "Recorder/Platform.h"
#include "Recorder/Symbols/Extensions.h"
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

void Context::OpenFrame()
{
    // After the capture there is no frame more.
    if (!*capture.isRunning)
        return;
    if (!m_hasDrawn)
        capture.channel->openFrames.fetch_add(1);
    m_hasDrawn = m_hasDrawnToBound = m_isDrawingNoted = true;
    if (std::exchange(m_mayHaveNewSize, false)) {
        const KeptEGLError kept;
        CheckWindowSize(current.display, current.draw);
    }
}

void Context::StartFrame()
{
    if (m_hasDrawn)
        capture.channel->openFrames.fetch_sub(1);
    m_hasDrawn = m_hasDrawnToBound = m_isDrawingNoted = false;
}

std::span<const char* const> Context::Extensions() noexcept
{
    // Loaders of functions look through all of them for each name that they know, and drivers count up to each index.
    if (m_extensions.empty())
        m_extensions = IndexedExtensions();
    return m_extensions;
}

void Context::KeepErrors()
{
    const GLenum error = Live<GLenum (*)()>(Entry::glGetError)();
    m_keptError = m_keptError != GL_NO_ERROR ? m_keptError : error;
}

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
