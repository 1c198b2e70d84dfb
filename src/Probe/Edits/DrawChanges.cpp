#include "Probe/Edits/DrawChanges.h"

#include <array>
#include <memory>

#include "Probe/LiveGL.h"

namespace Probe {

namespace {

void Switch(Undo& undo, GLenum capability, bool isOn)
{
    undo.Add(
        [state = std::make_shared<Core::ScopedState>(Core::SwitchScoped(GL(), capability, isOn))] { *state = {}; });
}

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
    Switch(undo, GL_SCISSOR_TEST, true);
    GL().glScissor(0, 0, side, side);
}

void DrawWithoutBlending(Undo& undo)
{
    Switch(undo, GL_BLEND, false);
}

} // namespace Probe
