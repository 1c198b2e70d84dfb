#include "Probe/Edits/DrawChanges.h"

#include <array>

#include "Probe/LiveGL.h"

namespace Probe {

namespace {

void KeepScissorBoxes(Undo& undo, GLint count)
{
    using Box = std::array<GLint, 4>;
    for (GLuint i = 0; count > 1 && i < static_cast<GLuint>(count); ++i) {
        Box box = {};
        GL().glGetIntegeri_v(GL_SCISSOR_BOX, i, box.data());
        undo.Add([i, box] { Core::KHRLayer::GLESExtProc().glScissorIndexedOES(i, box[0], box[1], box[2], box[3]); });
    }
    if (count > 1)
        return;
    Box box = {};
    GL().glGetIntegerv(GL_SCISSOR_BOX, box.data());
    undo.Add([box] { GL().glScissor(box[0], box[1], box[2], box[3]); });
}

} // namespace

void DrawOnlyCorner(Undo& undo, int side)
{
    KeepScissorBoxes(undo, Core::CapabilityCount(GL(), GL_SCISSOR_TEST));
    undo.Add(Core::SwitchScoped(GL(), GL_SCISSOR_TEST, true));
    GL().glScissor(0, 0, side, side);
}

void DrawWithoutBlending(Undo& undo)
{
    undo.Add(Core::DisableScoped(GL(), GL_BLEND));
}

} // namespace Probe
