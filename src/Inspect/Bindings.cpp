#include "Inspect/Bindings.h"

#include <algorithm>

namespace Inspect {

using Data::CallId;

bool Bindings::Concerns(CallId call)
{
    return call == CallId::glBindFramebuffer || call == CallId::glDeleteFramebuffers || call == CallId::glUseProgram;
}

void Bindings::Follow(const Data::CallArguments& call, std::uint32_t context)
{
    constexpr std::uint32_t ReadFramebuffer = 0x8CA8;
    Bound& bound = m_contexts[context];
    switch (call.Call()) {
    case CallId::glBindFramebuffer:
        if (call.Unsigned(0) != ReadFramebuffer)
            bound.framebuffer = call.Unsigned(1);
        break;
    case CallId::glDeleteFramebuffers:
        for (std::uint32_t i = 0; i < std::min(call.Unsigned(0), call.ElementCount(1)); ++i)
            if (call.Element(1, i) == bound.framebuffer)
                bound.framebuffer = 0;
        break;
    case CallId::glUseProgram:
        bound.program = call.Unsigned(0);
        break;
    default:
        break;
    }
}

Bound Bindings::Of(std::uint32_t context) const
{
    const auto bound = m_contexts.find(context);
    return bound != m_contexts.end() ? bound->second : Bound();
}

} // namespace Inspect
