#include "Inspect/Capture/Bindings.h"

namespace Inspect {

using Data::CallId;

void Bindings::Follow(const Data::CallArguments& call, std::uint32_t context)
{
    m_targets.Follow(call, context);
    if (call.Call() == CallId::glUseProgram)
        m_programs[context] = call.Unsigned(0);
    else if (call.Call() == CallId::eglDestroyContext)
        m_programs.erase(call.Unsigned(1));
}

Bound Bindings::Of(std::uint32_t context) const
{
    const auto program = m_programs.find(context);
    return {m_targets.FramebufferOf(context), program != m_programs.end() ? program->second : 0};
}

} // namespace Inspect
