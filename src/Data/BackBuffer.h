// Reading the frame that is about to be shown: the one rule by which recorder and replay compare frames.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace Data {

/// The driver's functions that reading back needs, with the plain types behind the GL ones. Null where it has none.
struct BackBufferFunctions {
    const unsigned char* (*glGetString)(unsigned int name);
    void (*glGetIntegerv)(unsigned int name, int* value);
    void (*glPixelStorei)(unsigned int name, int value);
    void (*glBindBuffer)(unsigned int target, unsigned int buffer);
    void (*glBindFramebuffer)(unsigned int target, unsigned int framebuffer);
    void (*glReadBuffer)(unsigned int buffer);
    void (*glReadPixels)(int x, int y, int width, int height, unsigned int format, unsigned int type, void* pixels);
};

/// Reads the back buffer of the current read surface and hashes it: XXH3-64 over RGBA bytes, bottom row first, rows
/// packed. All GL state is put back; pending GL errors stay pending. `width` and `height` are the surface's, in pixels.
/// `scratch` receives the pixels and is kept by the caller for the next frame.
///
/// Nothing is answered without a context, for an empty surface, without memory, or where the driver lacks a function.
[[nodiscard]] std::optional<std::uint64_t> HashBackBuffer(const BackBufferFunctions& gl, std::uint32_t width,
                                                          std::uint32_t height,
                                                          std::vector<std::uint8_t>& scratch) noexcept;

} // namespace Data
