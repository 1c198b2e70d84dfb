// The system's driver with one fault, for tests that have to find it. PLAYBACK_FAULT=KIND:N says which: of the Nth call
// of a kind, counted from 1.
//   draw     it is not drawn           clear    nothing is cleared      mipmap   no level is made
//   crash    the process ends in glDrawArrays    hang    it does not come back from there
//   uniform  its first number is off   texture  a byte is flipped       blit     it lands a pixel further right
//
// The library's dependency is the real one: what is not here is found there by the same handle.
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include <GLES3/gl32.h>
#include <dlfcn.h>

namespace {

/// Whether this is the call with the fault.
bool IsFaulty(std::string_view kind)
{
    static const char* const fault = std::getenv("PLAYBACK_FAULT");
    static int calls = 0;
    const std::string_view wanted = fault ? fault : "";
    const std::size_t colon = wanted.find(':');
    return wanted.substr(0, colon) == kind && colon != std::string_view::npos &&
           ++calls == std::atoi(fault + colon + 1);
}

template <class Function> Function* Real(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// With a byte in the middle flipped. Pixels of one byte a component, rows without gaps.
std::vector<std::uint8_t> Flipped(const void* pixels, GLsizei width, GLsizei height, GLenum format)
{
    const std::size_t components = format == GL_RGBA ? 4 : format == GL_RGB ? 3 : 1;
    const auto* const bytes = static_cast<const std::uint8_t*>(pixels);
    std::vector<std::uint8_t> copy(bytes, bytes + components * static_cast<std::size_t>(width) *
                                                      static_cast<std::size_t>(height));
    copy[copy.size() / 2] ^= 0xFF;
    return copy;
}

bool CanFlip(GLenum type, const void* pixels)
{
    return type == GL_UNSIGNED_BYTE && pixels;
}

} // namespace

extern "C" {

void GL_APIENTRY glDrawArrays(GLenum mode, GLint first, GLsizei count)
{
    if (IsFaulty("crash"))
        std::raise(SIGSEGV);
    while (IsFaulty("hang"))
        pause();
    if (!IsFaulty("draw"))
        Real<decltype(glDrawArrays)>("glDrawArrays")(mode, first, count);
}

void GL_APIENTRY glDrawElements(GLenum mode, GLsizei count, GLenum type, const void* indices)
{
    if (!IsFaulty("draw"))
        Real<decltype(glDrawElements)>("glDrawElements")(mode, count, type, indices);
}

void GL_APIENTRY glClear(GLbitfield mask)
{
    if (!IsFaulty("clear"))
        Real<decltype(glClear)>("glClear")(mask);
}

void GL_APIENTRY glGenerateMipmap(GLenum target)
{
    if (!IsFaulty("mipmap"))
        Real<decltype(glGenerateMipmap)>("glGenerateMipmap")(target);
}

void GL_APIENTRY glBlitFramebuffer(GLint srcX0, GLint srcY0, GLint srcX1, GLint srcY1, GLint dstX0, GLint dstY0,
                                   GLint dstX1, GLint dstY1, GLbitfield mask, GLenum filter)
{
    const GLint shift = IsFaulty("blit") ? 1 : 0;
    Real<decltype(glBlitFramebuffer)>("glBlitFramebuffer")(srcX0, srcY0, srcX1, srcY1, dstX0 + shift, dstY0,
                                                           dstX1 + shift, dstY1, mask, filter);
}

void GL_APIENTRY glUniform1f(GLint location, GLfloat value)
{
    Real<decltype(glUniform1f)>("glUniform1f")(location, IsFaulty("uniform") ? value + 0.25F : value);
}

void GL_APIENTRY glUniformMatrix4fv(GLint location, GLsizei count, GLboolean transpose, const GLfloat* value)
{
    std::vector<GLfloat> copy(value, value + 16 * static_cast<std::size_t>(count));
    if (IsFaulty("uniform"))
        copy[0] += 0.25F;
    Real<decltype(glUniformMatrix4fv)>("glUniformMatrix4fv")(location, count, transpose, copy.data());
}

void GL_APIENTRY glTexImage2D(GLenum target, GLint level, GLint internalFormat, GLsizei width, GLsizei height,
                              GLint border, GLenum format, GLenum type, const void* pixels)
{
    std::vector<std::uint8_t> flipped;
    if (CanFlip(type, pixels) && IsFaulty("texture")) {
        flipped = Flipped(pixels, width, height, format);
        pixels = flipped.data();
    }
    Real<decltype(glTexImage2D)>("glTexImage2D")(target, level, internalFormat, width, height, border, format, type,
                                                 pixels);
}

void GL_APIENTRY glTexSubImage2D(GLenum target, GLint level, GLint x, GLint y, GLsizei width, GLsizei height,
                                 GLenum format, GLenum type, const void* pixels)
{
    std::vector<std::uint8_t> flipped;
    if (CanFlip(type, pixels) && IsFaulty("texture")) {
        flipped = Flipped(pixels, width, height, format);
        pixels = flipped.data();
    }
    Real<decltype(glTexSubImage2D)>("glTexSubImage2D")(target, level, x, y, width, height, format, type, pixels);
}
}
