// Reading a frame that is about to be shown or was drawn: the one rule by which recorder and replay compare frames.
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
    // For framebuffer objects alone.
    unsigned int (*glGetError)() = nullptr;
    unsigned char (*glIsFramebuffer)(unsigned int framebuffer) = nullptr;
    unsigned int (*glCheckFramebufferStatus)(unsigned int target) = nullptr;
    void (*glGetFramebufferAttachmentParameteriv)(unsigned int target, unsigned int attachment, unsigned int name,
                                                  int* value) = nullptr;
    void (*glBindRenderbuffer)(unsigned int target, unsigned int renderbuffer) = nullptr;
    void (*glGetRenderbufferParameteriv)(unsigned int target, unsigned int name, int* value) = nullptr;
    void (*glBindTexture)(unsigned int target, unsigned int texture) = nullptr;
    void (*glGetTexLevelParameteriv)(unsigned int target, int level, unsigned int name, int* value) = nullptr;
};

/// Reads the back buffer of the current read surface and hashes it: XXH3-64 over RGBA bytes, bottom row first, rows
/// packed. All GL state is put back; pending GL errors stay pending. `width` and `height` are the surface's, in pixels.
/// `scratch` receives the pixels and is kept by the caller for the next frame.
///
/// Nothing is answered without a context, for an empty surface, without memory, or where the driver lacks a function.
[[nodiscard]] std::optional<std::uint64_t> HashBackBuffer(const BackBufferFunctions& gl, std::uint32_t width,
                                                          std::uint32_t height,
                                                          std::vector<std::uint8_t>& scratch) noexcept;

struct FramebufferHash {
    std::uint32_t width;
    std::uint32_t height;
    std::uint64_t hash;
};

/// The same for colour attachment 0 of a framebuffer object of the current context, in the size that it has. Components
/// that do not fit into bytes are hashed as floats or as integers of 32 bits. Pending GL errors are lost, and none are
/// left behind. Nothing is answered for a framebuffer that is not complete, is multisampled or has no such attachment,
/// either.
[[nodiscard]] std::optional<FramebufferHash> HashFramebuffer(const BackBufferFunctions& gl, std::uint32_t framebuffer,
                                                             std::vector<std::uint8_t>& scratch) noexcept;

} // namespace Data
