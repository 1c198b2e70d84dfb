#include "Probe/Overlays/RedrawGuard.h"

#include <algorithm>
#include <vector>

#include "Probe/LiveGL.h"
#include "Replay/Driver/Programs.h"
#include "Replay/Driver/ProgramsInUse.h"

namespace Probe {

bool IsDrawingCounted()
{
    for (const GLenum target : {GL_ANY_SAMPLES_PASSED, GL_ANY_SAMPLES_PASSED_CONSERVATIVE,
                                GL_TRANSFORM_FEEDBACK_PRIMITIVES_WRITTEN, GL_PRIMITIVES_GENERATED}) {
        GLint query = 0;
        GL().glGetQueryiv(target, GL_CURRENT_QUERY, &query);
        if (query != 0)
            return true;
    }
    return false;
}

RedrawGuard::RedrawGuard()
{
    Core::TakeErrors(GL());
    if (Core::GetVersion(GL()) < 30) {
        m_obstacle = LackOfFunctions();
    } else if (IsDrawingCounted()) {
        m_obstacle = "a query of the program counts what is drawn";
    } else if (std::ranges::any_of(Replay::ProgramsInUse(), Replay::MayWriteMemory)) {
        m_obstacle = "its shaders can write to buffers or images, and would do so once more";
    } else if (Core::GetInteger(GL(), GL_TRANSFORM_FEEDBACK_ACTIVE) != 0 &&
               Core::GetInteger(GL(), GL_TRANSFORM_FEEDBACK_PAUSED) == 0) {
        GL().glPauseTransformFeedback();
        m_isPaused = true;
    }
    Core::TakeErrors(GL());
}

RedrawGuard::~RedrawGuard()
{
    if (m_isPaused)
        GL().glResumeTransformFeedback();
}

} // namespace Probe
