#include "Replay/Driver/DriverContext.h"

#include <cstdlib>
#include <string_view>

#include "Interfaces/GLState.h"
#include "Interfaces/Util.h"
#include "Replay/Driver/LiveGL.h"

namespace Replay {

namespace {

/// Least values of the limits in OpenGL ES 3.1, tables 21.40 and 21.41.
constexpr GLuint LeastAttribs = 8;
constexpr GLuint LeastBindings = 16;
constexpr GLsizei LeastStride = 2048;
/// Storage up to this size is taken for granted, in bytes.
constexpr GLsizeiptr SmallStorage = 1 << 20;

/// The version of OpenGL ES from which on a target is there; 0 for bindings that no pointer depends on.
int VersionOf(GLenum target)
{
    switch (target) {
    case GL_ARRAY_BUFFER:
    case GL_ELEMENT_ARRAY_BUFFER:
        return 11;
    case GL_PIXEL_PACK_BUFFER:
    case GL_PIXEL_UNPACK_BUFFER:
        return 30;
    case GL_DRAW_INDIRECT_BUFFER:
        return 31;
    default:
        return 0;
    }
}

} // namespace

int DriverContext::Version()
{
    if (m_version < 0)
        m_version = Core::GetVersion(m_driver, 0);
    return m_version;
}

GLint DriverContext::Integer(GLenum name) const
{
    return Core::GetInteger(m_driver, name);
}

GLuint DriverContext::MaxAttribs()
{
    if (m_maxAttribs == 0)
        m_maxAttribs = static_cast<GLuint>(Integer(GL_MAX_VERTEX_ATTRIBS));
    return m_maxAttribs;
}

bool DriverContext::Took_glBindBuffer(GLenum target, GLuint buffer)
{
    const int version = VersionOf(target);
    if (version == 0 || (Version() >= version && state.KnowsBuffer(buffer)))
        return true;
    return static_cast<GLuint>(Integer(Util::GetBindBuffer(target))) == buffer;
}

bool DriverContext::Took_glBindVertexArray(GLuint array)
{
    return (Version() != 0 && state.KnowsVertexArray(array)) ||
           static_cast<GLuint>(Integer(GL_VERTEX_ARRAY_BINDING)) == array;
}

bool DriverContext::Took_glBindVertexBuffer(GLuint binding, GLuint buffer, GLintptr offset, GLsizei stride)
{
    const bool isCertain = Version() >= 31 && state.BoundVertexArray() != 0 && binding < LeastBindings &&
                           state.KnowsBuffer(buffer) && offset >= 0 && stride >= 0 && stride <= LeastStride;
    if (isCertain || !m_driver.glGetIntegeri_v)
        return isCertain;
    GLint bound = 0;
    m_driver.glGetIntegeri_v(GL_VERTEX_BINDING_BUFFER, binding, &bound);
    return static_cast<GLuint>(bound) == buffer;
}

bool DriverContext::Took_glBufferData(GLenum target, GLsizeiptr size, const void* /*data*/, GLenum usage)
{
    const bool isUsage = usage == GL_STREAM_DRAW || usage == GL_STATIC_DRAW || usage == GL_DYNAMIC_DRAW ||
                         (Version() >= 30 && usage >= GL_STREAM_DRAW && usage <= GL_DYNAMIC_COPY && (usage & 3) != 3);
    GLint bytes = 0;
    if (isUsage && size > SmallStorage && m_driver.glGetBufferParameteriv)
        m_driver.glGetBufferParameteriv(target, GL_BUFFER_SIZE, &bytes);
    if (isUsage && (size <= SmallStorage || bytes == size))
        return true;
    state.ForgetContents(state.BoundBuffer(target));
    return false;
}

bool DriverContext::Took_glBufferStorageEXT(GLenum target, GLsizeiptr size, const void* /*data*/, GLbitfield /*flags*/)
{
    GLint bytes = 0;
    if (m_driver.glGetBufferParameteriv)
        m_driver.glGetBufferParameteriv(target, GL_BUFFER_SIZE, &bytes);
    return bytes == size;
}

bool DriverContext::Took_glEnable(GLenum capability)
{
    return capability != GL_PRIMITIVE_RESTART_FIXED_INDEX || (m_driver.glIsEnabled && m_driver.glIsEnabled(capability));
}

bool DriverContext::Took_glDisable(GLenum capability)
{
    return !m_driver.glIsEnabled || capability != GL_PRIMITIVE_RESTART_FIXED_INDEX || !m_driver.glIsEnabled(capability);
}

bool DriverContext::Took_glEnableVertexAttribArray(GLuint index)
{
    return index < LeastAttribs || index < MaxAttribs();
}

bool DriverContext::Took_glDisableVertexAttribArray(GLuint index)
{
    return Took_glEnableVertexAttribArray(index);
}

bool DriverContext::Took_glPixelStorei(GLenum name, GLint value)
{
    const bool isAlignment = name == GL_PACK_ALIGNMENT || name == GL_UNPACK_ALIGNMENT;
    return (isAlignment && Version() != 0) || (Version() >= 30 && value >= 0) || Integer(name) == value;
}

bool DriverContext::Took_glVertexAttribBinding(GLuint index, GLuint binding)
{
    const bool isCertain = Version() >= 31 && state.BoundVertexArray() != 0 && index < MaxAttribs();
    return (isCertain && binding < LeastBindings) ||
           VertexAttribute(index, GL_VERTEX_ATTRIB_BINDING) == static_cast<GLint>(binding);
}

bool DriverContext::Took_glVertexAttribDivisor(GLuint index, GLuint /*divisor*/)
{
    return Took_glEnableVertexAttribArray(index);
}

bool DriverContext::Took_glVertexAttribPointer(GLuint index, GLint size, GLenum type, GLboolean /*normalized*/,
                                               GLsizei stride, const void* pointer)
{
    const bool isOld = type >= GL_BYTE && type <= GL_FLOAT && type != GL_INT && type != GL_UNSIGNED_INT;
    const bool isNew = type == GL_INT || type == GL_UNSIGNED_INT || type == GL_HALF_FLOAT ||
                       ((type == GL_INT_2_10_10_10_REV || type == GL_UNSIGNED_INT_2_10_10_10_REV) && size == 4);
    return TookPointer(index, size, type, stride, pointer,
                       Version() >= 20 && (isOld || type == GL_FIXED || (isNew && Version() >= 30)));
}

bool DriverContext::Took_glVertexAttribIPointer(GLuint index, GLint size, GLenum type, GLsizei stride,
                                                const void* pointer)
{
    return TookPointer(index, size, type, stride, pointer,
                       Version() >= 30 && type >= GL_BYTE && type <= GL_UNSIGNED_INT);
}

bool DriverContext::TookPointer(GLuint index, GLint size, GLenum type, GLsizei stride, const void* pointer,
                                bool isCertain)
{
    // A vertex array object may not be allowed to have client memory.
    const bool isAllowed = state.BoundVertexArray() == 0 || !pointer || state.BoundBuffer(GL_ARRAY_BUFFER) != 0;
    if (isCertain && isAllowed && size >= 1 && size <= 4 && stride >= 0 && stride <= LeastStride &&
        Took_glEnableVertexAttribArray(index))
        return true;
    void* live = nullptr;
    if (m_driver.glGetVertexAttribPointerv)
        m_driver.glGetVertexAttribPointerv(index, GL_VERTEX_ATTRIB_ARRAY_POINTER, &live);
    return live == pointer &&
           VertexAttribute(index, GL_VERTEX_ATTRIB_ARRAY_BUFFER_BINDING) ==
               static_cast<GLint>(state.BoundBuffer(GL_ARRAY_BUFFER)) &&
           VertexAttribute(index, GL_VERTEX_ATTRIB_ARRAY_SIZE) == size &&
           VertexAttribute(index, GL_VERTEX_ATTRIB_ARRAY_TYPE) == static_cast<GLint>(type) &&
           VertexAttribute(index, GL_VERTEX_ATTRIB_ARRAY_STRIDE) == stride;
}

} // namespace Replay
