// Reading textures and buffers of the live driver.
#pragma once

#include <cstdint>
#include <vector>

#include "Interfaces/GLState.h"
#include "Probe/Contents/Contents.h"

namespace Probe {

/// An image of a texture: a level of a face, of a layer or of the whole.
struct TextureImage {
    /// GL_TEXTURE_2D, a face of a cube map, GL_TEXTURE_3D, GL_TEXTURE_2D_ARRAY, GL_TEXTURE_2D_MULTISAMPLE ...
    unsigned int target = 0;
    int level = 0;
    int layer = 0;

    /// "level 2", "level 0, layer 3", "level 0, face +X".
    [[nodiscard]] std::string Text() const;
};

/// A framebuffer object that is bound for drawing while it lives.
class TemporaryFramebuffer {
public:
    TemporaryFramebuffer();
    ~TemporaryFramebuffer();
    TemporaryFramebuffer(const TemporaryFramebuffer&) = delete;
    TemporaryFramebuffer& operator=(const TemporaryFramebuffer&) = delete;

    /// Attaches an image of a live texture. Which attachment takes it tells what it is; GL_NONE where none does.
    [[nodiscard]] unsigned int Attach(unsigned int texture, const TextureImage& image) const;

private:
    Core::ScopedState m_bound;
    unsigned int m_framebuffer = 0;
};

/// What a texture of a target, or a face of a cube map, is bound to, and how that is asked.
[[nodiscard]] Core::BindingPoint BindingOf(unsigned int target);

/// What a live texture is bound to; 0 for one that was never bound.
unsigned int FindTarget(unsigned int texture);

/// The internal format of the level 0 of a live texture; 0 where the driver cannot tell.
unsigned int InternalFormatOf(unsigned int texture, unsigned int target);

/// The images that a live texture has, level by level; none before OpenGL ES 3.1, which cannot tell. `target` is what
/// textures are bound to.
std::vector<TextureImage> ImagesOf(unsigned int texture, unsigned int target);

/// Reads an image, by drawing it where no framebuffer takes it. All GL state is put back; pending errors are lost.
Contents ReadImage(unsigned int texture, const TextureImage& image);

/// Reads a live buffer from its start, all of it.
Contents ReadBuffer(unsigned int buffer);

} // namespace Probe
