#pragma once

#include <vector>

#include "Data/State/ContextState.h"
#include "Interfaces/Core.h"

namespace Replay {

/// Finds the draws and dispatches of a context that some drivers do not survive: those with a block whose range starts
/// beyond the storage of its buffer. OpenGL ES leaves undefined what they do.
class DrawGuard {
public:
    /// False for a draw or dispatch to be left out, which is said of the first one. `version` is ten times the
    /// context's version of OpenGL ES.
    bool MayDraw(const Data::ContextState& state, int version, const char* call);

private:
    struct BlockKind;
    /// Numbers of the bindings that the blocks of a program have.
    [[nodiscard]] std::vector<GLint> Bindings(GLuint program, const BlockKind& kind) const;
    /// Whether the program has a block whose range starts beyond its buffer.
    [[nodiscard]] bool HasStrayRange(const Data::ContextState& state, GLuint program, int version) const;

    const Core::GLESProcTable& m_driver = Core::KHRLayer::GLESProc();
    bool m_isTold = false;
};

} // namespace Replay
