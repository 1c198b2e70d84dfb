#include "Probe/DrawChanges.h"

#include <array>

#include <GLES3/gl32.h>

#include "Interfaces/Core.h"
#include "Interfaces/GLState.h"

namespace Probe {

namespace {

const Core::GLESProcTable& GL()
{
    return Core::KHRLayer::GLESProc();
}

/// For all of its `count` indices; 1 where it has none.
void SetCapability(Undo& undo, GLenum capability, bool isOn, GLint count)
{
    if (count > 1) {
        for (GLuint i = 0; i < static_cast<GLuint>(count); ++i)
            undo.Add([capability, i, wasOn = GL().glIsEnabledi(capability, i)] {
                (wasOn ? GL().glEnablei : GL().glDisablei)(capability, i);
            });
    } else {
        undo.Add([capability, wasOn = GL().glIsEnabled(capability)] {
            (wasOn ? GL().glEnable : GL().glDisable)(capability);
        });
    }
    (isOn ? GL().glEnable : GL().glDisable)(capability);
}

GLint ViewportCount()
{
    constexpr GLenum MaxViewports = 0x825B; // GL_MAX_VIEWPORTS_OES
    const bool hasThem = Core::HasExtension(GL(), "GL_OES_viewport_array") && GL().glIsEnabledi &&
                         Core::KHRLayer::GLESExtProc().glScissorIndexedOES;
    return hasThem ? Core::GetInteger(GL(), MaxViewports, 1) : 1;
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

void DrawOnePixel(Undo& undo)
{
    const GLint count = ViewportCount();
    KeepScissorBoxes(undo, count);
    SetCapability(undo, GL_SCISSOR_TEST, true, count);
    GL().glScissor(0, 0, 1, 1);
}

void DrawWithoutBlending(Undo& undo)
{
    const bool hasIndices = Core::GetVersion(GL()) >= 32 && GL().glIsEnabledi;
    SetCapability(undo, GL_BLEND, false, hasIndices ? Core::GetInteger(GL(), GL_MAX_DRAW_BUFFERS, 1) : 1);
}

} // namespace Probe
