// What the test clients of OpenGL ES 3 draw with.
#pragma once

#include <EGL/egl.h>
#include <GLES3/gl32.h>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <GLES2/gl2ext.h> // needs the types of gl32.h

/// Two triangles over the whole viewport, as a strip: (x, y) a vertex.
extern const float quad[8];

/// Draws attribute 0, the position, shrunk to 0.9 of the viewport, in attribute 1, the colour.
extern const char* const flatVertex;
extern const char* const flatFragment;
/// Hands `at` to the fragment shader, from (0, 0) to (1, 1) over the viewport.
extern const char* const pictureVertex;

/// Writes `quad` in another size.
void WriteQuad(void* to, float scale);

/// An offset into a bound buffer, where a call takes a pointer.
const void* At(std::size_t offset);

/// A value that is different enough from its neighbours to be seen.
std::uint8_t Wave(int value);
/// RGBA pixels that move from frame to frame.
std::vector<std::uint8_t> Pattern(int width, int height, int frame);

/// Left bound to `target`.
GLuint MakeBuffer(GLenum target, std::size_t bytes, const void* data);
/// The memory of a new buffer that stays mapped, left bound to `target`. `storage` are the flags of its storage.
void* MapForGood(GLenum target, GLsizeiptr bytes, GLbitfield storage, GLbitfield access);
/// Unfiltered; left bound to `target`.
GLuint MakeTexture(GLenum target);
/// The same with `side` x `side` pixels, whose storage does not change; bound to GL_TEXTURE_2D.
GLuint MakeStorage(int side, GLenum format = GL_RGBA8);
/// A framebuffer object that draws to the texture, left bound.
GLuint MakeFramebuffer(GLuint texture, GLenum target = GL_TEXTURE_2D);
/// A function that the libraries need not export.
template <class Function> Function Load(const char* name)
{
    return reinterpret_cast<Function>(eglGetProcAddress(name));
}

/// Made once, for contexts that share objects. The first shows texture unit 0, the second the colours of its vertices.
GLuint PictureProgram();
GLuint FlatProgram();

/// Draws `quad` from client memory as attribute 0, which is to be enabled.
void DrawQuad(GLuint program);
