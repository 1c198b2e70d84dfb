#pragma once

#include "Data/State/StateTable.h"
#include "Trim/Restore/LiveGL.h"

namespace Trim {

/// While it lives, pixels of the current context of the live driver move as packed rows; at its end, what reading and
/// restoring contents binds is bound as before.
struct KeptState {
    Core::ScopedState texture = Core::KeepBound(GL(), GL().glBindTexture, Core::Texture2D);
    Core::ScopedState cubeMap =
        Core::KeepBound(GL(), GL().glBindTexture, {GL_TEXTURE_CUBE_MAP, GL_TEXTURE_BINDING_CUBE_MAP});
    Core::ScopedState buffer = Core::KeepBound(GL(), GL().glBindBuffer, {GL_ARRAY_BUFFER, GL_ARRAY_BUFFER_BINDING});
    Core::ScopedState renderbuffer = Core::KeepBound(GL(), GL().glBindRenderbuffer, Core::Renderbuffer);
    Core::ScopedState readFramebuffer = Core::KeepBound(GL(), GL().glBindFramebuffer, Core::ReadFramebuffer);
    Core::ScopedState drawFramebuffer = Core::KeepBound(GL(), GL().glBindFramebuffer, Core::DrawFramebuffer);
    PackedTransfers transfers;
};

/// While it lives, blits reach all of a framebuffer, whatever the program had set.
class WholeArea {
public:
    WholeArea()
    {
        // With viewport arrays, there is one for each.
        for (GLuint i = 0; m_isEnabled && i < Data::Viewports; ++i)
            m_scissors |= m_isEnabled(GL_SCISSOR_TEST, i) ? 1U << i : 0U;
        ForgetErrors();
        if (!m_isEnabled)
            m_scissors = GL().glIsEnabled(GL_SCISSOR_TEST) ? ~0U : 0U;
        if (m_scissors != 0)
            GL().glDisable(GL_SCISSOR_TEST);
    }
    ~WholeArea()
    {
        // The first one is all there is where there are no viewport arrays.
        if ((m_scissors & 1) != 0)
            GL().glEnable(GL_SCISSOR_TEST);
        for (GLuint i = 0; m_isEnabled && m_scissors != 0 && i < Data::Viewports; ++i)
            ((m_scissors & 1U << i) != 0 ? GL().glEnablei : GL().glDisablei)(GL_SCISSOR_TEST, i);
        ForgetErrors();
    }
    WholeArea(const WholeArea&) = delete;
    WholeArea& operator=(const WholeArea&) = delete;

private:
    decltype(Core::GLESProcTable::glIsEnabledi) m_isEnabled = GL().glEnablei ? GL().glIsEnabledi : nullptr;
    unsigned int m_scissors = 0;
    Core::ScopedState m_discard =
        GL().glBeginTransformFeedback ? Core::DisableScoped(GL(), GL_RASTERIZER_DISCARD) : Core::ScopedState();
};

} // namespace Trim
