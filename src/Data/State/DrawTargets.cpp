#include "Data/State/DrawTargets.h"

namespace Data {

namespace {

/// GL_READ_FRAMEBUFFER
constexpr std::uint32_t ReadFramebuffer = 0x8CA8;

} // namespace

bool DrawTargets::Follow(const CallArguments& call, std::uint32_t context)
{
    switch (call.Call()) {
    case CallId::glBindFramebuffer:
        if (call.Unsigned(0) == ReadFramebuffer)
            return false;
        m_framebuffers[context] = call.Unsigned(1);
        return true;
    case CallId::glDeleteFramebuffers: {
        bool isBound = false;
        call.ForEachName(2, [&](std::uint32_t name) { isBound |= name != 0 && name == FramebufferOf(context); });
        if (isBound)
            m_framebuffers[context] = 0;
        return isBound;
    }
    case CallId::eglDestroyContext:
        // The name may stand for another one later.
        m_framebuffers.erase(call.Unsigned(1));
        return false;
    default:
        return false;
    }
}

} // namespace Data
