#pragma once

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
    Core::ScopedState readFramebuffer = Core::KeepBound(
        GL(), GL().glBindFramebuffer, GL().glBlitFramebuffer ? Core::ReadFramebuffer : Core::Framebuffer);
    Core::ScopedState drawFramebuffer = Core::KeepBound(
        GL(), GL().glBindFramebuffer, GL().glBlitFramebuffer ? Core::DrawFramebuffer : Core::Framebuffer);
    PackedTransfers transfers;
};

/// While it lives, blits reach all of a framebuffer, whatever the program had set.
struct WholeArea {
    Core::ScopedState scissor = Core::DisableScoped(GL(), GL_SCISSOR_TEST);
    Core::ScopedState discard =
        GL().glBeginTransformFeedback ? Core::DisableScoped(GL(), GL_RASTERIZER_DISCARD) : Core::ScopedState();
};

} // namespace Trim
