// Asking the live driver for what is attached to framebuffers. Tables of functions are as in GLState.h.
#pragma once

#include <cstdint>

#include "Interfaces/GLState.h"

namespace Core {

/// Clears the context's errors; returns the first one. A context that was lost reports an error for ever.
template <class GL> unsigned int TakeErrors(const GL& gl)
{
    constexpr int MaxPendingErrors = 32;
    const unsigned int first = gl.glGetError();
    unsigned int error = first;
    for (int i = 0; i < MaxPendingErrors && error != 0; ++i)
        error = gl.glGetError();
    return first;
}

/// A property of an attachment of the framebuffer bound to `target`, 0 when there is none.
template <class GL>
[[nodiscard]] int GetAttachment(const GL& gl, unsigned int target, unsigned int attachment, unsigned int name)
{
    int value = 0;
    gl.glGetFramebufferAttachmentParameteriv(target, attachment, name, &value);
    return value;
}

/// What is attached to a framebuffer object; all zero when nothing is. The internal format is 0 where it is not known.
struct AttachmentStorage {
    int width = 0;
    int height = 0;
    unsigned int internalFormat = 0;
};

template <class GL> [[nodiscard]] AttachmentStorage FindTextureStorage(const GL& gl, unsigned int texture, int level)
{
    // Texture targets that an attachment can have, with their binding and the target of level queries: 2D, cube map,
    // 2D array, 3D, the multisampled ones, cube map array.
    struct TextureTarget {
        BindingPoint point;
        unsigned int levelTarget;
    };
    constexpr TextureTarget Targets[] = {
        {Texture2D, 0x0DE1},        {{0x8513, 0x8514}, 0x8515}, {{0x8C1A, 0x8C1D}, 0x8C1A}, {{0x806F, 0x806A}, 0x806F},
        {{0x9100, 0x9104}, 0x9100}, {{0x9102, 0x9105}, 0x9102}, {{0x9009, 0x900A}, 0x9009},
    };
    AttachmentStorage storage;
    TakeErrors(gl);
    // Nothing tells the target of a texture, but a texture can be bound to its own target only.
    for (const TextureTarget& candidate : Targets) {
        const auto bound = BindScoped(gl, gl.glBindTexture, candidate.point, texture);
        if (TakeErrors(gl) != 0)
            continue;
        int internalFormat = 0;
        // GL_TEXTURE_WIDTH, HEIGHT and INTERNAL_FORMAT.
        gl.glGetTexLevelParameteriv(candidate.levelTarget, level, 0x1000, &storage.width);
        gl.glGetTexLevelParameteriv(candidate.levelTarget, level, 0x1001, &storage.height);
        gl.glGetTexLevelParameteriv(candidate.levelTarget, level, 0x1003, &internalFormat);
        storage.internalFormat = static_cast<unsigned int>(internalFormat);
        break;
    }
    return storage;
}

/// What is attached to the framebuffer object bound to `target`. `version` is the context's. Pending errors are lost,
/// and none are left behind.
template <class GL>
[[nodiscard]] AttachmentStorage FindStorage(const GL& gl, ContextVersion version, unsigned int target,
                                            unsigned int attachment)
{
    // GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE and OBJECT_NAME.
    const int type = GetAttachment(gl, target, attachment, 0x8CD0);
    const auto object = static_cast<unsigned int>(GetAttachment(gl, target, attachment, 0x8CD1));
    AttachmentStorage storage;
    if (type == 0x1702) { // GL_TEXTURE
        if (version >= 31 && gl.glGetTexLevelParameteriv)
            return FindTextureStorage(gl, object, GetAttachment(gl, target, attachment, 0x8CD2));
        // Before OpenGL ES 3.1 the size of a texture cannot be asked for; what is drawn fills the viewport.
        int viewport[4] = {};
        gl.glGetIntegerv(0x0BA2, viewport);
        return {viewport[0] + viewport[2], viewport[1] + viewport[3], 0};
    }
    if (type != 0x8D41) // GL_RENDERBUFFER
        return storage;
    const auto bound = BindScoped(gl, gl.glBindRenderbuffer, Renderbuffer, object);
    int internalFormat = 0;
    // GL_RENDERBUFFER_WIDTH, HEIGHT and INTERNAL_FORMAT.
    gl.glGetRenderbufferParameteriv(Renderbuffer.target, 0x8D42, &storage.width);
    gl.glGetRenderbufferParameteriv(Renderbuffer.target, 0x8D43, &storage.height);
    gl.glGetRenderbufferParameteriv(Renderbuffer.target, 0x8D44, &internalFormat);
    storage.internalFormat = static_cast<unsigned int>(internalFormat);
    return storage;
}

/// How colours are read: transfer format and type, and what a pixel takes then.
struct ColorTransfer {
    unsigned int format;
    unsigned int type;
    std::uint32_t pixelBytes;
};

/// The one by which all components of a colour attachment can be read, with OpenGL ES 3.
template <class GL>
[[nodiscard]] ColorTransfer FindColorTransfer(const GL& gl, unsigned int target, unsigned int attachment)
{
    // GL_FRAMEBUFFER_ATTACHMENT_COMPONENT_TYPE
    switch (const auto type = static_cast<unsigned int>(GetAttachment(gl, target, attachment, 0x8211))) {
    case 0x1406: // GL_FLOAT
        return {0x1908, type, 16};
    case 0x1404: // GL_INT, and GL_UNSIGNED_INT: GL_RGBA_INTEGER
    case 0x1405:
        return {0x8D99, type, 16};
    case 0x8F9C: // GL_SIGNED_NORMALIZED: GL_BYTE
        return {0x1908, 0x1400, 4};
    default: // GL_RGBA, GL_UNSIGNED_BYTE
        return {0x1908, 0x1401, 4};
    }
}

} // namespace Core
