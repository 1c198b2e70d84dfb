#pragma once

#include <optional>

namespace Playback {

/// The formats of captured EGLImages: vendor format codes, and what they are elsewhere. 0: no counterpart.
struct EGLImageFormat {
    unsigned int code;
    /// Android's pixel format.
    unsigned int gralloc;
    /// The format attribute of EGL_TAVO_create_image.
    unsigned int tavo;
};

/// Empty for a code that is not known.
std::optional<EGLImageFormat> FindEGLImageFormat(unsigned int code);

} // namespace Playback
