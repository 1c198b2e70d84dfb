#include "Replay/Guards/DrawGuard.h"

#include <algorithm>
#include <numeric>
#include <span>

#include "Interfaces/GLState.h"
#include "Replay/Driver/Programs.h"
#include "Replay/Driver/ProgramsInUse.h"

namespace Replay {

/// Blocks of a program that lie in buffers.
struct DrawGuard::BlockKind {
    GLenum blocks; ///< as an interface of the program
    GLenum limit;  ///< of bindings
    GLenum binding;
    GLenum start; ///< of the range that is bound
};

std::vector<GLint> DrawGuard::Bindings(GLuint program, const BlockKind& kind) const
{
    if (!IsLinked(program)) {
        // What was in use before it failed to link still is, and cannot be asked for.
        std::vector<GLint> all(static_cast<std::size_t>(std::max(Core::GetInteger(m_driver, kind.limit), 0)));
        std::iota(all.begin(), all.end(), 0);
        return all;
    }
    // The way of OpenGL ES 3.0, which has no other blocks.
    const bool isUniform = kind.blocks == GL_UNIFORM_BLOCK;
    std::vector<GLint> bindings(
        isUniform ? static_cast<std::size_t>(std::max(ProgramParameter(program, GL_ACTIVE_UNIFORM_BLOCKS), 0))
                  : ResourceCount(program, kind.blocks));
    for (GLuint i = 0; i < bindings.size(); ++i)
        if (isUniform)
            m_driver.glGetActiveUniformBlockiv(program, i, GL_UNIFORM_BLOCK_BINDING, &bindings[i]);
        else
            bindings[i] = ResourceProperty(program, kind.blocks, i, GL_BUFFER_BINDING);
    return bindings;
}

bool DrawGuard::HasStrayRange(const Data::ContextState& state, GLuint program, int version) const
{
    constexpr BlockKind Kinds[] = {
        {GL_UNIFORM_BLOCK, GL_MAX_UNIFORM_BUFFER_BINDINGS, GL_UNIFORM_BUFFER_BINDING, GL_UNIFORM_BUFFER_START},
        {GL_SHADER_STORAGE_BLOCK, GL_MAX_SHADER_STORAGE_BUFFER_BINDINGS, GL_SHADER_STORAGE_BUFFER_BINDING,
         GL_SHADER_STORAGE_BUFFER_START},
        {GL_ATOMIC_COUNTER_BUFFER, GL_MAX_ATOMIC_COUNTER_BUFFER_BINDINGS, GL_ATOMIC_COUNTER_BUFFER_BINDING,
         GL_ATOMIC_COUNTER_BUFFER_START},
    };
    for (const BlockKind& kind : std::span(Kinds, version >= 31 ? std::size(Kinds) : 1)) {
        for (const GLint index : Bindings(program, kind)) {
            GLint buffer = 0;
            GLint64 start = 0;
            m_driver.glGetIntegeri_v(kind.binding, static_cast<GLuint>(index), &buffer);
            m_driver.glGetInteger64i_v(kind.start, static_cast<GLuint>(index), &start);
            const std::int64_t bytes = state.StorageOf(static_cast<GLuint>(buffer));
            // Drivers with 32 bits for it give a negative start.
            if (bytes > 0 && (start < 0 || start >= bytes))
                return true;
        }
    }
    return false;
}

bool DrawGuard::MayDraw(const Data::ContextState& state, int version, const char* call)
{
    if (!state.Group()->mayHaveStrayRanges || version < 30)
        return true;
    const auto isStray = [&](GLuint program) { return HasStrayRange(state, program, version); };
    if (!std::ranges::any_of(ProgramsInUse(), isStray))
        return true;
    if (!m_isTold) {
        PLAYBACK_LOG(Warning, General, "src/Replay/DrawGuard",
                     "%s is left out, since a range bound for one of its blocks starts beyond the buffer; more "
                     "such calls of this context are left out too",
                     call);
    }
    m_isTold = true;
    return false;
}

} // namespace Replay
