// Reading what an EGLImage shows by having the driver draw it, in a context of the library's own.
#pragma once

#include <cstdint>
#include <vector>

#include "Recorder/Platform.h"

namespace Recorder {

/// Reads the image, RGBA of 8 bits a channel, the first row of its memory first. What the calling thread has current
/// is current again afterwards. False: this driver cannot, or there is no such image. One thread at a time.
///
/// Needs EGL_KHR_surfaceless_context and GL_OES_EGL_image_external. `config` is that of a context of the display's.
[[nodiscard]] bool ReadByDriver(EGLDisplay display, EGLConfig config, EGLImageKHR image, std::uint32_t width,
                                std::uint32_t height, std::vector<std::uint8_t>& rgba);

/// The display ends, and with it the context for reading.
void ForgetReadingContext(EGLDisplay display) noexcept;

} // namespace Recorder
