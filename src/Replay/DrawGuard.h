#pragma once

#include <array>
#include <vector>

#include "Data/State/ContextState.h"
#include "Interfaces/Core.h"

namespace Replay {

/// Finds the draws and dispatches of a context that end in some drivers: those with no program to run, and those with a
/// block whose range starts beyond the storage of its buffer. OpenGL ES leaves undefined what they do.
class DrawGuard {
public:
    /// A call may have taken the program away.
    void ForgetProgram() { m_hasProgram = false; }

    /// False for a draw to be left out. `version` is ten times the context's version of OpenGL ES.
    bool MayDraw(const Data::ContextState& state, int version, const char* call);
    /// The same for a dispatch. One without a program is an error, which is the driver's to make.
    bool MayDispatch(const Data::ContextState& state, int version, const char* call);

private:
    /// The program in use, or those of the pipeline by stage; 0 where there is none.
    [[nodiscard]] std::array<GLint, 3> Programs(int version) const;
    struct BlockKind;
    /// Numbers of the bindings that the blocks of a program have.
    [[nodiscard]] std::vector<GLint> Bindings(GLuint program, const BlockKind& kind, int version) const;
    /// Whether the program has a block whose range starts beyond its buffer.
    [[nodiscard]] bool HasStrayRange(const Data::ContextState& state, GLuint program, int version) const;
    bool Refuse(const char* call, const char* why);

    const Core::GLESProcTable& m_driver = Core::KHRLayer::GLESProc();
    bool m_hasProgram = false;
    bool m_isTold = false;
};

} // namespace Replay
