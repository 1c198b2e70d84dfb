// Memory that the program hands to EGL by descriptors: EGL_EXT_image_dma_buf_import.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <sys/types.h>

#include "Recorder/Platform.h"

namespace Recorder {

/// What eglCreateImage is told of the memory; of its planes, the first one.
struct DmaBufDescription {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    /// The code of drm_fourcc.h.
    std::uint32_t fourcc = 0;
    int descriptor = -1;
    /// Bytes.
    std::uint32_t offset = 0;
    std::uint32_t pitch = 0;
    /// DRM_FORMAT_MOD_INVALID: none was given.
    std::uint64_t modifier;

    /// Nothing where the list has no size, format or plane that an image could have.
    [[nodiscard]] static std::optional<DmaBufDescription> Of(const EGLint* attribs);
};

/// How the pixels of a format of one plane are recorded.
struct PixelFormat {
    std::uint32_t fourcc;
    /// The format code of EGLImageContent.
    std::uint32_t code;
    /// Bytes.
    std::uint32_t pixelBytes;
    /// Puts the RGBA pixel of 8 bits a channel into this format. Null where that loses bits.
    void (*fromRgba)(const std::uint8_t* rgba, std::uint8_t* pixel);
};

/// Null for formats of several planes and those that are read as RGBA.
[[nodiscard]] const PixelFormat* FindPixelFormat(std::uint32_t fourcc);
/// What the others are recorded as.
extern const PixelFormat rgbaFormat;

/// The plane of an image in this process's memory. It stays there when the program closes its descriptor, which is
/// used and never kept.
class MappedPlane {
public:
    /// Maps the plane. `pixelBytes` of 0: the format has several, and nothing is mapped.
    MappedPlane(const DmaBufDescription& description, std::uint32_t pixelBytes);
    ~MappedPlane();
    MappedPlane(const MappedPlane&) = delete;
    MappedPlane& operator=(const MappedPlane&) = delete;

    /// False: it cannot be read from here.
    [[nodiscard]] bool IsMapped() const { return m_base != nullptr; }
    /// False: other hardware may have written what is not seen here, since the descriptor by which to wait for that is
    /// gone.
    [[nodiscard]] bool CanSync() const { return !m_isDmaBuf || IsOpen(); }
    /// The rows without gaps.
    void Read(std::vector<std::uint8_t>& rows) const;

    /// True for memory that drivers share. Other descriptors are files, which need no waiting.
    [[nodiscard]] static bool IsDmaBuf(int descriptor);

private:
    [[nodiscard]] bool IsOpen() const;

    const DmaBufDescription m_description;
    const std::uint32_t m_rowBytes;
    bool m_isDmaBuf = false;
    /// Which file it is: the program may give the descriptor's number to another.
    dev_t m_device = 0;
    ino_t m_file = 0;
    /// Null while nothing is mapped.
    const std::uint8_t* m_base = nullptr;
    std::size_t m_bytes = 0;
};

} // namespace Recorder
