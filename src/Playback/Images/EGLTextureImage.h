#pragma once

#include <cstdint>
#include <memory>

#include "Interfaces/Data.h"

namespace Playback {

/// The live EGLImage behind a captured native buffer or dma-buf where the driver lacks EGL_TAVO_create_image: one with
/// the storage of a texture (EGL_KHR_gl_texture_2D_image), to which the captured pixels are uploaded.
///
/// Takes the formats without subsampling that a texture has too. The image belongs to the display and ends with
/// eglDestroyImageKHR or with the display; textures that use it keep its pixels. Nothing of GL is kept: each operation
/// works in the context that is current, or in `spare` when none of the display's is, and puts back what it changes.
class EGLTextureImage {
public:
    struct Format;

    /// Null when the driver or the format does not allow it. `display` and `spare` are live handles; `spare` may be
    /// null.
    static std::unique_ptr<EGLTextureImage> Create(void* display, void* spare, const Data::EGLImageData& data);

    /// Uploads the first plane. False, and nothing changed, when it has another size or format than the image or less
    /// bytes than that takes.
    bool SetContents(void* spare, const Data::EGLImageData& data) const;

    [[nodiscard]] void* GetImage() const { return m_image; }
    [[nodiscard]] void* GetDisplay() const { return m_display; }

private:
    EGLTextureImage(void* display, void* image, const Format& format, const Data::EGLImageData& data)
        : m_display(display), m_image(image), m_format(format), m_width(data.width), m_height(data.height)
    {
    }

    void* m_display;
    void* m_image;
    const Format& m_format;
    /// Pixels.
    std::uint32_t m_width;
    std::uint32_t m_height;
};

} // namespace Playback
