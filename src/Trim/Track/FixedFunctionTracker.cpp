#include "Trim/Track/FixedFunctionTracker.h"

#include <GLES/gl.h>
// Needs the types of the header above.
#include <GLES/glext.h>

namespace Trim {

using Data::CallId;

bool FixedFunctionTracker::Track(const CallArguments& call)
{
    switch (call.Call()) {
    case CallId::glFrustumf:
    case CallId::glFrustumx:
    case CallId::glLoadIdentity:
    case CallId::glLoadMatrixf:
    case CallId::glLoadMatrixx:
    case CallId::glMultMatrixf:
    case CallId::glMultMatrixx:
    case CallId::glOrthof:
    case CallId::glOrthox:
    case CallId::glPopMatrix:
    case CallId::glPushMatrix:
    case CallId::glRotatef:
    case CallId::glRotatex:
    case CallId::glScalef:
    case CallId::glScalex:
    case CallId::glTranslatef:
    case CallId::glTranslatex:
        TrackMatrix(call);
        return true;
    case CallId::glLoadPaletteFromModelViewMatrixOES:
        ReadsModelView();
        m_tracked.Replaces(Stack(GL_MATRIX_PALETTE_OES));
        return true;
    case CallId::glLightfv:
    case CallId::glLightxv:
    case CallId::glClipPlanef:
    case CallId::glClipPlanex:
        ReadsModelView();
        return false;
    case CallId::glColor4f:
    case CallId::glColor4ub:
    case CallId::glColor4x:
        TrackColor();
        return false;
    case CallId::glTexImage2D:
    case CallId::glTexSubImage2D:
    case CallId::glCopyTexImage2D:
    case CallId::glCopyTexSubImage2D:
        ReadsGeneration(call.Unsigned(0));
        return false;
    case CallId::glEnable:
        if (call.Unsigned(0) == GL_COLOR_MATERIAL) {
            m_tracked.Reads(m_tracked.ContextSlot(State::CurrentColor));
            TrackColor();
        }
        return false;
    default:
        return false;
    }
}

void FixedFunctionTracker::TrackMatrix(const CallArguments& call)
{
    m_tracked.Reads(m_tracked.ContextSlot(State::MatrixMode));
    const Slot stack = Stack(static_cast<std::uint32_t>(m_tracked.Setting(State::MatrixMode)));
    std::uint32_t& depth = m_tracked.Info().matrixDepths[stack];
    const bool isLoaded = call.Call() == CallId::glLoadIdentity || call.Call() == CallId::glLoadMatrixf ||
                          call.Call() == CallId::glLoadMatrixx;
    if (isLoaded && depth == 0)
        return m_tracked.Replaces(stack);
    m_tracked.Changes(stack);
    m_tracked.Reads(stack);
    if (call.Call() == CallId::glPushMatrix)
        ++depth;
    else if (call.Call() == CallId::glPopMatrix && depth > 0)
        --depth;
}

Slot FixedFunctionTracker::Stack(std::uint32_t mode)
{
    std::uint32_t place = 0;
    if (mode == GL_TEXTURE) {
        m_tracked.Reads(m_tracked.ContextSlot(State::ActiveTexture));
        place = m_tracked.Model().Unit();
    } else if (mode == GL_MATRIX_PALETTE_OES) {
        m_tracked.Reads(m_tracked.ContextSlot(State::PaletteMatrix));
        place = static_cast<std::uint32_t>(m_tracked.Setting(State::PaletteMatrix));
    }
    return m_tracked.ContextSlot(State::Matrix, mode, place);
}

void FixedFunctionTracker::ReadsModelView()
{
    m_tracked.Reads(m_tracked.ContextSlot(State::Matrix, GL_MODELVIEW));
}

void FixedFunctionTracker::ReadsGeneration(std::uint32_t target)
{
    const Owner texture = m_tracked.Model().BoundTexture(target);
    if (texture != 0 && m_tracked.Model().Word(texture, State::TextureParameter, GL_GENERATE_MIPMAP) != 0)
        m_tracked.Reads(m_tracked.SlotOf(texture, State::TextureParameter, GL_GENERATE_MIPMAP));
}

void FixedFunctionTracker::TrackColor()
{
    if (m_tracked.Setting(State::Capability, GL_COLOR_MATERIAL) == 0)
        return;
    m_tracked.Reads(m_tracked.ContextSlot(State::Capability, GL_COLOR_MATERIAL));
    for (const std::uint32_t parameter : {GL_AMBIENT, GL_DIFFUSE})
        m_tracked.Replaces(m_tracked.ContextSlot(State::Material, parameter));
}

} // namespace Trim
