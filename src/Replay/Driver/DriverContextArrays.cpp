// The part of DriverContext that is about the client arrays of OpenGL ES 1.1. The driver is asked after each pointer:
// it may allow other types than the standard does, or fewer.
#include "Replay/Driver/DriverContext.h"

#include <GLES/gl.h>
// Needs the types of the header above.
#include <GLES/glext.h>

#include "Interfaces/GLState.h"

namespace Replay {

bool DriverContext::IsArray(GLenum array) const
{
    return array == GL_VERTEX_ARRAY || array == GL_NORMAL_ARRAY || array == GL_COLOR_ARRAY ||
           array == GL_TEXTURE_COORD_ARRAY ||
           (array == GL_POINT_SIZE_ARRAY_OES && Core::HasExtension(m_driver, "GL_OES_point_size_array")) ||
           Core::HasExtension(m_driver, "GL_OES_matrix_palette");
}

bool DriverContext::Took_glClientActiveTexture(GLenum texture)
{
    // Each driver has two units.
    return texture == GL_TEXTURE0 || texture == GL_TEXTURE1 ||
           static_cast<GLenum>(Integer(GL_CLIENT_ACTIVE_TEXTURE)) == texture;
}

bool DriverContext::TookArray(const ArrayQueries& queries, GLint size, GLenum type, GLsizei stride,
                              const void* pointer) const
{
    void* live = nullptr;
    if (m_driver.glGetPointerv)
        m_driver.glGetPointerv(queries.pointer, &live);
    return live == pointer && (queries.size == 0 || Integer(queries.size) == size) &&
           Integer(queries.type) == static_cast<GLint>(type) && Integer(queries.stride) == stride &&
           Integer(queries.buffer) == static_cast<GLint>(state.BoundBuffer(GL_ARRAY_BUFFER));
}

bool DriverContext::Took_glVertexPointer(GLint size, GLenum type, GLsizei stride, const void* pointer)
{
    return TookArray({GL_VERTEX_ARRAY_SIZE, GL_VERTEX_ARRAY_TYPE, GL_VERTEX_ARRAY_STRIDE,
                      GL_VERTEX_ARRAY_BUFFER_BINDING, GL_VERTEX_ARRAY_POINTER},
                     size, type, stride, pointer);
}

bool DriverContext::Took_glNormalPointer(GLenum type, GLsizei stride, const void* pointer)
{
    return TookArray(
        {0, GL_NORMAL_ARRAY_TYPE, GL_NORMAL_ARRAY_STRIDE, GL_NORMAL_ARRAY_BUFFER_BINDING, GL_NORMAL_ARRAY_POINTER}, 3,
        type, stride, pointer);
}

bool DriverContext::Took_glColorPointer(GLint size, GLenum type, GLsizei stride, const void* pointer)
{
    return TookArray({GL_COLOR_ARRAY_SIZE, GL_COLOR_ARRAY_TYPE, GL_COLOR_ARRAY_STRIDE, GL_COLOR_ARRAY_BUFFER_BINDING,
                      GL_COLOR_ARRAY_POINTER},
                     size, type, stride, pointer);
}

bool DriverContext::Took_glTexCoordPointer(GLint size, GLenum type, GLsizei stride, const void* pointer)
{
    return TookArray({GL_TEXTURE_COORD_ARRAY_SIZE, GL_TEXTURE_COORD_ARRAY_TYPE, GL_TEXTURE_COORD_ARRAY_STRIDE,
                      GL_TEXTURE_COORD_ARRAY_BUFFER_BINDING, GL_TEXTURE_COORD_ARRAY_POINTER},
                     size, type, stride, pointer);
}

bool DriverContext::Took_glPointSizePointerOES(GLenum type, GLsizei stride, const void* pointer)
{
    return TookArray({0, GL_POINT_SIZE_ARRAY_TYPE_OES, GL_POINT_SIZE_ARRAY_STRIDE_OES,
                      GL_POINT_SIZE_ARRAY_BUFFER_BINDING_OES, GL_POINT_SIZE_ARRAY_POINTER_OES},
                     1, type, stride, pointer);
}

bool DriverContext::Took_glMatrixIndexPointerOES(GLint size, GLenum type, GLsizei stride, const void* pointer)
{
    return TookArray({GL_MATRIX_INDEX_ARRAY_SIZE_OES, GL_MATRIX_INDEX_ARRAY_TYPE_OES, GL_MATRIX_INDEX_ARRAY_STRIDE_OES,
                      GL_MATRIX_INDEX_ARRAY_BUFFER_BINDING_OES, GL_MATRIX_INDEX_ARRAY_POINTER_OES},
                     size, type, stride, pointer);
}

bool DriverContext::Took_glWeightPointerOES(GLint size, GLenum type, GLsizei stride, const void* pointer)
{
    return TookArray({GL_WEIGHT_ARRAY_SIZE_OES, GL_WEIGHT_ARRAY_TYPE_OES, GL_WEIGHT_ARRAY_STRIDE_OES,
                      GL_WEIGHT_ARRAY_BUFFER_BINDING_OES, GL_WEIGHT_ARRAY_POINTER_OES},
                     size, type, stride, pointer);
}

} // namespace Replay
