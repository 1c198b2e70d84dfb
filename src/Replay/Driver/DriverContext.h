#pragma once

#include "Data/State/ContextState.h"
#include "Interfaces/Core.h"
#include "Replay/Guards/DrawGuard.h"

namespace Replay {

/// A context of the driver's and what is known of its state. The functions named Took_ tell whether the driver did what
/// the call just made asked for. Where the standard leaves no doubt nobody is asked; where a driver may have refused,
/// the driver is asked for the state itself, never for its errors, which belong to the replay.
class DriverContext {
public:
    explicit DriverContext(std::shared_ptr<Data::ShareGroupState> group) : state(std::move(group)) {}

    Data::ContextState state;

    bool MayDraw(const char* call) { return m_draws.MayDraw(state, Version(), call); }

    bool Took_glBindBuffer(GLenum target, GLuint buffer);
    bool Took_glBindVertexArray(GLuint array);
    bool Took_glBindVertexArrayOES(GLuint array) { return Took_glBindVertexArray(array); }
    bool Took_glBindVertexBuffer(GLuint binding, GLuint buffer, GLintptr offset, GLsizei stride);
    bool Took_glBufferStorageEXT(GLenum target, GLsizeiptr size, const void* data, GLbitfield flags);
    bool Took_glBufferData(GLenum target, GLsizeiptr size, const void* data, GLenum usage);
    bool Took_glEnable(GLenum capability);
    bool Took_glDisable(GLenum capability);
    bool Took_glEnableVertexAttribArray(GLuint index);
    bool Took_glDisableVertexAttribArray(GLuint index);
    bool Took_glPixelStorei(GLenum name, GLint value);
    bool Took_glVertexAttribBinding(GLuint index, GLuint binding);
    bool Took_glVertexAttribDivisor(GLuint index, GLuint divisor);
    bool Took_glVertexAttribPointer(GLuint index, GLint size, GLenum type, GLboolean normalized, GLsizei stride,
                                    const void* pointer);
    // Client arrays, which other versions do not have.
    bool Took_glClientActiveTexture(GLenum texture);
    bool Took_glEnableClientState(GLenum array) { return IsArray(array); }
    bool Took_glDisableClientState(GLenum array) { return IsArray(array); }
    bool Took_glVertexPointer(GLint size, GLenum type, GLsizei stride, const void* pointer);
    bool Took_glNormalPointer(GLenum type, GLsizei stride, const void* pointer);
    bool Took_glColorPointer(GLint size, GLenum type, GLsizei stride, const void* pointer);
    bool Took_glTexCoordPointer(GLint size, GLenum type, GLsizei stride, const void* pointer);
    bool Took_glPointSizePointerOES(GLenum type, GLsizei stride, const void* pointer);
    bool Took_glMatrixIndexPointerOES(GLint size, GLenum type, GLsizei stride, const void* pointer);
    bool Took_glWeightPointerOES(GLint size, GLenum type, GLsizei stride, const void* pointer);
    bool Took_glVertexAttribIPointer(GLuint index, GLint size, GLenum type, GLsizei stride, const void* pointer);

private:
    /// Ten times the version of OpenGL ES, such as 32; 0 for another API, of which nothing is taken for granted.
    int Version();
    GLuint MaxAttribs();
    GLint Integer(GLenum name) const;
    bool TookPointer(GLuint index, GLint size, GLenum type, GLsizei stride, const void* pointer, bool isCertain);

    /// The driver has it, or it is one of those that each has.
    [[nodiscard]] bool IsArray(GLenum array) const;
    /// What the driver answers to that it was asked for. An array without a size has 0 for what tells it.
    struct ArrayQueries {
        GLenum size;
        GLenum type;
        GLenum stride;
        GLenum buffer;
        GLenum pointer;
    };
    bool TookArray(const ArrayQueries& queries, GLint size, GLenum type, GLsizei stride, const void* pointer) const;

    DrawGuard m_draws;
    const Core::GLESProcTable& m_driver = Core::KHRLayer::GLESProc();
    int m_version = -1;
    GLuint m_maxAttribs = 0;
};

} // namespace Replay
