#include "Host/Timing/DrawTargets.h"

#include <GLES3/gl32.h>

namespace Host {

bool DrawTargets::Follow(const Data::CallArguments& call, std::uint32_t context)
{
    switch (call.Call()) {
    case Data::CallId::glBindFramebuffer:
        if (call.Unsigned(0) == GL_READ_FRAMEBUFFER)
            return false;
        m_framebuffers[context] = call.Unsigned(1);
        return true;
    case Data::CallId::glDeleteFramebuffers: {
        bool isBound = false;
        call.ForEachName(2, [&](std::uint32_t name) { isBound |= name != 0 && name == FramebufferOf(context); });
        if (isBound)
            m_framebuffers[context] = 0;
        return isBound;
    }
    case Data::CallId::eglDestroyContext:
        // The name may stand for another one later.
        m_framebuffers.erase(call.Unsigned(1));
        return false;
    default:
        return false;
    }
}

} // namespace Host
