#include "Recorder/Calls/ActionHash.h"

#include "Recorder/Calls/ReadBack.h"
#include "Recorder/Symbols/LiveFunctions.h"

namespace Recorder {

void ActionHash::Take(Context& context) noexcept
{
    if (!IsHashWanted())
        return;
    GLint bound = 0;
    constexpr GLenum DrawFramebufferBinding = GL_FRAMEBUFFER_BINDING; // the same in all versions
    Live<void (*)(GLenum, GLint*)>(Entry::glGetIntegerv)(DrawFramebufferBinding, &bound);
    // A back buffer is read by way of the surface for reading.
    if (bound == 0 && current.draw != current.read)
        return;
    const auto framebuffer = static_cast<std::uint32_t>(bound);
    const auto hash = ReadBackDrawn(context, framebuffer);
    if (hash)
        m_hash = {{},
                  0,
                  Data::ReferenceOf::Action,
                  framebuffer,
                  0,
                  hash->width,
                  hash->height,
                  hash->hash,
                  Data::PictureState::Hashed,
                  0};
}

} // namespace Recorder
