#pragma once

#include <cstdint>
#include <vector>

#include "Interfaces/Data.h"
#include "Playback/Images/ANativeWindowBuffer.h"

namespace Playback {

/// The live stand-in for the Android native buffer behind a captured EGLImage: an image of the vendor extension
/// EGL_TAVO_create_image that has the captured size and format and is filled with the captured planes.
///
/// Owned by GLResourceTable, which counts its users. Operations return a Result; where the driver lacks the extension
/// every one is ResultUnavailable. The image goes with FreeBuffer; an object without a native handle is destroyed
/// without it, and the image then lives until the display is terminated.
class EGLImageBuffer {
public:
    EGLImageBuffer();
    virtual ~EGLImageBuffer();
    EGLImageBuffer(const EGLImageBuffer&) = delete;
    EGLImageBuffer& operator=(const EGLImageBuffer&) = delete;

    /// Makes the image. ResultAlreadyExists when there is one. `display` is the live display.
    unsigned int AllocateBuffer(void* display, const Data::EGLImageData& data);
    unsigned int AllocateTavoBuffer(void* display, const Data::EGLImageData& data);
    /// ResultMissing when there is no image. The object can be allocated again afterwards.
    unsigned int FreeBuffer();
    unsigned int FreeTavoBuffer();
    /// Copies the captured planes into the image, which is made anew when size or format changed.
    /// ResultInvalidArgument, and nothing copied, when they do not fit the planes that the image got first.
    unsigned int SetImageData(const Data::EGLImageData& data);
    unsigned int SetImageDataTavo(const Data::EGLImageData& data);
    unsigned int ValidateImageData(const Data::EGLImageData& data);

    /// The gralloc pixel format of a captured format code; 0, with a message, for an unknown one.
    static unsigned int GetGrallocFormat(unsigned int format);
    /// As GetGrallocFormat, for the format attribute of the vendor's images.
    static unsigned int GetTavoImageFormat(unsigned int format);

    /// The image to hand to GL; null when there is none.
    [[nodiscard]] void* GetNativeBuffer() const { return m_image; }

    /// Users of the buffer, kept by the table.
    std::uint32_t m_refCount = 1;

private:
    /// Most planes that an image of the vendor extension has.
    static constexpr std::uint32_t MaxPlanes = 3;

    void CopyPlane(const Data::EGLImagePlane& plane, unsigned int index) const;
    void ForgetPlanes();

    /// 0 until the first contents came.
    std::uint32_t m_planeCount = 0;
    /// Bytes per pixel.
    std::uint32_t m_bpp = 0;
    /// The captured format code.
    std::uint32_t m_format = 0;
    /// Bytes, an entry for each plane.
    std::vector<std::uint32_t> m_strides;
    std::vector<std::uint64_t> m_sizes;
    std::vector<std::uint64_t> m_offsets;
    ANativeWindowBuffer m_nativeBuffer;
    void* m_display = nullptr;
    void* m_image = nullptr;
};

} // namespace Playback
