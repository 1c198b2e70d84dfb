// Putting captured pixels back into the live driver.
#pragma once

#include <cstdint>

namespace Playback {

/// Captured pixels, rows packed. `format` and `type` are GL transfer enums, `size` is the length of `data` in bytes.
struct CapturedPixels {
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t format;
    std::uint32_t type;
    std::uint32_t size;
    const std::uint8_t* data;
};

enum class DefaultBuffer { Color, Depth, Stencil };

/// Puts the pixels into a buffer of the draw framebuffer that is bound: by a blit, or, where -samples makes the surface
/// a multisampled one that cannot be blitted to, by drawing a quad. Depth and stencil cannot be drawn and are left out
/// then. Does nothing where the driver lacks a function that is needed or the pixels have no internal format.
void RestoreDefaultBuffer(DefaultBuffer buffer, const CapturedPixels& pixels);

/// Draws the pixels as a quad over the whole viewport: into the draw framebuffer that is bound for GL_BACK, else into
/// the live texture, which is GL_TEXTURE_2D_MULTISAMPLE or GL_TEXTURE_2D_MULTISAMPLE_ARRAY with `depth` layers of
/// `layerSize` bytes each. Other targets get nothing.
///
/// Program, 2D texture and draw framebuffer are put back. Afterwards texture unit 0 is active; viewport, blending and
/// the other fixed-function state apply to the quad as they are, and so does a bound array buffer.
void DrawDataToTarget(std::uint32_t target, std::uint32_t texture, std::uint32_t depth, std::uint32_t internalFormat,
                      std::uint32_t layerSize, const CapturedPixels& pixels);

} // namespace Playback
